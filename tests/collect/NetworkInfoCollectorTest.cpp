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

// The wireless interfaces of a described PC, their networks by the first number of the interface's id.
struct CFakeWlan
{
    std::vector<WLAN_INTERFACE_INFO> Interfaces;
    std::map<DWORD, std::vector<WLAN_AVAILABLE_NETWORK>> Networks;
    DWORD dwError = ERROR_SUCCESS;
    int nOpen = 0; // handles and lists
};
CFakeWlan* s_pWlan = nullptr;

// A list for the caller, who frees it.
template <typename Row, typename List>
DWORD GiveList(const std::vector<Row>& Rows, List** ppList)
{
    const std::vector<BYTE> Bytes = TableOf({ static_cast<DWORD>(Rows.size()), 0 }, Rows);
    *ppList = static_cast<List*>(::LocalAlloc(LMEM_FIXED, Bytes.size()));
    std::ranges::copy(Bytes, reinterpret_cast<BYTE*>(*ppList));
    ++s_pWlan->nOpen;
    return ERROR_SUCCESS;
}
DWORD WINAPI OpenWlan(DWORD dwVersion, void*, DWORD*, HANDLE* phClient)
{
    EXPECT_EQ(dwVersion, 1u);
    if (s_pWlan->dwError == ERROR_SUCCESS)
        *phClient = reinterpret_cast<HANDLE>(++s_pWlan->nOpen);
    return s_pWlan->dwError;
}
DWORD WINAPI CloseWlan(HANDLE, void*)
{
    --s_pWlan->nOpen;
    return ERROR_SUCCESS;
}
void WINAPI FreeWlan(void* pList)
{
    --s_pWlan->nOpen;
    ::LocalFree(pList);
}
DWORD WINAPI ListInterfaces(HANDLE, void*, WLAN_INTERFACE_INFO_LIST** ppList)
{
    return GiveList(s_pWlan->Interfaces, ppList);
}
DWORD WINAPI ListNetworks(HANDLE, const GUID* pInterface, DWORD dwFlags, void*, WLAN_AVAILABLE_NETWORK_LIST** ppList)
{
    EXPECT_EQ(dwFlags, 0u);
    const auto it = s_pWlan->Networks.find(pInterface->Data1);
    return it != s_pWlan->Networks.end() ? GiveList(it->second, ppList) : ERROR_NOT_FOUND;
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

// The report, and the records.
std::string Collect(CFakeWlan& rWlan, CFakeFirewall& rFirewall, bool bAdapters)
{
    s_pWlan = &rWlan;
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
        return bAdapters ? GiveSized(Table, pTable, pSize, ERROR_INSUFFICIENT_BUFFER) : DWORD{ ERROR_NO_DATA };
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
    EXPECT_EQ(rWlan.nOpen, 0);
    EXPECT_EQ(rFirewall.nReferences, 0);
    return Outcome(folder / L"new", watch);
}

// The whole outline of a PC that has everything, with tables that lie and texts that fill their fields.
TEST(NetworkInfoCollector, DescribesTheNetwork)
{
    CFakeWlan wlan;
    wlan.Interfaces = { { { 0xAB, 0, 0, {} }, L"Radio %s", {} }, { { 1, 0, 0, {} }, L"", {} } };
    wlan.Networks[0xAB] = { Network("Home", 4, L"My profile", 3, 7, 4), Network("", 0, L"", 0, 8, 3),
                            Network("0123456789abcdef0123456789abcdef", 32, L"", 2, 0x80000000, 0xFFFFFFFF),
                            Network("Liar", 0xFFFFFFFF, L"", 0xFFFFFFFD, 1, 256) };
    wlan.Networks[1] = {};
    CFakeFirewall firewall;
    ExpectGolden(L"collect/Network.txt", Collect(wlan, firewall, true), L"");
}

// A block that fails must leave its neighbours alone.
TEST(NetworkInfoCollector, KeepsTheBlocksApart)
{
    CFakeWlan wlan;
    wlan.Interfaces = { { { 2, 0, 0, {} }, L"Deaf", {} }, { { 3, 0, 0, {} }, L"Dropped", {} } };
    CFakeFirewall firewall;
    firewall.sFailing = "Create";
    std::string sLeft = Collect(wlan, firewall, false);
    wlan.dwError = ERROR_SERVICE_NOT_ACTIVE;
    sLeft += Collect(wlan, firewall, false);
    ExpectGolden(L"collect/NetworkBlocks.txt", sLeft, L"");
}

// What a support desk searches the log for, and how far the report goes, for each call that fails; one that the
// interface does not have costs nothing.
TEST(NetworkInfoCollector, EndsTheFirewallAtItsFailure)
{
    std::string sEnds;
    for (const DWORD dwVersion : { 6u, 5u })
    {
        const auto version = FakeImport<decltype(::GetVersionExW)>("GetVersionExW", [&](auto pVersion) {
            pVersion->dwMajorVersion = dwVersion;
            return TRUE;
        });
        std::istringstream Calls(
            "Create CurrentProfileType CurrentProfileTypes LocalPolicy CurrentProfile Query.IUnknown "
            "FirewallEnabled Apps BlockAll Inbound Outbound Unicast Rules Items.Count Items.NewEnum "
            "Query Reset Item.Name Item.Image Item.Enabled Item.Action");
        for (std::string sCall; Calls >> sCall;)
        {
            CFakeWlan wlan;
            CFakeFirewall firewall;
            firewall.nCurrent = 1;
            firewall.sFailing = sCall;
            // "call: last line of the report | first record"
            std::smatch match;
            const std::string sLeft = Collect(wlan, firewall, true);
            ASSERT_TRUE(std::regex_search(sLeft, match, std::regex("(.*)\r\n== log\r\n(.*)")));
            sEnds += sCall + ": " + match.str(1) + " | " + match.str(2) + "\r\n";
        }
    }
    ExpectGolden(L"collect/NetworkFailures.txt", sEnds, L"");
}

} // namespace
