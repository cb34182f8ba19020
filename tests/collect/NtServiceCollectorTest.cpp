#include "collect/NtServiceCollector.h"

#include <algorithm>

#include "app/KelvarinApp.h"
#include "collect/NetworkReportText.h"
#include "support/ImportPatch.h"
#include "support/LogWatch.h"

namespace
{

using ::testing::ElementsAre;

struct CService
{
    const wchar_t *pName, *pDisplayName;
    DWORD dwType, dwState, dwStart;
    const wchar_t* pPath;
};

// The service manager of a described PC. The handle of a service is its index and 1; nothing is closed.
struct CFakeManager
{
    std::vector<CService> Services;
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
    return reinterpret_cast<SC_HANDLE>(1000);
}
SC_HANDLE WINAPI FakeOpen(SC_HANDLE, const wchar_t* pName, DWORD)
{
    s_pManager->Percentages.push_back(CKelvarinApp::GetApp().m_ProgressDlg.GetPercentage());
    if (s_pManager->pLocked != nullptr && std::wstring(s_pManager->pLocked) == pName)
        return Fail(ERROR_ACCESS_DENIED), nullptr;
    const auto it = std::ranges::find_if(s_pManager->Services,
                                         [&](const CService& r) { return std::wstring(r.pName) == pName; });
    return reinterpret_cast<SC_HANDLE>(it - s_pManager->Services.begin() + 1);
}
BOOL WINAPI FakeClose(SC_HANDLE)
{
    return TRUE;
}

BOOL WINAPI FakeEnum(SC_HANDLE, DWORD dwType, DWORD dwState, ENUM_SERVICE_STATUSW* pStatus, DWORD dwSize,
                     DWORD* pdwNeeded, DWORD* pdwCount, DWORD* pdwResume)
{
    EXPECT_TRUE(dwType == 48 && dwState == 3 && *pdwResume == 0);
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
        return Fail(ERROR_INSUFFICIENT_BUFFER);
    const CService& rService = s_pManager->Services[reinterpret_cast<std::size_t>(hService) - 1];
    *pConfig = {};
    pConfig->dwStartType = rService.dwStart;
    pConfig->lpBinaryPathName = const_cast<wchar_t*>(rService.pPath);
    return TRUE;
}

std::string Collect(CFakeManager& rManager, HRESULT hrExpected)
{
    s_pManager = &rManager;
    const CImportPatch openManager("OpenSCManagerW", &FakeOpenManager);
    const CImportPatch open("OpenServiceW", &FakeOpen);
    const CImportPatch close("CloseServiceHandle", &FakeClose);
    const CImportPatch enumerate("EnumServicesStatusW", &FakeEnum);
    const CImportPatch config("QueryServiceConfigW", &FakeConfig);
    const CTestFolder folder;
    CKelvarinApp::GetApp().m_ProgressDlg.ResetClients();
    EXPECT_EQ(CNtServiceCollector().Collect(folder / L"new"), hrExpected);
    return ReportBody(folder / L"new\\NtService.txt");
}

const std::vector<CService> AllServices{
    { L"Alpha", L"The \"first\" one", 16, 4, 2, L"\"C:\\Program Files\\a.exe\" -k" },
    { L"Beta", L"", 16 | 256, 7, 4, L"" },
    { L"Gamma", L"Number %s", 32, 1, 3, nullptr },
    { L"Delta", L"Delta", 2, 6, 9, L"d" },
};

// The list of a living PC, with a service that is installed between the two calls, and the place of the bar at each. A
// service that cannot be opened cuts the list, and a support desk must see where.
TEST(NtServiceCollector, ListsTheServicesUpToTheFirstFailure)
{
    const std::string sGolden = Golden(L"NtService.txt");
    const CLogWatch watch;
    CFakeManager manager{ AllServices };
    manager.nHidden = 2;
    EXPECT_EQ(Collect(manager, S_OK), sGolden);
    EXPECT_THAT(manager.Percentages, ElementsAre(0, 25, 50, 75));
    EXPECT_EQ(CKelvarinApp::GetApp().m_ProgressDlg.GetStatusText(), L"Collecting NT Service Info...End");
    manager.pLocked = L"Beta";
    EXPECT_EQ(Collect(manager, HRESULT_FROM_WIN32(ERROR_ACCESS_DENIED)),
              sGolden.substr(0, sGolden.find("StartType    : SERVICE_DISABLED")));
    EXPECT_THAT(watch.Records(),
                ElementsAre(::testing::HasSubstr("[CNtServiceCollector::Collect] OpenService( \"Beta\" ) failed.[5]")));
}

} // namespace
