#include "collect/NetworkInfoCollector.h"

#include <iphlpapi.h>
#include <wlanapi.h>

#include <map>

#include "collect/NetworkFakeFirewall.h"
#include "collect/NetworkReportText.h"
#include "platform/Text.h"
#include "support/LogWatch.h"

namespace
{

using ::testing::Contains;
using ::testing::ElementsAre;

// The network of a described PC.
struct CFakeNetwork
{
    std::vector<MIB_IPADDRROW> Addresses{};
    std::vector<IP_ADAPTER_INDEX_MAP> Adapters{};
    DWORD dwTooMany = 0; // rows that the tables claim and do not have
    DWORD dwWlanError = ERROR_SUCCESS;
    std::vector<WLAN_INTERFACE_INFO> Interfaces{};
    std::map<DWORD, std::vector<WLAN_AVAILABLE_NETWORK>> Networks{}; // by the first number of the interface's id
    int nWlanOpen = 0;                                               // handles and lists
};
CFakeNetwork* s_pNetwork = nullptr;

template <typename Table, typename Row>
DWORD FillTable(const std::vector<Row>& rRows, Row* pFirst, Table* pTable, ULONG* pulSize)
{
    const ULONG ulNeeded = static_cast<ULONG>(sizeof(DWORD) + rRows.size() * sizeof(Row));
    if (pTable == nullptr || *pulSize < ulNeeded)
        return *pulSize = ulNeeded, ERROR_INSUFFICIENT_BUFFER;
    *reinterpret_cast<DWORD*>(pTable) = static_cast<DWORD>(rRows.size()) + s_pNetwork->dwTooMany;
    std::copy(rRows.begin(), rRows.end(), pFirst);
    return NO_ERROR;
}
DWORD WINAPI FakeAddresses(MIB_IPADDRTABLE* pTable, ULONG* pulSize, WINBOOL)
{
    return FillTable(s_pNetwork->Addresses, pTable != nullptr ? pTable->table : nullptr, pTable, pulSize);
}
DWORD WINAPI FakeInterfaces(IP_INTERFACE_INFO* pInfo, ULONG* pulSize)
{
    if (s_pNetwork->Adapters.empty())
        return ERROR_NO_DATA;
    return FillTable(s_pNetwork->Adapters, pInfo != nullptr ? pInfo->Adapter : nullptr, pInfo, pulSize);
}
DWORD WINAPI FakeEntry(MIB_IFROW* pRow)
{
    if (pRow->dwIndex == 3)
        return ERROR_INVALID_DATA;
    // The second adapter's text fills its field.
    std::fill(std::begin(pRow->bDescr), std::end(pRow->bDescr), pRow->dwIndex == 2 ? 'x' : '\0');
    std::copy_n("Card %s", 7, pRow->bDescr);
    return NO_ERROR;
}

DWORD WINAPI FakeOpen(DWORD dwVersion, void*, DWORD*, HANDLE* phClient)
{
    EXPECT_EQ(dwVersion, 1u);
    if (s_pNetwork->dwWlanError == ERROR_SUCCESS)
        *phClient = reinterpret_cast<HANDLE>(++s_pNetwork->nWlanOpen);
    return s_pNetwork->dwWlanError;
}
DWORD WINAPI FakeClose(HANDLE, void*)
{
    --s_pNetwork->nWlanOpen;
    return ERROR_SUCCESS;
}
void WINAPI FakeFree(void* pList)
{
    --s_pNetwork->nWlanOpen;
    ::LocalFree(pList);
}
template <typename List, typename Row>
void GiveList(const std::vector<Row>& rRows, List** ppList)
{
    auto* const pNumbers = static_cast<DWORD*>(
        ::LocalAlloc(LMEM_ZEROINIT, 2 * sizeof(DWORD) + rRows.size() * sizeof(Row)));
    pNumbers[0] = static_cast<DWORD>(rRows.size());
    std::copy(rRows.begin(), rRows.end(), reinterpret_cast<Row*>(pNumbers + 2));
    *ppList = reinterpret_cast<List*>(pNumbers);
    ++s_pNetwork->nWlanOpen;
}
DWORD WINAPI FakeEnum(HANDLE, void*, WLAN_INTERFACE_INFO_LIST** ppList)
{
    return GiveList(s_pNetwork->Interfaces, ppList), ERROR_SUCCESS;
}
DWORD WINAPI FakeNetworks(HANDLE, const GUID* pInterface, DWORD dwFlags, void*, WLAN_AVAILABLE_NETWORK_LIST** ppList)
{
    EXPECT_EQ(dwFlags, 0u);
    const auto itNetworks = s_pNetwork->Networks.find(pInterface->Data1);
    if (itNetworks == s_pNetwork->Networks.end())
        return ERROR_NOT_FOUND;
    return GiveList(itNetworks->second, ppList), ERROR_SUCCESS;
}

// The wireless library, which must come from the system folder.
HMODULE WINAPI FakeLoad(const wchar_t* pPath, HANDLE, DWORD)
{
    wchar_t aSystem[MAX_PATH] = L"";
    ::GetSystemDirectoryW(aSystem, MAX_PATH);
    EXPECT_TRUE(EqualsNoCase(pPath, std::wstring(aSystem) + L"\\wlanapi.dll")) << Utf8(pPath);
    return ::LoadLibraryW(L"kernel32.dll");
}
FARPROC WINAPI FakeProc(HMODULE, const char* pName)
{
    static const std::map<std::string, void*> Functions{
        { "WlanOpenHandle", reinterpret_cast<void*>(&FakeOpen) },
        { "WlanCloseHandle", reinterpret_cast<void*>(&FakeClose) },
        { "WlanFreeMemory", reinterpret_cast<void*>(&FakeFree) },
        { "WlanEnumInterfaces", reinterpret_cast<void*>(&FakeEnum) },
        { "WlanGetAvailableNetworkList", reinterpret_cast<void*>(&FakeNetworks) },
    };
    return reinterpret_cast<FARPROC>(Functions.at(pName));
}

BOOL WINAPI FakeOldVersion(OSVERSIONINFOW* pVersion)
{
    pVersion->dwMajorVersion = 5;
    return TRUE;
}

WLAN_INTERFACE_INFO Interface(DWORD dwId, const wchar_t* pText)
{
    WLAN_INTERFACE_INFO Info{};
    Info.InterfaceGuid.Data1 = dwId;
    ::lstrcpynW(Info.strInterfaceDescription, pText, 256);
    return Info;
}
WLAN_AVAILABLE_NETWORK Network(const std::string& sSsid, ULONG ulLength, const wchar_t* pProfile, DWORD dwFlags,
                               DWORD dwAuth, DWORD dwCipher)
{
    WLAN_AVAILABLE_NETWORK Result{};
    std::fill(std::begin(Result.dot11Ssid.ucSSID), std::end(Result.dot11Ssid.ucSSID), '!');
    std::copy(sSsid.begin(), sSsid.end(), Result.dot11Ssid.ucSSID);
    Result.dot11Ssid.uSSIDLength = ulLength;
    ::lstrcpynW(Result.strProfileName, pProfile, 256);
    Result.wlanSignalQuality = 77;
    Result.dwFlags = dwFlags;
    Result.dot11DefaultAuthAlgorithm = static_cast<DOT11_AUTH_ALGORITHM>(dwAuth);
    Result.dot11DefaultCipherAlgorithm = static_cast<DOT11_CIPHER_ALGORITHM>(dwCipher);
    return Result;
}

IP_ADAPTER_INDEX_MAP Adapter(DWORD dwIndex, wchar_t cFill)
{
    IP_ADAPTER_INDEX_MAP Map{};
    Map.Index = dwIndex;
    std::fill(std::begin(Map.Name), std::end(Map.Name), cFill);
    return Map;
}

const CFakeFirewall Firewall{
    { __uuidof(NetFwMgr), __uuidof(NetFwPolicy2), __uuidof(INetFwPolicy2), __uuidof(INetFwRule),
      __uuidof(INetFwAuthorizedApplication), __uuidof(IEnumVARIANT) },
    5,
    { { -1, 0, 0, 1, 0 }, { 1, -1, 2, 7, -1 }, { 0, 1, 1, 0, 1 } },
    { { L"Rule %d", L"C:\\a b.exe", -1, 1 }, { nullptr, nullptr, 0, 0 }, { L"", nullptr, 1, 9 } }
};

struct CRun
{
    HRESULT hr;
    std::string sReport{};
    std::vector<std::string> Blocks{}; // behind each separator
    std::vector<std::string> Records{};
};

std::vector<std::string> BlocksOf(std::string sText)
{
    std::vector<std::string> Blocks;
    const std::string sLine = std::string(48, '_') + '\n';
    for (std::size_t nAt; (nAt = sText.rfind(sLine)) != sText.npos; sText.resize(nAt))
        Blocks.insert(Blocks.begin(), sText.substr(nAt + sLine.size()));
    return Blocks;
}

CRun Collect(CFakeNetwork& rNetwork, CFakeFirewall& rFirewall)
{
    s_pNetwork = &rNetwork;
    const CImportPatch addresses("GetIpAddrTable", &FakeAddresses);
    const CImportPatch interfaces("GetInterfaceInfo", &FakeInterfaces);
    const CImportPatch entry("GetIfEntry", &FakeEntry);
    const CImportPatch load("LoadLibraryExW", &FakeLoad);
    const CImportPatch proc("GetProcAddress", &FakeProc);
    const CFakeFirewallPatch firewall(rFirewall);
    const CTestFolder folder;
    const CLogWatch watch;
    CRun run{ CNetworkInfoCollector().Collect(folder / L"new") };
    run.Records = watch.Records();
    run.sReport = ReportBody(folder / L"new\\NetworkInfo.txt");
    run.Blocks = BlocksOf(run.sReport);
    EXPECT_EQ(rNetwork.nWlanOpen, 0);
    EXPECT_EQ(rFirewall.nReferences, 0);
    return run;
}

// The whole outline of a PC that has everything, with tables that lie and texts that fill their fields.
TEST(NetworkInfoCollector, DescribesTheNetwork)
{
    CFakeNetwork network;
    network.Addresses = { { 0x0100007F, 9, 0, 0, 0, 0, 0 },
                          { 0xFE01A8C0, 1, 0, 0, 0, 0, 0 },
                          { 0x01010101, 1, 0, 0, 0, 0, 0 } };
    network.Adapters = { Adapter(1, L'\0'), Adapter(2, L'n'), Adapter(3, L'\0') };
    network.dwTooMany = 100000;
    network.Interfaces = { Interface(0xAB, L"Radio %s"), Interface(1, L"") };
    network.Networks[0xAB] = { Network("Home", 4, L"My profile", 3, 7, 4), Network("", 0, L"", 0, 8, 3),
                               Network("0123456789abcdef0123456789abcdef", 32, L"", 2, 0x80000000, 0xFFFFFFFF),
                               Network("Liar", 0xFFFFFFFF, L"", 0xFFFFFFFD, 1, 256) };
    network.Networks[1] = {};
    CFakeFirewall firewall = Firewall;
    const CRun run = Collect(network, firewall);
    EXPECT_EQ(run.hr, S_OK);
    EXPECT_EQ(run.sReport, Golden(L"NetworkInfo.txt"));
    EXPECT_THAT(run.Records, ElementsAre());
}

// A block that fails must leave its neighbours alone.
TEST(NetworkInfoCollector, KeepsTheBlocksApart)
{
    CFakeNetwork network;
    network.Interfaces = { Interface(2, L"Deaf"), Interface(3, L"Dropped") };
    CFakeFirewall firewall = Firewall;
    firewall.sFailing = "Create";
    CRun run = Collect(network, firewall);
    EXPECT_EQ(run.hr, S_OK);
    EXPECT_THAT(run.Blocks, ElementsAre("* Network Adaptor Info\n",
                                        "* Windows Zero Configuration Info\n** Wireless interface count is 2\n- Deaf\n"
                                        "-- InterfaceGUID : {00000002-0000-0000-0000-000000000000}\n",
                                        ""));
    const std::string sClass = "[CNetworkInfoCollector::";
    EXPECT_THAT(
        run.Records,
        ElementsAre(sClass + "collectIpAddress] GetInterfaceInfo(NULL) failed. [232]",
                    sClass + "Collect] collectIpAddress() failed. [0x800700E8]",
                    sClass + "collectApInfo] WlanGetAvailableNetworkList() failed. [1168]",
                    sClass +
                        "collectWlanInfo] collectApInfo({00000002-0000-0000-0000-000000000000}) failed. [0x80070490]",
                    sClass + "Collect] collectWlanInfo() failed. [0x80070490]",
                    sClass + "collectFirewallInfoForVistaOrLater] WFCOMInitialize() failed.[0x80004001]",
                    sClass + "collectFirewallInfo] collectFirewallInfo() failed.[0x80004001]",
                    sClass + "Collect] collectFirewallInfo() failed. [0x80004001]"));
    network.dwWlanError = ERROR_SERVICE_NOT_ACTIVE;
    run = Collect(network, firewall);
    EXPECT_EQ(run.Blocks[1], "* Windows Zero Configuration Info\n");
    EXPECT_EQ(run.Records[2], sClass + "collectWlanInfo] WlanOpenHandle() failed. [1062]");
}

struct CFailure
{
    const char* pCall;
    const char* pRecord;
    const char* pLast; // the beginning of the last line that the report has of the profile or block
};

// What a support desk searches the log for, and how far the report goes, for each call of the newer interface.
TEST(NetworkInfoCollector, EndsAFirewallProfileAtItsFailure)
{
    constexpr CFailure Failures[] = {
        { "FirewallEnabled", "netFwPolicy->get_FirewallEnabled()", "** <<Profile" },
        { "BlockAll", "netFwPolicy->get_BlockAllInboundTraffic()", "- Firewall is" },
        { "Inbound", "netFwPolicy->get_DefaultInboundAction()", "-- AllInbound" },
        { "Outbound", "netFwPolicy->get_DefaultOutboundAction()", "-- DefaultInbound" },
        { "Unicast", "netFwPolicy->get_UnicastResponsesToMulticastBroadcastDisabled()", "-- DefaultOutbound" },
        { "Rules", "netFwPolicy->get_Rules()", "-- Unicast" },
        { "Items.Count", "netFwRules->get_Count()", "-- Unicast" },
        { "Items.NewEnum", "netFwRules->get__NewEnum()", "-- Unicast" },
        { "Reset", "rulesEnum->Reset()", "-- Unicast" },
        { "Item.Name", "rule->get_Name()", "-- Rule count is" },
        { "Item.Image", "rule->get_ApplicationName()", "-- Rule %d" },
        { "Item.Enabled", "rule->get_Enabled()", "--- C:" },
        { "Item.Action", "rule->get_Action()", "--- Firewall is" },
    };
    const std::string sWhole = BlocksOf(Golden(L"NetworkInfo.txt"))[2];
    const std::string sHead = sWhole.substr(0, sWhole.find("** <<"));
    for (const CFailure& rFailure : Failures)
    {
        CFakeNetwork network;
        CFakeFirewall firewall = Firewall;
        firewall.sFailing = rFailure.pCall;
        const CRun run = Collect(network, firewall);
        // Each profile's lines of the whole report, up to the last one.
        std::string sExpected = sHead;
        for (std::size_t nAt = sHead.size(); nAt < sWhole.size();)
        {
            const std::string sProfile = sWhole.substr(nAt, sWhole.find("** <<", nAt + 1) - nAt);
            const std::size_t nLast = ("\n" + sProfile).find(std::string("\n") + rFailure.pLast);
            sExpected += sProfile.substr(0, sProfile.find('\n', nLast) + 1);
            nAt += sProfile.size();
        }
        ASSERT_EQ(run.Blocks.size(), 3u);
        EXPECT_EQ(run.Blocks[2], sExpected) << rFailure.pCall;
        const std::string sRecord = std::string("[CNetworkInfoCollector::get_FirewallSettings_PerProfileType] ") +
                                    rFailure.pRecord + " failed.[0x80004001]";
        EXPECT_THAT(std::vector(run.Records.end() - 3, run.Records.end()), ElementsAre(sRecord, sRecord, sRecord));
    }
}

// The older interface: nothing before all objects are there.
TEST(NetworkInfoCollector, AsksTheOlderFirewall)
{
    constexpr const char* Head = "* Windows Firewall Info\n** Current Profile Type is NET_FW_PROFILE_STANDARD\n- "
                                 "Firewall is enable\n-- Application count is 3\n";
    const std::string sApp = "-- Rule %d\n--- C:\\a b.exe\n--- Application is enable.\n";
    const struct
    {
        const char* pCall;
        const char* pRecord;
        std::string sBlock;
    } aCases[] = {
        { "", nullptr, Head + sApp + "-- \n--- \n--- Application is disable.\n" },
        { "Create", "CoCreateInstance(__uuidof(NetFwMgr))", "" },
        { "CurrentProfileType", "netFwMgr->get_CurrentProfileType()", "" },
        { "LocalPolicy", "netFwMgr->get_LocalPolicy()", "" },
        { "CurrentProfile", "netFwPolicy->get_CurrentProfile()", "" },
        { "FirewallEnabled", "netFwPolicy->get_FirewallEnabled()", "" },
        { "Apps", "netFwProfile->get_AuthorizedApplications()", "" },
        { "Items.Count", "netFwProfile->get_Count()", "" },
        { "Items.NewEnum", "netFwAuthApps->get__NewEnum()", "" },
        { "Query", "CComQIPtr<IEnumVARIANT> authAppsEnum(authAppsEnumUnk)", "" },
        { "Reset", "authAppsEnum->Reset()", "" },
        { "Item.Name", "authApp->get_Name()", Head },
        { "Item.Image", "authApp->get_ProcessImageFileName()", Head + sApp.substr(0, sApp.find("--- C")) },
        { "Item.Enabled", "authApp->get_Enabled()", Head + sApp.substr(0, sApp.find("--- App")) },
    };
    const CImportPatch version("GetVersionExW", &FakeOldVersion);
    for (const auto& rCase : aCases)
    {
        CFakeNetwork network;
        CFakeFirewall firewall = Firewall;
        firewall.nCurrent = 1;
        firewall.sFailing = rCase.pCall;
        const CRun run = Collect(network, firewall);
        ASSERT_EQ(run.Blocks.size(), 3u);
        EXPECT_EQ(run.Blocks[2], rCase.sBlock) << rCase.pCall;
        if (rCase.pRecord == nullptr)
            continue;
        EXPECT_THAT(run.Records, Contains(std::string("[CNetworkInfoCollector::collectFirewallInfoForXP] ") +
                                          rCase.pRecord + " failed.[0x80004001]"));
    }
}

} // namespace
