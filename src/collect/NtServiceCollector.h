// The Windows services: NtService.txt.
#pragma once

#include <string>

#include "app/ProgressClient.h"
#include "log/ResultLog.h"

class CNtServiceCollector
{
public:
    CNtServiceCollector();

    // One block a service, in the order of the service manager.
    HRESULT Collect(const std::wstring& sOutDirPath);

private:
    void OutputServices(const CFunctionLog& log, SC_HANDLE hManager);
    void OutputService(const CFunctionLog& log, SC_HANDLE hManager, const ENUM_SERVICE_STATUSW& rService);
    void OutputConfig(const CFunctionLog& log, SC_HANDLE hService);

    CProgressClient m_Progress;
    CResultLog m_ResultLog;
};
