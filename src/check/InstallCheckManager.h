// Runs the verification of the installation: five checkers, one after the other.
#pragma once

#include <string>

#include "app/ProgressClient.h"

class CConfigFile;
class CResultLog;
class CFunctionLog;

class CInstallCheckManager
{
public:
    // The configuration and the open result log are borrowed. sLogDirPath takes the lists of loaded modules and
    // drivers.
    CInstallCheckManager(const CConfigFile& rConfig, CResultLog& rResultLog, const std::wstring& sLogDirPath);

    // Gives the number of failed entries, on every path. The result is negative only when something was thrown out of
    // a stage; a stage that fails by its result is logged, and the next one starts.
    HRESULT CheckInstallationStatus(UINT32* pulFailed);

private:
    struct CStage;
    void RunStages(const CFunctionLog& log, UINT32* pulFailed);

    HRESULT CheckFiles(UINT32* pulFailed);
    HRESULT CheckRegistry(UINT32* pulFailed);
    HRESULT CheckServices(UINT32* pulFailed);
    HRESULT CheckRegisteredCom(UINT32* pulFailed);
    HRESULT CheckUnregisteredCom(UINT32* pulFailed);

    const CConfigFile& m_rConfig;
    CResultLog& m_rResultLog;
    std::wstring m_sLogDirPath;
    CProgressClient m_Progress;
};
