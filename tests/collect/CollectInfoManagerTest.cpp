// The series of children; none is started here.
#include "collect/CollectInfoManager.h"

#include <gmock/gmock.h>

#include "app/KelvarinApp.h"
#include "collect/CollectorUtilFakes.h"
#include "config/ConfigFile.h"
#include "support/LogWatch.h"
#include "support/TestFolder.h"

namespace
{

std::string g_sEvents;  // "percent text" for a message to the dialog, "> line" for a child, one a line
std::string g_sFailing; // the child that fails
DWORD g_dwExitCode;

BOOL WINAPI WatchedPost(HWND, UINT, WPARAM, LPARAM)
{
    CProgressDlg& rDialog = CKelvarinApp::GetApp().m_ProgressDlg;
    g_sEvents += std::to_string(rDialog.GetPercentage()) + ' ' + Utf8(rDialog.GetStatusText()) + "\r\n";
    return TRUE;
}
BOOL WINAPI NoProcess(LPCWSTR, LPWSTR pLine, LPSECURITY_ATTRIBUTES, LPSECURITY_ATTRIBUTES, BOOL, DWORD, LPVOID, LPCWSTR,
                      LPSTARTUPINFOW, LPPROCESS_INFORMATION)
{
    const std::string sLine = Utf8(pLine);
    g_sEvents += "> " + sLine + "\r\n";
    const bool bFails = !g_sFailing.empty() && sLine.find(g_sFailing) != sLine.npos;
    g_dwExitCode = bFails ? 0x80004005 : 0;
    return TRUE;
}
const CImportPatch<decltype(::WaitForSingleObject)>* g_pWait;
DWORD WINAPI NoWait(HANDLE hObject, DWORD dwTime)
{
    return hObject == nullptr ? WAIT_OBJECT_0 : g_pWait->Original()(hObject, dwTime);
}
BOOL WINAPI ExitCode(HANDLE, LPDWORD pdwCode)
{
    *pdwCode = g_dwExitCode;
    return TRUE;
}

HRESULT Collect(bool bSilent, const std::wstring& sSxsId)
{
    CConfigFile config;
    config.m_sSxsId = sSxsId;
    config.m_sRepositoryDirPath = L"  C:\\repo \"x\"\\ ";
    config.m_sNuvexDirPath = L"C:\\nuvex\\";
    config.m_sRegistryPath = L" Soft ware\\Key ";
    CProgressDlg& rDialog = CKelvarinApp::GetApp().m_ProgressDlg;
    rDialog.ResetClients();
    EXPECT_NE(rDialog.Create(nullptr), nullptr);
    HRESULT hr = E_FAIL;
    {
        const CImportPatch<decltype(WatchedPost)> post("PostMessageW", WatchedPost);
        const CImportPatch<decltype(NoProcess)> create("CreateProcessW", NoProcess);
        const CImportPatch<decltype(::WaitForSingleObject)> wait("WaitForSingleObject", NoWait);
        const CImportPatch<decltype(ExitCode)> exitCode("GetExitCodeProcess", ExitCode);
        g_pWait = &wait;
        g_sEvents.clear();
        CCollectInfoManager manager;
        hr = manager.CollectPcInformation(bSilent, config, L"C:\\p q\\Kelvarin.exe", L"C:\\log", L"C:\\log\\Log\\");
    }
    rDialog.DestroyWindow();
    rDialog.ResetClients();
    return hr;
}

// The children read these lines: each blank, quote and folder is part of what they do. A child that fails costs its own
// line; the series goes on.
TEST(CollectInfoManager, StartsEachChildWithItsLine)
{
    g_sFailing.clear();
    {
        const CLogWatch watch;
        EXPECT_EQ(Collect(false, L"__None__"), S_OK);
        ExpectGolden(g_sEvents, L"ManagerVisible.txt", L"");
        ExpectGolden(watch.Records(), L"ManagerVisible.log", L"");
        EXPECT_EQ(Collect(true, L"other"), S_OK);
        ExpectGolden(g_sEvents, L"ManagerSilentSxs.txt", L"");
    }
    g_sFailing = "-collect:driver";
    const CLogWatch watch;
    EXPECT_EQ(Collect(true, L""), S_OK);
    ExpectGolden(watch.Records(), L"ManagerFailedChild.log", L"");
    EXPECT_THAT(g_sEvents, ::testing::EndsWith("100 Collection Completed\r\n"));
}

} // namespace
