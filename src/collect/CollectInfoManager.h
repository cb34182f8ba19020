// Gathers the picture of the PC: starts the program's own file again, one child for each collector, one after the
// other.
#pragma once

#include <string>

#include "app/ProgressClient.h"
#include "platform/Win32.h"

class CConfigFile;
class CFunctionLog;

class CCollectInfoManager
{
public:
    CCollectInfoManager();

    // Runs all stages and waits for each child without a limit. A child that fails costs log lines and nothing more.
    HRESULT CollectPcInformation(bool bSilent, const CConfigFile& rConfig, const std::wstring& sProgramPath,
                                 const std::wstring& sLogDirPath, const std::wstring& sResultDirPath);

private:
    struct CStage;
    void RunStage(const CFunctionLog& log, const std::wstring& sProgramPath, const CStage& rStage) const;

    CProgressClient m_Progress;
};
