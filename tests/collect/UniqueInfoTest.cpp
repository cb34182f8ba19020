#include "collect/UniqueInfo.h"

#include <winsock2.h>

#include <iphlpapi.h>

#include <regex>

#include "collect/CollectorUtilFakes.h"
#include "platform/FirmwareTable.h"

namespace
{

using namespace std::string_literals;

// The header, a structure without texts, the system's, and the one that ends the table.
const std::string Firmware = "\0\2\7\0\0\0\0\0"s + "\0\4\1\0\0\0"s + "\1\x1b\2\0\1\2\0\3"s + std::string(19, '\1') +
                             "Maker\0  Model\r\nX \0S-\xE9\0\0"s + "\x7f\4\3\0\0\0"s;

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
    EXPECT_EQ(Computer(sHeader + std::string(6, '\0') + Firmware.substr(8)), "||"); // a length that is none
    EXPECT_EQ(Computer(sHeader + "\1\xFF\0\0\1\2\0\3M\0\0"s), "||");                // a length past the end
    EXPECT_EQ(Computer(sHeader + "\1\6\0\0\1\7M\0\0"s), "M||"); // a short structure, a number without a text
    EXPECT_EQ(Computer(sHeader + "\x7f\4\0\0\0\0"s + Firmware.substr(14)), "||"); // nothing behind the end
}

// The file is compared between two visits: same machine, same bytes. A source that is silent costs its own lines.
TEST(UniqueInfo, WritesWhatIdentifiesTheMachine)
{
    std::string sFirmware = Firmware;
    // By type: wireless, loopback, a tunnel, one twice, one without an address.
    std::vector<std::pair<DWORD, std::vector<BYTE>>> Adapters = { { 71, { 0xAA, 0xBB, 0xCC, 0xDD, 0xEE, 0xFF } },
                                                                  { 24, { 1, 1, 1, 1, 1, 1 } },
                                                                  { 131, { 2, 2, 2, 2, 2, 2 } },
                                                                  { 6, { 0, 1, 2, 3, 4, 0x5F } },
                                                                  { 6, { 0, 1, 2, 3, 4, 0x5F } },
                                                                  { 6, {} } };
    const auto firmware = FakeImport<decltype(::GetSystemFirmwareTable)>(
        "GetSystemFirmwareTable", [&](auto nProvider, auto nTable, auto pBuffer, auto nBytes) {
            EXPECT_TRUE(nProvider == 0x52534D42 && nTable == 0);
            GiveSized({ sFirmware.begin(), sFirmware.end() }, pBuffer, &nBytes, ERROR_INSUFFICIENT_BUFFER);
            return static_cast<UINT>(sFirmware.size());
        });
    const auto volume = FakeImport<decltype(::GetVolumeInformationW)>(
        "GetVolumeInformationW", [](auto pRoot, auto, auto, auto* pnSerial, auto...) {
            EXPECT_STREQ(pRoot, L"C:\\");
            *pnSerial = 0x12AB;
            return TRUE;
        });
    const auto adapters = FakeImport<decltype(::GetAdaptersAddresses)>(
        "GetAdaptersAddresses", [&](auto, auto, auto, auto* pList, auto* pnSize) -> ULONG {
            std::vector<IP_ADAPTER_ADDRESSES> Rows(Adapters.size());
            for (std::size_t n = 0; n < Rows.size(); ++n)
            {
                Rows[n].IfType = Adapters[n].first;
                Rows[n].PhysicalAddressLength = static_cast<ULONG>(Adapters[n].second.size());
                std::ranges::copy(Adapters[n].second, Rows[n].PhysicalAddress);
                Rows[n].Next = n + 1 < Rows.size() ? pList + n + 1 : nullptr;
            }
            return Rows.empty() ? ERROR_NO_DATA : GiveSized(TableOf({}, Rows), pList, pnSize, ERROR_BUFFER_OVERFLOW);
        });
    const CTestFolder folder;
    for (const wchar_t* const pName : { L"full\\hwinfo.dat", L"silent\\hwinfo.dat" })
    {
        EXPECT_EQ(collectUniqueInfo(folder / pName), L"");
        sFirmware.clear();
        Adapters.clear();
    }
    // The processor is the real one.
    const std::regex Processor("(processor=[^\r]+\r\n)?processor-signature=[0-9A-F]{8}\r\n");
    ExpectGolden(L"collect/Unique.txt", std::regex_replace(FilesBelow(folder.Path()), Processor, "*\r\n"), L"");
}

} // namespace
