// The application object: from process start to the exit code, in all thirteen modes.
#pragma once

#include <atomic>
#include <string>

#include "app/CmdLineParam.h"
#include "app/ProgressDlg.h"
#include "platform/AppModule.h"

class CFunctionLog;

class CKelvarinApp : public CAppModule
{
public:
    // The one application object, built before the entry point runs.
    static CKelvarinApp& GetApp();
    ~CKelvarinApp() override = default;

    // Runs the mode that the parameters ask for, on the main thread; gives its result. Called once.
    HRESULT Main(const CCmdLineParam& rParam);

    CMessageLoop m_MessageLoop;
    CCmdLineParam m_CmdLineParam;
    CProgressDlg m_ProgressDlg;
    HRESULT m_hResult = E_FAIL; // the worker's outcome; a failure until it has finished everything
    UINT32 m_nFailedCount = 0;
    std::wstring m_sClientName = L"CKelvarinApp";

private:
    CKelvarinApp() = default;
    void EnableSideBySide(const CFunctionLog& log) const;
    HRESULT RunMode(const CFunctionLog& log, const CCmdLineParam& rParam);

    // The main run: dialog and message loop here, all the work on the worker thread.
    HRESULT ExecuteMainTask(const CCmdLineParam& rParam);
    void RunMainTask(const CFunctionLog& log);
    unsigned ExecuteWorkerThread();
    void RunWorker(const CFunctionLog& log);
    HRESULT GetLogFilePath(std::wstring& rsLogDirPath, std::wstring& rsResultDirPath,
                           std::wstring& rsResultFilePath) const;

    // The collectors' modes; each gives its collector's result. They touch no member.
    HRESULT CollectVlmInfo(const CCmdLineParam& rParam);
    HRESULT CollectSystemInfo(const CCmdLineParam& rParam);
    HRESULT CollectRegistryInfo(const CCmdLineParam& rParam);
    HRESULT CollectApplicationInfo(const CCmdLineParam& rParam);
    HRESULT CollectInstallerInfo(const CCmdLineParam& rParam);
    HRESULT CollectHardwareInfo(const CCmdLineParam& rParam);
    HRESULT CollectDriverInfo(const CCmdLineParam& rParam);
    HRESULT CollectLicenseFile(const CCmdLineParam& rParam);
    HRESULT CollectLogFile(const CCmdLineParam& rParam);
    HRESULT CollectAsioInfo(const CCmdLineParam& rParam);
    HRESULT CrateBackupImage(const CCmdLineParam& rParam); // the name is in every support desk's scripts
    HRESULT CreateHwinfo(const CCmdLineParam& rParam);

    // Set after the quit message is posted.
    std::atomic<bool> m_bWorkerEnded{ false };
};
