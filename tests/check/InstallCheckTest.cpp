// The small checkers, and the manager that runs all five.
#include "app/KelvarinApp.h"
#include "check/CheckRun.h"
#include "check/InstallCheckManager.h"
#include "check/NotRegComInfoChecker.h"
#include "check/NtServiceInfoChecker.h"
#include "config/ConfigFile.h"
#include "support/ImportPatch.h"
#include "support/ScratchKey.h"

namespace
{

using ::testing::ElementsAre;
using ::testing::HasSubstr;

// A missing service must be found, and the next one looked at.
TEST(NtServiceInfoChecker, TellsWhichServicesExist)
{
    const std::vector<std::wstring> Names{ L"PlugPlay", L"no \"%s\" service", L"", L"rpcss" };
    const CCheckRun run = RunCheck([&](CResultLog& rLog, UINT32* pulFailed) {
        return CNtServiceInfoChecker(rLog, Names).CheckNtServiceInfos(pulFailed);
    });
    EXPECT_EQ(run.hr, S_OK);
    EXPECT_EQ(run.nFailed, 2u);
    EXPECT_THAT(run.Lines, ElementsAre("Succeeded: Check NT Service Info.[name:\"PlugPlay\"]",
                                       "Failed: NT Service can not open.[name:\"no \"%s\" service\"]",
                                       "Failed: NT Service can not open.[name:\"\"]",
                                       "Succeeded: Check NT Service Info.[name:\"rpcss\"]"));
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
        EXPECT_THAT(run.Lines, ElementsAre(run.nFailed == 1 ? "Failed: \"Thing %d\" registered."
                                                            : "Succeeded: \"Thing %d\" not registered."));
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

// The stages' order and texts are what the user sees; the count of the whole run decides between OK and NG.
TEST(InstallCheckManager, RunsAndAddsUpTheStagesInTheirOrder)
{
    const CTestFolder folder;
    const CScratchKey object(L"Classes\\CLSID\\{6B3D1F20-9C1A-4E57-8F11-223344556677}");
    const CScratchKey server(L"Classes\\CLSID\\{6B3D1F20-9C1A-4E57-8F11-223344556677}\\InprocServer32");
    server.SetText(nullptr, L"C:\\t.dll");
    CConfigFile config;
    const auto Check = [&] {
        return RunCheck([&](CResultLog& rLog, UINT32* pulFailed) {
            return CInstallCheckManager(config, rLog, folder.Path()).CheckInstallationStatus(pulFailed);
        });
    };
    CProgressDlg& rDialog = CKelvarinApp::GetApp().m_ProgressDlg;
    rDialog.ResetClients();
    ASSERT_NE(rDialog.Create(nullptr), nullptr);
    {
        const CImportPatch<decltype(::PostMessageW)> patch("PostMessageW", WatchedPost);
        g_pPost = &patch;
        EXPECT_EQ(Check().nFailed, 0u);
    }
    rDialog.DestroyWindow();
    rDialog.ResetClients();
    EXPECT_THAT(g_Shown, ElementsAre("0 Loading configuration...", "20 Checking files...", "20 Checking File...",
                                     "40 Checking registry...", "40 Checking Registry...", "60 Checking NT services...",
                                     "60 Checking NT Service...", "80 Checking registered COM modules...",
                                     "80 Checking COM...", "100 Checking unregistered COM modules...",
                                     "100 Checking Not Registered COM...", "100 Check Completed"));

    config.m_FileInfos = { { folder / L"gone", L"", L"", L"", L"" },
                           { folder.Path(), L"", L"", L"", L"" },
                           { folder / L"lost", L"", L"", L"", L"" } };
    config.m_RegistryInfos.emplace_back().sKeyPath = L"no root";
    config.m_NtServiceInfos = { L"no service" };
    config.m_NoRegisteredComObjectInfos = {
        { L"T", { 0x6B3D1F20, 0x9C1A, 0x4E57, { 0x8F, 0x11, 0x22, 0x33, 0x44, 0x55, 0x66, 0x77 } }, L"C:\\t.dll" }
    };
    const CCheckRun run = Check();
    EXPECT_EQ(run.hr, S_OK);
    EXPECT_EQ(run.nFailed, 5u);
    EXPECT_THAT(run.Lines, ElementsAre(HasSubstr("gone"), HasSubstr("Succeeded: Check File Info"), HasSubstr("lost"),
                                       HasSubstr("no root"), HasSubstr("no service"), "Failed: \"T\" registered."));
}

} // namespace
