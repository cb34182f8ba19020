// The main run of CKelvarinApp: the main thread's half, then the worker's.
#include "app/KelvarinApp.h"

#include "check/InstallCheckManager.h"
#include "collect/CollectInfoManager.h"
#include "config/ConfigFile.h"
#include "log/FunctionLog.h"
#include "log/ResultLog.h"
#include "opdutility/OpdThread.h"
#include "platform/ComInit.h"
#include "platform/HResult.h"
#include "platform/Path.h"

namespace
{

constexpr DWORD CompletedPause = 1000; // milliseconds, for the user to see the full bar

void ShowOutcome(const std::wstring& sText)
{
    ::MessageBoxW(nullptr, sText.c_str(), L"Kelvarin", MB_OK);
}

} // namespace

HRESULT CKelvarinApp::ExecuteMainTask(const CCmdLineParam& rParam)
{
    CFunctionLog log;
    m_CmdLineParam = rParam;
    const HRESULT hr = log.Run([&] { RunMainTask(log); });
    if (FAILED(hr) && !m_CmdLineParam.m_bSilent)
        ShowOutcome(FormatText(L"ERROR [0x%08X]", hr));
    return hr;
}

void CKelvarinApp::RunMainTask(const CFunctionLog& log)
{
    const bool bSilent = m_CmdLineParam.m_bSilent;
    // A run without its dialog is still worth its files.
    if (m_ProgressDlg.Create(nullptr) == nullptr)
        log.Warning(L"CProgressDlg::Create() failed. [0x%08X]", LastErrorResult());
    m_ProgressDlg.ResetClients();
    if (!bSilent)
    {
        m_ProgressDlg.CenterWindow();
        m_ProgressDlg.ShowWindow(SW_SHOWNA);
    }

    auto pThread = OpdBeginThread(this, &CKelvarinApp::ExecuteWorkerThread);
    if (pThread == nullptr)
        log.Fail(E_FAIL, L"OpdBeginThread( CKelvarinApp::ExecuteWorkerThread ) failed.");
    m_MessageLoop.SetQuitFlag(&m_bWorkerEnded);
    m_MessageLoop.Run();
    m_ProgressDlg.DestroyWindow();

    log.Check(m_hResult, L"Check failed. [m_hResult:0x%08X]");
    if (!bSilent)
        ShowOutcome(m_nFailedCount == 0 ? std::wstring(L" OK ") : FormatText(L"NG [Failed:%d]", m_nFailedCount));
}

unsigned CKelvarinApp::ExecuteWorkerThread()
{
    CFunctionLog log;
    const HRESULT hr = log.Run([&] { RunWorker(log); });
    if (FAILED(hr))
        m_hResult = hr;
    ::PostThreadMessageW(GetMainThreadId(), WM_QUIT, 0, 0);
    // In this order: a loop that sees the flag finds the quit message too, unless a modal loop has swallowed it. The
    // empty message wakes a loop that was about to wait then.
    m_bWorkerEnded = true;
    ::PostThreadMessageW(GetMainThreadId(), WM_NULL, 0, 0);
    return static_cast<unsigned>(hr);
}

void CKelvarinApp::RunWorker(const CFunctionLog& log)
{
    const COpdComInit com;
    log.Check(com.GetResult(), L"COpdComInit::GetResult() failed. [0x%08X]");

    std::wstring sLogDirPath, sResultDirPath, sResultFilePath;
    log.Check(GetLogFilePath(sLogDirPath, sResultDirPath, sResultFilePath),
              L"CKelvarinApp::GetLogFilePath() failed. [0x%08X]");
    CResultLog resultLog;
    resultLog.OpenOrThrow(log, sResultFilePath, true);

    m_ProgressDlg.AddClient(m_sClientName, 100, L"Initializing...");
    const std::wstring sModulePath = ModulePath();
    if (sModulePath.empty())
        log.Fail(E_FAIL, L"::GetModuleFileName() failed. [0x%08X]", LastErrorResult());
    m_ProgressDlg.UpdateProgress(m_sClientName, 0, L"Loading configuration...");
    const std::wstring sConfigPath = JoinPath(DirectoryPart(sModulePath), L"Kelvarin.xml");
    CConfigFile config;
    log.Check(config.Load(sConfigPath), L"CConfigFile::Load( \"%s\" ) failed. [0x%08X]", sConfigPath);

    m_ProgressDlg.UpdateProgress(m_sClientName, 10, L"Collecting information...");
    CCollectInfoManager collection;
    log.Check(
        collection.CollectPcInformation(m_CmdLineParam.m_bSilent, config, sModulePath, sLogDirPath, sResultDirPath),
        L"CCollectInfoManager::CollectPcInformation() failed. [0x%08X]");
    CInstallCheckManager manager(config, resultLog, sLogDirPath);
    log.Check(manager.CheckInstallationStatus(&m_nFailedCount),
              L"CInstallCheckManager::CheckInstallationStatus() failed. [0x%08X]");

    m_hResult = S_OK;
    m_ProgressDlg.UpdateProgress(m_sClientName, 100, L"Completed.");
    ::Sleep(CompletedPause);
}

HRESULT CKelvarinApp::GetLogFilePath(std::wstring& rsLogDirPath, std::wstring& rsResultDirPath,
                                     std::wstring& rsResultFilePath) const
{
    CFunctionLog log;
    return log.Run([&] {
        log.Check(m_CmdLineParam.GetLogDirPath(rsLogDirPath), L"CCmdLineParam::GetLogDirPath() failed. [0x%08X]");
        log.Check(m_CmdLineParam.GetResultDirPath(rsResultDirPath),
                  L"CCmdLineParam::GetResultDirPath() failed. [0x%08X]");
        rsResultFilePath = JoinPath(rsResultDirPath, L"InstallCheckResult.txt");
    });
}
