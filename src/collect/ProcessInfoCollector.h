// The running processes with their modules: RunningProcesses.txt, and with all numbers RunningProcessesDetail.txt.
#pragma once

#include <string>

#include "log/ResultLog.h"

#include <tlhelp32.h>

class CProcessInfoCollector
{
public:
    // Makes the folder when it is missing. A process that cannot be looked into costs its own modules; a folder, a file
    // or a list of processes that cannot be had ends the collection.
    HRESULT Collect(const std::wstring& sOutDirPath);

    // The right to look into the processes of other accounts.
    static HRESULT EnableDebugPrivilege(bool bEnable);

private:
    void OutputProcesses(const CFunctionLog& log);
    void OutputProcess(const PROCESSENTRY32W& rProcess);
    void OutputModules(DWORD dwProcessId);
    void OutputModule(const MODULEENTRY32W& rModule);

    CResultLog m_DetailLog;
    CResultLog m_ResultLog;
};
