#include <winsock2.h>

#include "collect/NetworkInfoCollector.h"

#include <iphlpapi.h>
#include <wlanapi.h>

#include <regex>

#include "collect/CollectorUtilFakes.h"
#include "collect/FakeFirewall.h"
#include "platform/Text.h"

namespace
{

WLAN_AVAILABLE_NETWORK Network(const std::string& sSsid, ULONG ulLength, const wchar_t* pProfile, DWORD dwFlags,
                               DWORD dwAuth, DWORD dwCipher)
{
    WLAN_AVAILABLE_NETWORK Result{};
    std::ranges::fill(Result.dot11Ssid.ucSSID, '!');
    std::ranges::copy(sSsid, Result.dot11Ssid.ucSSID);
    Result.dot11Ssid.uSSIDLength = ulLength;
    ::lstrcpyW(Result.strProfileName, pProfile);
    Result.wlanSignalQuality = 77;
    Result.dwFlags = dwFlags;
    Result.dot11DefaultAuthAlgorithm = static_cast<DOT11_AUTH_ALGORITHM>(dwAuth);
    Result.dot11DefaultCipherAlgorithm = static_cast<DOT11_CIPHER_ALGORITHM>(dwCipher);
    return Result;
}

// The wireless interfaces, the networks of the first, and whose call fails.
const std::vector<WLAN_INTERFACE_INFO> Interfaces{ { { 0xAB, 0, 0, {} }, L"Radio %s", {} },
                                                   { { 1, 0, 0, {} }, L"", {} } };
const std::vector<WLAN_AVAILABLE_NETWORK> Networks{
    Network("Home", 4, L"My profile", 3, 7, 4),
    Network("", 0, L"", 0, 8, 3),
    Network("0123456789abcdef0123456789abcdef", 32, L"", 2, 0x80000000, 0xFFFFFFFF),
    Network("Liar", 0xFFFFFFFF, L"", 0xFFFFFFFD, 1, 256),
};
std::string s_sFailing;
int s_nOpen; // handles and lists

// A list for the caller, who frees it.
template <typename Row, typename List>
DWORD GiveList(const std::vector<Row>& Rows, List** ppList)
{
    const std::vector<BYTE> Bytes = TableOf({ static_cast<DWORD>(Rows.size()), 0 }, Rows);
    *ppList = static_cast<List*>(::LocalAlloc(LMEM_FIXED, Bytes.size()));
    std::ranges::copy(Bytes, reinterpret_cast<BYTE*>(*ppList));
    ++s_nOpen;
    return ERROR_SUCCESS;
}
DWORD WINAPI OpenWlan(DWORD dwVersion, void*, DWORD*, HANDLE* phClient)
{
    EXPECT_EQ(dwVersion, 1u);
    if (s_sFailing == "wireless")
        return ERROR_SERVICE_NOT_ACTIVE;
    *phClient = reinterpret_cast<HANDLE>(++s_nOpen);
    return ERROR_SUCCESS;
}
DWORD WINAPI CloseWlan(HANDLE, void*)
{
    --s_nOpen;
    return ERROR_SUCCESS;
}
void WINAPI FreeWlan(void* pList)
{
    --s_nOpen;
    ::LocalFree(pList);
}
DWORD WINAPI ListInterfaces(HANDLE, void*, WLAN_INTERFACE_INFO_LIST** ppList)
{
    return GiveList(Interfaces, ppList);
}
DWORD WINAPI ListNetworks(HANDLE, const GUID* pInterface, DWORD, void*, WLAN_AVAILABLE_NETWORK_LIST** ppList)
{
    if (s_sFailing == "networks")
        return ERROR_NOT_FOUND;
    return GiveList(pInterface->Data1 == 1 ? std::vector<WLAN_AVAILABLE_NETWORK>() : Networks, ppList);
}
FARPROC WINAPI WlanFunction(HMODULE, const char* pName)
{
    static const std::map<std::string, void*> Functions{
        { "WlanOpenHandle", reinterpret_cast<void*>(&OpenWlan) },
        { "WlanCloseHandle", reinterpret_cast<void*>(&CloseWlan) },
        { "WlanFreeMemory", reinterpret_cast<void*>(&FreeWlan) },
        { "WlanEnumInterfaces", reinterpret_cast<void*>(&ListInterfaces) },
        { "WlanGetAvailableNetworkList", reinterpret_cast<void*>(&ListNetworks) },
    };
    return reinterpret_cast<FARPROC>(Functions.at(pName));
}

// The report and the records of a PC of this Windows version where one thing fails: a call of the firewall, "wireless",
// "networks", or "adapters".
std::string Collect(DWORD dwVersion, const std::string& sFailing)
{
    s_sFailing = CFakeFirewall::s_sFailing = sFailing;
    const CFakeFirewall firewall;
    const auto version = FakeImport<decltype(::GetVersionExW)>("GetVersionExW", [&](auto pVersion) {
        pVersion->dwMajorVersion = dwVersion;
        return TRUE;
    });
    // Three adapters, of which the second one's texts fill their fields, in tables that claim more than they have.
    std::vector<IP_ADAPTER_INDEX_MAP> Adapters{ { 1, L"" }, { 2, L"" }, { 3, L"" } };
    std::ranges::fill(Adapters[1].Name, L'n');
    constexpr DWORD TooMany = 100000;
    const std::vector<MIB_IPADDRROW> Addresses{ { 0x0100007F, 9, 0, 0, 0, 0, 0 },
                                                { 0xFE01A8C0, 1, 0, 0, 0, 0, 0 },
                                                { 0x01010101, 1, 0, 0, 0, 0, 0 } };
    const auto addresses = FakeImport<decltype(::GetIpAddrTable)>("GetIpAddrTable", [&](auto pTable, auto pSize, auto) {
        return GiveSized(TableOf({ TooMany }, Addresses), pTable, pSize, ERROR_INSUFFICIENT_BUFFER);
    });
    const auto adapters = FakeImport<decltype(::GetInterfaceInfo)>("GetInterfaceInfo", [&](auto pTable, auto pSize) {
        const auto Table = TableOf({ TooMany }, Adapters);
        return sFailing == "adapters" ? DWORD{ ERROR_NO_DATA }
                                      : GiveSized(Table, pTable, pSize, ERROR_INSUFFICIENT_BUFFER);
    });
    const auto entry = FakeImport<decltype(::GetIfEntry)>("GetIfEntry", [](auto pRow) -> DWORD {
        if (pRow->dwIndex == 3)
            return ERROR_INVALID_DATA;
        std::ranges::fill(pRow->bDescr, pRow->dwIndex == 2 ? 'x' : '\0');
        std::copy_n("Card %s", 7, pRow->bDescr);
        return NO_ERROR;
    });
    const auto load = FakeImport<decltype(::LoadLibraryExW)>("LoadLibraryExW", [](auto pPath, auto, auto) {
        EXPECT_TRUE(EqualsNoCase(pPath, L"C:\\windows\\system32\\wlanapi.dll")) << Utf8(pPath);
        return ::LoadLibraryW(L"kernel32.dll");
    });
    const CImportPatch function("GetProcAddress", &WlanFunction);
    const CTestFolder folder;
    const CLogWatch watch;
    EXPECT_EQ(CNetworkInfoCollector().Collect(folder / L"new"), S_OK);
    EXPECT_EQ(s_nOpen, 0);
    EXPECT_EQ(CFakeFirewall::s_nReferences, 0);
    return Outcome(folder / L"new", watch);
}

// The whole outline of a PC that has everything, by both interfaces of the firewall, with tables that lie and texts
// that fill their fields. A block that fails must leave its neighbours alone.
TEST(NetworkInfoCollector, DescribesTheNetworkBlockByBlock)
{
    std::string sReports = Collect(6, "") + Collect(5, "");
    for (const char* const pFailing : { "adapters", "wireless", "networks", "Create" })
        sReports += Collect(6, pFailing);
    ExpectGolden(L"collect/Network.txt", sReports, L"");
}

// What a support desk searches the log for, and how far the report goes, for each call that fails; one that the
// interface does not have costs nothing.
TEST(NetworkInfoCollector, EndsTheFirewallAtItsFailure)
{
    std::string sEnds;
    for (const DWORD dwVersion : { 6u, 5u })
    {
        std::istringstream Calls(
            "Create CurrentProfileType CurrentProfileTypes LocalPolicy CurrentProfile Query.IUnknown "
            "FirewallEnabled Apps BlockAll Inbound Outbound Unicast Rules Items.Count Items.NewEnum "
            "Query Reset Item.Name Item.Image Item.Enabled Item.Action");
        for (std::string sCall; Calls >> sCall;)
        {
            // "call: last line of the report | first record"
            std::smatch match;
            const std::string sLeft = Collect(dwVersion, sCall);
            ASSERT_TRUE(std::regex_search(sLeft, match, std::regex("(.*)\r\n== log\r\n(.*)")));
            sEnds += sCall + ": " + match.str(1) + " | " + match.str(2) + "\r\n";
        }
    }
    ExpectGolden(L"collect/NetworkFailures.txt", sEnds, L"");
}

} // namespace
