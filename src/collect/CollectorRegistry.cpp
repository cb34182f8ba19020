// Registry keys as text.
#include <algorithm>
#include <optional>
#include <vector>

#include "collect/CollectorUtil.h"
#include "log/FunctionLog.h"
#include "log/ResultLog.h"
#include "platform/Allocation.h"
#include "platform/RegKey.h"
#include "platform/Text.h"

namespace
{

// Names that do not fit end an enumeration; no key name is longer, but value names can be.
constexpr DWORD NameCapacity = 260;

// A longer line is refused whole; text beyond it would be for nothing.
constexpr std::size_t MaxLine = CLineWriter::MaxText;
// Registry data of more bytes are not read.
constexpr DWORD MaxData = 64 * 1024 * 1024;

std::wstring HexBytes(const std::vector<BYTE>& rData)
{
    static constexpr wchar_t aDigits[] = L"0123456789abcdef";
    std::wstring sText = L"hex:";
    for (std::size_t n = 0; n < rData.size() && sText.size() < MaxLine; ++n)
    {
        if (n > 0)
            sText += L',';
        sText += aDigits[rData[n] >> 4];
        sText += aDigits[rData[n] & 15];
    }
    return sText;
}

// Registry data need not be terminated, and a number may have fewer bytes than its type says.
std::wstring TextOf(const std::vector<BYTE>& rData)
{
    const std::wstring_view sText(reinterpret_cast<const wchar_t*>(rData.data()), rData.size() / sizeof(wchar_t));
    return std::wstring(UpToZero(sText.substr(0, MaxLine)));
}

DWORD NumberOf(const std::vector<BYTE>& rData)
{
    DWORD dwValue = 0;
    std::copy_n(rData.begin(), std::min(rData.size(), sizeof dwValue), reinterpret_cast<BYTE*>(&dwValue));
    return dwValue;
}

// Without a value for the types that the report leaves out.
std::optional<std::wstring> DataText(DWORD dwType, const std::vector<BYTE>& rData)
{
    switch (dwType)
    {
    case REG_SZ:
        return FormatText(L"\"%s\"", TextOf(rData));
    case REG_BINARY:
        return HexBytes(rData);
    case REG_DWORD:
        return FormatText(L"dword:%08X", NumberOf(rData));
    case REG_MULTI_SZ:
        // The report has always shown the name alone; its readers count on it.
        return std::wstring();
    default:
        return std::nullopt;
    }
}

} // namespace

HRESULT CCollectorUtil::OutputRegSubKeyData(HKEY hKey, CResultLog& rResultLog)
{
    CFunctionLog log;
    return log.Run([&] {
        std::vector<BYTE> Data;
        for (DWORD nIndex = 0;; ++nIndex)
        {
            wchar_t aName[NameCapacity];
            DWORD nName = NameCapacity;
            DWORD dwType = REG_NONE;
            DWORD dwSize = 0;
            if (::RegEnumValueW(hKey, nIndex, aName, &nName, nullptr, nullptr, nullptr, nullptr) != ERROR_SUCCESS ||
                ::RegQueryValueExW(hKey, aName, nullptr, &dwType, nullptr, &dwSize) != ERROR_SUCCESS)
                return;
            // Some systems end a text of one byte with a zero character that the size does not tell.
            if (dwSize > MaxData || !TryResize(Data, dwSize + sizeof(wchar_t)))
                log.Throw(E_OUTOFMEMORY, L"pData.Allocate( %d ) failed.", dwSize);
            if (::RegQueryValueExW(hKey, aName, nullptr, &dwType, Data.data(), &dwSize) != ERROR_SUCCESS)
                return;
            Data.resize(std::min<std::size_t>(dwSize, Data.size()));
            if (const auto sText = DataText(dwType, Data))
                rResultLog.WriteLine(L"    \"%s\"=%s", aName, *sText);
        }
    });
}

HRESULT CCollectorUtil::OutputRegSubKey(HKEY hKey, const std::wstring& sPath, CResultLog& rResultLog)
{
    CFunctionLog log;
    return log.Run([&] {
        for (DWORD nIndex = 0;; ++nIndex)
        {
            std::wstring sName;
            if (EnumSubKey(hKey, nIndex, sName, NameCapacity) != ERROR_SUCCESS)
                return;
            const std::wstring sSubPath = FormatText(L"%s\\%s", sPath, sName);
            rResultLog.WriteLine(L"  [%s]", sSubPath);
            CRegKey reg;
            if (OpenMachineKey(sSubPath, reg) != ERROR_SUCCESS)
            {
                log.Warning(L"CRegKey::Open( HKEY_LOCAL_MACHINE ) failed.");
                continue;
            }
            OutputRegSubKeyData(reg.Get(), rResultLog);
            rResultLog.WriteLine(L"");
            OutputRegSubKey(reg.Get(), sSubPath, rResultLog);
        }
    });
}
