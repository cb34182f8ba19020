#include "collect/UniqueInfo.h"

#include <cpuid.h>

#include <winsock2.h>

#include <iphlpapi.h>

#include <algorithm>
#include <array>
#include <set>

#include "collect/CollectorFolders.h"
#include "log/FunctionLog.h"
#include "platform/CodePage.h"
#include "platform/FirmwareTable.h"
#include "platform/HResult.h"
#include "platform/Handle.h"
#include "platform/Path.h"
#include "platform/SizedRead.h"
#include "platform/Text.h"

namespace
{

// The lines of the file.
class CIdentityText
{
public:
    // A value without a visible character has no line; a control character in one does not break it.
    void Add(const wchar_t* pName, std::wstring sValue)
    {
        std::ranges::replace_if(sValue, [](wchar_t c) { return c < L' '; }, L' ');
        const auto nFirst = sValue.find_first_not_of(L' ');
        if (nFirst != sValue.npos)
            m_sText += std::wstring(pName) + L'=' + sValue.substr(nFirst, sValue.find_last_not_of(L' ') - nFirst + 1) +
                       L"\r\n";
    }
    std::string Bytes() const { return ToNarrow(m_sText, CP_UTF8); }

private:
    std::wstring m_sText;
};

void AddComputer(CIdentityText& rText)
{
    const CComputerIdentity Computer = ReadComputerIdentity();
    rText.Add(L"manufacturer", Computer.sManufacturer);
    rText.Add(L"product", Computer.sProduct);
    rText.Add(L"serial", Computer.sSerial);
}

// As the processor tells it itself.
void AddProcessor(CIdentityText& rText)
{
    constexpr unsigned FirstBrandLeaf = 0x80000002;
    std::array<unsigned, 12> aBrand{};
    for (unsigned n = 0; n < 3; ++n)
        __get_cpuid(FirstBrandLeaf + n, &aBrand[4 * n], &aBrand[4 * n + 1], &aBrand[4 * n + 2], &aBrand[4 * n + 3]);
    const std::string_view sBrand(reinterpret_cast<const char*>(aBrand.data()), sizeof aBrand);
    rText.Add(L"processor", WidenBytes(UpToZero(sBrand)));
    unsigned nSignature = 0, nOther = 0;
    if (__get_cpuid(1, &nSignature, &nOther, &nOther, &nOther))
        rText.Add(L"processor-signature", FormatText(L"%08X", nSignature));
}

void AddSystemVolume(CIdentityText& rText)
{
    wchar_t aRoot[MAX_PATH] = L"";
    const UINT nRoot = ::GetSystemWindowsDirectoryW(aRoot, MAX_PATH);
    if (nRoot < 3 || nRoot >= MAX_PATH)
        return;
    aRoot[3] = L'\0';
    DWORD dwSerial = 0;
    if (::GetVolumeInformationW(aRoot, nullptr, 0, &dwSerial, nullptr, nullptr, nullptr, 0))
        rText.Add(L"system-volume", FormatText(L"%08X", dwSerial));
}

std::wstring AddressText(const IP_ADAPTER_ADDRESSES& rAdapter)
{
    std::wstring sText;
    for (ULONG n = 0; n < std::min<ULONG>(rAdapter.PhysicalAddressLength, MAX_ADAPTER_ADDRESS_LENGTH); ++n)
        sText += FormatText(L"%s%02X", n == 0 ? L"" : L"-", rAdapter.PhysicalAddress[n]);
    return sText;
}

void AddAdapters(CIdentityText& rText)
{
    const auto Call = [](BYTE* pBuffer, DWORD& rdwSize) -> DWORD {
        constexpr ULONG Flags = GAA_FLAG_SKIP_UNICAST | GAA_FLAG_SKIP_ANYCAST | GAA_FLAG_SKIP_MULTICAST |
                                GAA_FLAG_SKIP_DNS_SERVER;
        return ::GetAdaptersAddresses(AF_UNSPEC, Flags, nullptr, reinterpret_cast<IP_ADAPTER_ADDRESSES*>(pBuffer),
                                      &rdwSize);
    };
    CSizedRead read(ERROR_BUFFER_OVERFLOW);
    if (read.AskSize(Call) != ERROR_BUFFER_OVERFLOW || !read.Allocate() || read.Read(Call) != ERROR_SUCCESS)
        return;
    // The list's order changes with what is plugged in, and a bridge repeats the address of its adapter.
    std::set<std::wstring> Addresses;
    for (const auto* pAdapter = read.As<IP_ADAPTER_ADDRESSES>(); pAdapter != nullptr; pAdapter = pAdapter->Next)
    {
        if (pAdapter->IfType != IF_TYPE_SOFTWARE_LOOPBACK && pAdapter->IfType != IF_TYPE_TUNNEL)
            Addresses.insert(AddressText(*pAdapter));
    }
    for (const std::wstring& sAddress : Addresses)
        rText.Add(L"adapter", sAddress);
}

HRESULT WriteWhole(const CFileHandle& rFile, const std::string& sBytes)
{
    DWORD dwWritten = 0;
    if (!::WriteFile(rFile.Get(), sBytes.data(), static_cast<DWORD>(sBytes.size()), &dwWritten, nullptr))
        return LastErrorResult();
    return dwWritten == sBytes.size() ? S_OK : HResultFromWin32(ERROR_DISK_FULL);
}

} // namespace

std::wstring collectUniqueInfo(const std::wstring& sPath)
{
    CFunctionLog log;
    std::wstring sFailure;
    const auto Check = [&](HRESULT hr, const wchar_t* pCall, const std::wstring& sArgument) {
        if (SUCCEEDED(hr))
            return;
        sFailure = FormatText(L"%s( \"%s\" ) failed. [0x%08X]", pCall, sArgument, hr);
        log.Throw(hr, L"%s", sFailure);
    };
    log.Run([&] {
        CIdentityText text;
        AddComputer(text);
        AddProcessor(text);
        AddSystemVolume(text);
        AddAdapters(text);
        const std::wstring sDirPath = DirectoryPart(sPath);
        Check(MakeOutputFolder(sDirPath), L"COpdDirectoryHelper::CreateDirectoryEx", sDirPath);
        const CFileHandle hFile(
            ::CreateFileW(sPath.c_str(), GENERIC_WRITE, 0, nullptr, CREATE_ALWAYS, FILE_ATTRIBUTE_NORMAL, nullptr));
        Check(hFile ? S_OK : LastErrorResult(), L"::CreateFile", sPath);
        Check(WriteWhole(hFile, text.Bytes()), L"::WriteFile", sPath);
    });
    return sFailure;
}
