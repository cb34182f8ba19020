// Gathers the picture of the PC: starts the program's own file again, one child for each collector, one after the
// other.
#pragma once

#include <string>
#include <vector>

#include "app/ProgressClient.h"
#include "platform/Win32.h"

class CConfigFile;
class CFunctionLog;

class CCollectInfoManager
{
public:
    CCollectInfoManager();

    // Runs all stages and waits for each child without a limit. A child that fails costs log lines and nothing more.
    // bSilent is handed to the child of the system's information, which then shows no window.
    // sProgramPath is the program to start; each child gets a folder of its own below sLogDirPath to write into, and
    // sResultDirPath for the records of all.
    HRESULT CollectPcInformation(bool bSilent, const CConfigFile& rConfig, const std::wstring& sProgramPath,
                                 const std::wstring& sLogDirPath, const std::wstring& sResultDirPath);

private:
    struct CStage;
    struct CPaths;
    static std::vector<CStage> MakeStages(const CPaths& rPaths, bool bSilent, bool bSxS);
    void RunStage(const CFunctionLog& log, const std::wstring& sProgramPath, const CStage& rStage) const;

    CProgressClient m_Progress;
};
