#include "collect/NtServiceCollector.h"

#include "app/KelvarinApp.h"
#include "collect/NetworkReportText.h"
#include "support/ImportPatch.h"
#include "support/LogWatch.h"

namespace
{

using ::testing::ElementsAre;
using ::testing::HasSubstr;

struct CService
{
    const wchar_t* pName;
    const wchar_t* pDisplayName;
    DWORD dwType;
    DWORD dwState;
    DWORD dwStart;
    const wchar_t* pPath;
};

// The service manager of a described PC. The handle of a service is its index and 1; nothing is closed.
struct CFakeManager
{
    std::vector<CService> Services;
    DWORD dwManagerError = ERROR_SUCCESS;
    DWORD dwEnumError = ERROR_SUCCESS;
    DWORD dwConfigError = ERROR_INSUFFICIENT_BUFFER;
    std::size_t nHidden = 0; // services that appear after the size has been told
    const wchar_t* pLocked = nullptr;
    std::vector<int> Percentages{};
};
CFakeManager* s_pManager = nullptr;

BOOL Fail(DWORD dwError)
{
    ::SetLastError(dwError);
    return FALSE;
}

SC_HANDLE WINAPI FakeOpenManager(const wchar_t*, const wchar_t*, DWORD)
{
    if (s_pManager->dwManagerError != ERROR_SUCCESS)
        return Fail(s_pManager->dwManagerError), nullptr;
    return reinterpret_cast<SC_HANDLE>(1000);
}
SC_HANDLE WINAPI FakeOpen(SC_HANDLE, const wchar_t* pName, DWORD)
{
    s_pManager->Percentages.push_back(CKelvarinApp::GetApp().m_ProgressDlg.GetPercentage());
    if (s_pManager->pLocked != nullptr && std::wstring(s_pManager->pLocked) == pName)
        return Fail(ERROR_ACCESS_DENIED), nullptr;
    for (std::size_t n = 0; n < s_pManager->Services.size(); ++n)
    {
        if (std::wstring(s_pManager->Services[n].pName) == pName)
            return reinterpret_cast<SC_HANDLE>(n + 1);
    }
    return Fail(ERROR_SERVICE_DOES_NOT_EXIST), nullptr;
}
BOOL WINAPI FakeClose(SC_HANDLE) { return TRUE; }

BOOL WINAPI FakeEnum(SC_HANDLE, DWORD dwType, DWORD dwState, ENUM_SERVICE_STATUSW* pStatus, DWORD dwSize, DWORD* pdwNeeded, DWORD* pdwCount,
                     DWORD* pdwResume)
{
    EXPECT_EQ(dwType, 48u);
    EXPECT_EQ(dwState, 3u);
    EXPECT_EQ(*pdwResume, 0u);
    if (s_pManager->dwEnumError != ERROR_SUCCESS)
        return Fail(s_pManager->dwEnumError);
    const std::size_t nVisible = s_pManager->Services.size() - std::exchange(s_pManager->nHidden, 0);
    const std::size_t nFit = std::min<std::size_t>(nVisible, dwSize / sizeof *pStatus);
    *pdwCount = static_cast<DWORD>(nFit);
    *pdwNeeded = static_cast<DWORD>((nVisible - nFit) * sizeof *pStatus);
    for (std::size_t n = 0; n < nFit; ++n)
    {
        const CService& rService = s_pManager->Services[n];
        pStatus[n] = {};
        pStatus[n].lpServiceName = const_cast<wchar_t*>(rService.pName);
        pStatus[n].lpDisplayName = const_cast<wchar_t*>(rService.pDisplayName);
        pStatus[n].ServiceStatus.dwServiceType = rService.dwType;
        pStatus[n].ServiceStatus.dwCurrentState = rService.dwState;
    }
    *pdwResume = static_cast<DWORD>(nFit);
    return nFit == nVisible || Fail(ERROR_MORE_DATA);
}

BOOL WINAPI FakeConfig(SC_HANDLE hService, QUERY_SERVICE_CONFIGW* pConfig, DWORD dwSize, DWORD* pdwNeeded)
{
    *pdwNeeded = sizeof *pConfig;
    if (dwSize < sizeof *pConfig)
        return Fail(s_pManager->dwConfigError);
    const CService& rService = s_pManager->Services[reinterpret_cast<std::size_t>(hService) - 1];
    *pConfig = {};
    pConfig->dwStartType = rService.dwStart;
    pConfig->lpBinaryPathName = const_cast<wchar_t*>(rService.pPath);
    return TRUE;
}

struct CRun
{
    HRESULT hr;
    std::string sReport;
    std::vector<std::string> Records;
};

CRun Collect(CFakeManager& rManager)
{
    s_pManager = &rManager;
    const CImportPatch openManager("OpenSCManagerW", &FakeOpenManager);
    const CImportPatch open("OpenServiceW", &FakeOpen);
    const CImportPatch close("CloseServiceHandle", &FakeClose);
    const CImportPatch enumerate("EnumServicesStatusW", &FakeEnum);
    const CImportPatch config("QueryServiceConfigW", &FakeConfig);
    const CTestFolder folder;
    const CLogWatch watch;
    CKelvarinApp::GetApp().m_ProgressDlg.ResetClients();
    const HRESULT hr = CNtServiceCollector().Collect(folder / L"new");
    return { hr, ReportBody(folder / L"new\\NtService.txt"), watch.Records() };
}

const std::vector<CService> Services{
    { L"Alpha", L"The \"first\" one", 16, 4, 2, L"\"C:\\Program Files\\a.exe\" -k" },
    { L"Beta", L"", 16 | 256, 7, 4, L"" },
    { L"Gamma", L"Number %s", 32, 1, 3, nullptr },
    { L"Delta", L"Delta", 2, 6, 9, L"d" },
};

// The list of a living PC, with a service that is installed between the two calls, and the place of the bar at each.
TEST(NtServiceCollector, ListsTheServices)
{
    CFakeManager manager{ Services };
    manager.nHidden = 2;
    const CRun run = Collect(manager);
    EXPECT_EQ(run.hr, S_OK);
    EXPECT_EQ(run.sReport, Golden(L"NtService.txt"));
    EXPECT_THAT(manager.Percentages, ElementsAre(0, 25, 50, 75));
    EXPECT_EQ(CKelvarinApp::GetApp().m_ProgressDlg.GetPercentage(), 100);
    EXPECT_EQ(CKelvarinApp::GetApp().m_ProgressDlg.GetStatusText(), L"Collecting NT Service Info...End");
    EXPECT_THAT(run.Records, ElementsAre());
}

// What the report keeps when something fails: a support desk must see where the list was cut, and no PC may crash it.
TEST(NtServiceCollector, EndsAtTheFirstFailure)
{
    const std::string sGolden = Golden(L"NtService.txt");
    const std::string sUntilBeta = sGolden.substr(0, sGolden.find("StartType    : SERVICE_DISABLED"));
    CFakeManager locked{ Services }, none{}, noManager{ Services }, noList{ Services }, noConfig{ Services };
    locked.pLocked = L"Beta";
    noManager.dwManagerError = ERROR_ACCESS_DENIED;
    noList.dwEnumError = ERROR_INVALID_HANDLE;
    noConfig.dwConfigError = ERROR_SUCCESS;
    const struct
    {
        CFakeManager& rManager;
        HRESULT hr;
        std::string sReport;
        const char* pRecord;
    } aCases[] = {
        { locked, HRESULT_FROM_WIN32(ERROR_ACCESS_DENIED), sUntilBeta, "OpenService( \"Beta\" ) failed.[5]" },
        { none, S_OK, "", nullptr },
        { noManager, HRESULT_FROM_WIN32(ERROR_ACCESS_DENIED), "", "::OpenSCManager() failed. [5]" },
        { noList, HRESULT_FROM_WIN32(ERROR_INVALID_HANDLE), "", "EnumServicesStatus() failed.[6]" },
        { noConfig, HRESULT_FROM_WIN32(ERROR_GEN_FAILURE), sGolden.substr(0, sGolden.find("StartType")), "QueryServiceConfig() failed.[31]" },
    };
    for (const auto& rCase : aCases)
    {
        const CRun run = Collect(rCase.rManager);
        EXPECT_EQ(run.hr, rCase.hr) << rCase.pRecord;
        EXPECT_EQ(run.sReport, rCase.sReport);
        if (rCase.pRecord == nullptr)
            EXPECT_THAT(run.Records, ElementsAre());
        else
            EXPECT_THAT(run.Records, ElementsAre(HasSubstr(std::string("[CNtServiceCollector::Collect] ") + rCase.pRecord)));
    }
}

} // namespace
