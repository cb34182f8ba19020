#include "check/InstallCheckManager.h"

#include "check/ComInfoChecker.h"
#include "check/FileInfoChecker.h"
#include "check/NotRegComInfoChecker.h"
#include "check/NtServiceInfoChecker.h"
#include "check/RegistryInfoChecker.h"
#include "config/ConfigFile.h"
#include "log/FunctionLog.h"

namespace
{
constexpr UINT32 Range = 50;
}

struct CInstallCheckManager::CStage
{
    const wchar_t* pText;
    UINT32 nPosition;
    const wchar_t* pRunOperation;
    HRESULT (CInstallCheckManager::*pRun)(UINT32*);
};

CInstallCheckManager::CInstallCheckManager(const CConfigFile& rConfig, CResultLog& rResultLog,
                                           const std::wstring& sLogDirPath)
    : m_rConfig(rConfig),
      m_rResultLog(rResultLog),
      m_sLogDirPath(sLogDirPath),
      m_Progress(L"CInstallCheckManager", Range, L"Checking...")
{
}

HRESULT CInstallCheckManager::CheckInstallationStatus(UINT32* pulFailed)
{
    CFunctionLog log;
    *pulFailed = 0;
    const HRESULT hr = log.Run([&] { RunStages(log, pulFailed); });
    m_Progress.Update(Range, L"Check Completed");
    return hr;
}

void CInstallCheckManager::RunStages(const CFunctionLog& log, UINT32* pulFailed)
{
    // clang-format off
    static constexpr CStage aStages[] = {
        { L"Checking files...", 10, L"CFileInfoChecker::CheckFileInfos", &CInstallCheckManager::CheckFiles },
        { L"Checking registry...", 20, L"CRegistryInfoChecker::CheckRegistryInfos", &CInstallCheckManager::CheckRegistry },
        { L"Checking NT services...", 30, L"CNtServiceInfoChecker::CheckNtServiceInfos", &CInstallCheckManager::CheckServices },
        { L"Checking registered COM modules...", 40, L"CComInfoChecker::CheckComObjectInfos", &CInstallCheckManager::CheckRegisteredCom },
        { L"Checking unregistered COM modules...", 50, L"CNotRegComInfoChecker::CheckNotRegComObjectInfos", &CInstallCheckManager::CheckUnregisteredCom },
    };
    // clang-format on
    m_Progress.Update(0, L"Loading configuration...");
    for (const CStage& rStage : aStages)
    {
        m_Progress.Update(rStage.nPosition, rStage.pText);
        UINT32 nFailed = 0;
        const HRESULT hr = (this->*rStage.pRun)(&nFailed);
        if (FAILED(hr))
            log.Warning(L"%s() failed. [0x%08X]", rStage.pRunOperation, hr);
        *pulFailed += nFailed;
    }
}

HRESULT CInstallCheckManager::CheckFiles(UINT32* pulFailed)
{
    return CFileInfoChecker(m_rResultLog, m_rConfig.m_FileInfos).CheckFileInfos(pulFailed);
}

HRESULT CInstallCheckManager::CheckRegistry(UINT32* pulFailed)
{
    return CRegistryInfoChecker(m_rResultLog, m_rConfig.m_RegistryInfos).CheckRegistryInfos(pulFailed);
}

HRESULT CInstallCheckManager::CheckServices(UINT32* pulFailed)
{
    return CNtServiceInfoChecker(m_rResultLog, m_rConfig.m_NtServiceInfos).CheckNtServiceInfos(pulFailed);
}

HRESULT CInstallCheckManager::CheckRegisteredCom(UINT32* pulFailed)
{
    return CComInfoChecker(m_rResultLog, m_sLogDirPath, m_rConfig.m_ComObjectInfos)
        .CheckComObjectInfos(m_rConfig.IsSxS(), pulFailed);
}

HRESULT CInstallCheckManager::CheckUnregisteredCom(UINT32* pulFailed)
{
    return CNotRegComInfoChecker(m_rResultLog, m_rConfig.m_NoRegisteredComObjectInfos)
        .CheckNotRegComObjectInfos(pulFailed);
}
