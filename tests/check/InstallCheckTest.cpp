// The small checkers, and the manager that runs all five.
#include "app/KelvarinApp.h"
#include "check/CheckRun.h"
#include "check/InstallCheckManager.h"
#include "check/NotRegComInfoChecker.h"
#include "check/NtServiceInfoChecker.h"
#include "config/ConfigFile.h"
#include "platform/Path.h"
#include "support/ImportPatch.h"
#include "support/LogWatch.h"
#include "support/ScratchKey.h"

namespace
{

using ::testing::ElementsAre;
using ::testing::HasSubstr;

CCheckRun CheckServices(const std::vector<std::wstring>& rNames)
{
    return RunCheck([&](CResultLog& rLog, UINT32* pulFailed) { return CNtServiceInfoChecker(rLog, rNames).CheckNtServiceInfos(pulFailed); });
}

SC_HANDLE WINAPI NoServiceManager(LPCWSTR, LPCWSTR, DWORD)
{
    ::SetLastError(ERROR_ACCESS_DENIED);
    return nullptr;
}

// A missing service must be found, and the next one looked at; a PC without access to them fails each.
TEST(NtServiceInfoChecker, TellsWhichServicesExist)
{
    const CLogWatch watch;
    const CCheckRun run = CheckServices({ L"PlugPlay", L"no \"%s\" service", L"", L"rpcss" });
    EXPECT_EQ(run.hr, S_OK);
    EXPECT_EQ(run.nFailed, 2u);
    EXPECT_THAT(run.Lines, ElementsAre("Succeeded: Check NT Service Info.[name:\"PlugPlay\"]", "Failed: NT Service can not open.[name:\"no \"%s\" service\"]",
                                       "Failed: NT Service can not open.[name:\"\"]", "Succeeded: Check NT Service Info.[name:\"rpcss\"]"));
    const auto Records = watch.Records();
    ASSERT_EQ(Records.size(), 4u);
    EXPECT_EQ(Records[0], "[CNtServiceInfoChecker::CheckNtServiceInfo] Failed: NT Service can not open.[name:\"no \"%s\" service\"]");
    EXPECT_EQ(Records[1], "[CNtServiceInfoChecker::CheckNtServiceInfos] CheckNtServiceInfo() failed.[0x80004005]");

    const CImportPatch<decltype(::OpenSCManagerW)> patch("OpenSCManagerW", NoServiceManager);
    EXPECT_THAT(CheckServices({ L"PlugPlay" }).Lines, ElementsAre("Failed: NT Service Manager can not open."));
}

// Only a registration from exactly this file is wrong; anything else must pass, or every second PC would fail.
TEST(NotRegComInfoChecker, LooksForThisFileOnly)
{
    const CLSID clsid{ 0x6B3D1F20, 0x9C1A, 0x4E57, { 0x8F, 0x11, 0x22, 0x33, 0x44, 0x55, 0x66, 0x77 } };
    const CScratchKey object(L"Classes\\CLSID\\{6B3D1F20-9C1A-4E57-8F11-223344556677}");
    const CScratchKey server(L"Classes\\CLSID\\{6B3D1F20-9C1A-4E57-8F11-223344556677}\\InprocServer32");
    const auto Check = [&](const CLSID& rClsid, const std::wstring& sPath) {
        const CCheckRun run = RunCheck([&](CResultLog& rLog, UINT32* pulFailed) {
            return CNotRegComInfoChecker(rLog, { { L"Thing %d", rClsid, sPath } }).CheckNotRegComObjectInfos(pulFailed);
        });
        EXPECT_EQ(run.hr, S_OK);
        EXPECT_THAT(run.Lines, ElementsAre(run.nFailed == 1 ? "Failed: \"Thing %d\" registered." : "Succeeded: \"Thing %d\" not registered."));
        return run.nFailed != 0;
    };
    EXPECT_FALSE(Check(clsid, L"")) << "no default value";
    server.SetText(nullptr, L"C:\\Dir\\Thing.dll");
    EXPECT_TRUE(Check(clsid, L"c:\\dir\\THING.DLL"));
    EXPECT_FALSE(Check(clsid, L"C:\\Other\\Thing.dll"));
    EXPECT_FALSE(Check(clsid, L"C:\\Dir\\.\\Thing.dll"));
    EXPECT_FALSE(Check(GUID_NULL, L"C:\\Dir\\Thing.dll"));
    server.SetText(nullptr, L"%SystemRoot%\\Thing.dll", REG_EXPAND_SZ);
    EXPECT_TRUE(Check(clsid, L"%systemroot%\\thing.dll")) << "as it stands, unexpanded";
    const std::wstring sLong(519, L'x');
    server.SetText(nullptr, sLong);
    EXPECT_TRUE(Check(clsid, sLong));
    server.SetText(nullptr, sLong + L'x');
    EXPECT_FALSE(Check(clsid, sLong + L'x'));
}

std::vector<std::string> g_Shown; // "percent text" at each message to the dialog
const CImportPatch<decltype(::PostMessageW)>* g_pPost;

BOOL WINAPI WatchedPost(HWND hWnd, UINT nMessage, WPARAM wParam, LPARAM lParam)
{
    CProgressDlg& rDialog = CKelvarinApp::GetApp().m_ProgressDlg;
    g_Shown.push_back(std::to_string(rDialog.GetPercentage()) + ' ' + Utf8(rDialog.GetStatusText()));
    return g_pPost->Original()(hWnd, nMessage, wParam, lParam);
}

// The stages' order and texts are what the user sees; an empty manifest must run through all of them.
TEST(InstallCheckManager, ShowsEachStageInItsOrder)
{
    const CTestFolder folder;
    const CConfigFile config;
    CProgressDlg& rDialog = CKelvarinApp::GetApp().m_ProgressDlg;
    rDialog.ResetClients();
    ASSERT_NE(rDialog.Create(nullptr), nullptr);
    CCheckRun run;
    {
        const CImportPatch<decltype(::PostMessageW)> patch("PostMessageW", WatchedPost);
        g_pPost = &patch;
        g_Shown.clear();
        run = RunCheck([&](CResultLog& rLog, UINT32* pulFailed) { return CInstallCheckManager(config, rLog, folder.Path()).CheckInstallationStatus(pulFailed); });
    }
    rDialog.DestroyWindow();
    rDialog.ResetClients();
    EXPECT_EQ(run.hr, S_OK);
    EXPECT_EQ(run.nFailed, 0u);
    EXPECT_THAT(run.Lines, ElementsAre());
    EXPECT_THAT(g_Shown, ElementsAre("0 Loading configuration...", "20 Checking files...", "20 Checking File...", "40 Checking registry...",
                                     "40 Checking Registry...", "60 Checking NT services...", "60 Checking NT Service...",
                                     "80 Checking registered COM modules...", "80 Checking COM...", "100 Checking unregistered COM modules...",
                                     "100 Checking Not Registered COM...", "100 Check Completed"));
    EXPECT_TRUE(FileExists(folder / L"LoadedComModules.txt"));
    EXPECT_TRUE(FileExists(folder / L"LoadedDeviceDrivers.txt"));
}

// The count of the whole run decides between OK and NG: every stage's must be in it.
TEST(InstallCheckManager, AddsUpTheStages)
{
    const CTestFolder folder;
    const CScratchKey object(L"Classes\\CLSID\\{6B3D1F20-9C1A-4E57-8F11-223344556677}");
    const CScratchKey server(L"Classes\\CLSID\\{6B3D1F20-9C1A-4E57-8F11-223344556677}\\InprocServer32");
    server.SetText(nullptr, L"C:\\t.dll");
    CConfigFile config;
    config.m_FileInfos = { { folder / L"gone", L"", L"", L"", L"" }, { folder.Path(), L"", L"", L"", L"" }, { folder / L"lost", L"", L"", L"", L"" } };
    config.m_RegistryInfos.emplace_back().sKeyPath = L"no root";
    config.m_NtServiceInfos = { L"no service" };
    config.m_NoRegisteredComObjectInfos = { { L"T", { 0x6B3D1F20, 0x9C1A, 0x4E57, { 0x8F, 0x11, 0x22, 0x33, 0x44, 0x55, 0x66, 0x77 } }, L"C:\\t.dll" } };
    const CCheckRun run = RunCheck([&](CResultLog& rLog, UINT32* pulFailed) {
        return CInstallCheckManager(config, rLog, folder.Path()).CheckInstallationStatus(pulFailed);
    });
    EXPECT_EQ(run.hr, S_OK);
    EXPECT_EQ(run.nFailed, 5u);
    EXPECT_THAT(run.Lines, ElementsAre(HasSubstr("gone"), HasSubstr("Succeeded: Check File Info"), HasSubstr("lost"), HasSubstr("no root"),
                                       HasSubstr("no service"), "Failed: \"T\" registered."));
}

} // namespace
