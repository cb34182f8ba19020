#include "collect/UniqueInfo.h"

#include <gmock/gmock.h>

#include <winsock2.h>

#include <iphlpapi.h>

#include <regex>

#include "platform/FirmwareTable.h"
#include "support/ImportPatch.h"
#include "support/TestFolder.h"

namespace
{

using namespace std::string_literals;

// The header, a structure without texts, the system's, and the one that ends the table.
const std::string Firmware = "\0\2\7\0\0\0\0\0"s + "\0\4\1\0\0\0"s + "\1\x1b\2\0\1\2\0\3"s + std::string(19, '\1') +
                             "Maker\0  Model\r\nX \0S-\xE9\0\0"s + "\x7f\4\3\0\0\0"s;

std::string g_sFirmware;
std::vector<std::vector<BYTE>> g_Adapters; // the first byte is the type

UINT WINAPI FakeFirmware(DWORD dwProvider, DWORD dwTable, PVOID pBuffer, DWORD nBytes)
{
    EXPECT_EQ(dwProvider, 0x52534D42u);
    EXPECT_EQ(dwTable, 0u);
    if (nBytes >= g_sFirmware.size())
        g_sFirmware.copy(static_cast<char*>(pBuffer), g_sFirmware.size());
    return static_cast<UINT>(g_sFirmware.size());
}

BOOL WINAPI FakeVolume(LPCWSTR pRoot, LPWSTR, DWORD, LPDWORD pSerial, LPDWORD, LPDWORD, LPWSTR, DWORD)
{
    EXPECT_STREQ(pRoot, L"C:\\");
    *pSerial = 0x12AB;
    return TRUE;
}

ULONG WINAPI FakeAdapters(ULONG, ULONG, PVOID, PIP_ADAPTER_ADDRESSES pList, PULONG pnBytes)
{
    const auto nNeeded = static_cast<ULONG>(g_Adapters.size() * sizeof *pList);
    const bool bFits = pList != nullptr && *pnBytes >= nNeeded;
    *pnBytes = nNeeded;
    if (g_Adapters.empty())
        return ERROR_NO_DATA;
    for (std::size_t n = 0; bFits && n < g_Adapters.size(); ++n)
    {
        pList[n].IfType = g_Adapters[n][0];
        pList[n].PhysicalAddressLength = static_cast<ULONG>(g_Adapters[n].size() - 1);
        std::copy(g_Adapters[n].begin() + 1, g_Adapters[n].end(), pList[n].PhysicalAddress);
        pList[n].Next = n + 1 < g_Adapters.size() ? &pList[n + 1] : nullptr;
    }
    return bFits ? ERROR_SUCCESS : ERROR_BUFFER_OVERFLOW;
}

// Of the first nBytes; a reader that goes past them finds the rest.
std::string Computer(const std::string& sTable, std::size_t nBytes = std::string::npos)
{
    const CComputerIdentity Identity = ParseFirmwareTable(
        { reinterpret_cast<const BYTE*>(sTable.data()), std::min(nBytes, sTable.size()) });
    return Utf8(Identity.sManufacturer + L'|' + Identity.sProduct + L'|' + Identity.sSerial);
}

// Firmware is wrong often enough: no table may be read past its end, and none walked for ever.
TEST(FirmwareTable, IsReadWhateverItHolds)
{
    EXPECT_EQ(Computer(Firmware), "Maker|  Model\r\nX |S-\xC3\xA9");
    for (std::size_t n = 0; n < Firmware.size(); ++n)
        EXPECT_EQ(Computer(Firmware, n) == "||", n <= Firmware.find("Maker")) << n;
    const std::string sHeader(8, '\0');
    EXPECT_EQ(Computer(sHeader + "\1\0\0\0\0\0"s + Firmware), "||"); // a length that would not move on
    EXPECT_EQ(Computer(sHeader + "\1\xFF\0\0\1\2\0\3M\0\0"s), "||"); // a length past the end
    EXPECT_EQ(Computer(sHeader + "\1\6\0\0\1\7M\0\0"s), "M||");      // a short structure, a number without a text
    EXPECT_EQ(Computer(sHeader + "\x7f\4\0\0\0\0"s + Firmware.substr(14)), "||"); // nothing behind the end
}

// The file is compared between two visits: same machine, same bytes. A source that is silent costs its own lines.
TEST(UniqueInfo, WritesWhatIdentifiesTheMachine)
{
    const CTestFolder folder;
    const CImportPatch<decltype(::GetSystemFirmwareTable)> firmware("GetSystemFirmwareTable", FakeFirmware);
    const CImportPatch<decltype(::GetVolumeInformationW)> volume("GetVolumeInformationW", FakeVolume);
    const CImportPatch<decltype(::GetAdaptersAddresses)> adapters("GetAdaptersAddresses", FakeAdapters);
    const std::wstring sPath = folder / L"new\\folder\\hwinfo.dat";
    const std::string sComputer = "manufacturer=Maker\r\nproduct=Model  X\r\nserial=S-\xC3\xA9\r\n",
                      sVolume = "*\r\nsystem-volume=000012AB\r\n";
    g_Adapters = { { 71, 0xAA, 0xBB, 0xCC, 0xDD, 0xEE,
                     0xFF }, // wireless, loopback, a tunnel, one twice, one without an address
                   { 24, 1, 1, 1, 1, 1, 1 },
                   { 131, 2, 2, 2, 2, 2, 2 },
                   { 6, 0, 1, 2, 3, 4, 0x5F },
                   { 6, 0, 1, 2, 3, 4, 0x5F },
                   { 6 } };
    g_sFirmware = Firmware;
    // The processor is the real one.
    const auto Written = [&] {
        EXPECT_EQ(collectUniqueInfo(sPath), L"");
        return std::regex_replace(ReadBytes(sPath),
                                  std::regex("processor[^\r]*\r\n(.*\r\n)*processor-signature=.{8}\r\n"), "*\r\n");
    };
    EXPECT_EQ(Written(), sComputer + sVolume + "adapter=00-01-02-03-04-5F\r\nadapter=AA-BB-CC-DD-EE-FF\r\n");
    g_sFirmware.clear();
    g_Adapters.clear();
    EXPECT_EQ(Written(), sVolume);
}

} // namespace
