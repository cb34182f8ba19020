// The running processes with their modules: RunningProcesses.txt, and with all numbers RunningProcessesDetail.txt.
#pragma once

#include <string>

#include "log/ResultLog.h"

#include <tlhelp32.h>

class CProcessInfoCollector
{
public:
    HRESULT Collect(const std::wstring& sOutDirPath);

    // The right to look into the processes of other accounts.
    static HRESULT EnableDebugPrivilege(bool bEnable);

private:
    void OpenReport(const CFunctionLog& log, CResultLog& rReport, const std::wstring& sPath) const;
    void OutputProcesses(const CFunctionLog& log);
    void OutputProcess(const PROCESSENTRY32W& rProcess);
    void OutputModules(DWORD dwProcessId);
    void OutputModule(const MODULEENTRY32W& rModule);

    CResultLog m_DetailLog;
    CResultLog m_ResultLog;
};
