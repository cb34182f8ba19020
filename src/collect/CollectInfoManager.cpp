#include "collect/CollectInfoManager.h"

#include "collect/StepResult.h"
#include "config/ConfigFile.h"
#include "log/FunctionLog.h"
#include "opdutility/OpdExecFile.h"
#include "platform/Path.h"

namespace
{

constexpr UINT32 Range = 90;

// A path that can stand in quotes at the end of a switch: without blanks around it, and without a backslash that would
// swallow the closing quote. A bare root ("D:\") needs its backslash and is handed down as "D:\.".
std::wstring CleanPath(std::wstring sPath)
{
    const auto nFirst = sPath.find_first_not_of(L' ');
    const auto nLast = sPath.find_last_not_of(L' ');
    sPath = nFirst == sPath.npos ? std::wstring() : sPath.substr(nFirst, nLast - nFirst + 1);
    sPath = WithoutTrailingBackslash(sPath);
    return sPath.ends_with(L'\\') ? sPath + L'.' : sPath;
}

std::wstring Quoted(const wchar_t* pSwitch, const std::wstring& sValue)
{
    return FormatText(L"%s\"%s\"", pSwitch, sValue);
}

} // namespace

struct CCollectInfoManager::CStage
{
    UINT32 nPosition;
    const wchar_t* pText;
    std::wstring sCommand;
};

// As they stand in the switches, but for the log folder, below which each child has its own.
struct CCollectInfoManager::CPaths
{
    std::wstring sRepository;
    std::wstring sNuvex;
    std::wstring sRegistry;
    std::wstring sLog;
    std::wstring sResult;
};

CCollectInfoManager::CCollectInfoManager() : m_Progress(L"CCollectInfoManager", Range, L"Collecting PC information...")
{
}

HRESULT CCollectInfoManager::CollectPcInformation(bool bSilent, const CConfigFile& rConfig,
                                                  const std::wstring& sProgramPath, const std::wstring& sLogDirPath,
                                                  const std::wstring& sResultDirPath)
{
    CFunctionLog log;
    const HRESULT hr = log.Run([&] {
        const CPaths Paths{ CleanPath(rConfig.m_sRepositoryDirPath), CleanPath(rConfig.m_sNuvexDirPath),
                            CleanPath(rConfig.m_sRegistryPath), sLogDirPath, CleanPath(sResultDirPath) };
        const bool bSxS = rConfig.IsSxS();
        log.Note(L"Repository: %s", Paths.sRepository);
        log.Note(L"Nuvex     : %s", Paths.sNuvex);
        log.Note(L"Registry  : %s", Paths.sRegistry);
        log.Note(L"SxS       : %s", bSxS ? L"true" : L"false");
        for (const CStage& rStage : MakeStages(Paths, bSilent, bSxS))
            RunStage(log, sProgramPath, rStage);
    });
    m_Progress.Update(Range, L"Collection Completed");
    return hr;
}

void CCollectInfoManager::RunStage(const CFunctionLog& log, const std::wstring& sProgramPath,
                                   const CStage& rStage) const
{
    m_Progress.Update(rStage.nPosition, rStage.pText);
    DWORD dwExitCode = 1;
    const HRESULT hr = COpdExecFile::Execute(sProgramPath, rStage.sCommand, &dwExitCode);
    log.Note(L"[Command] %s [0x%08X]", rStage.sCommand, dwExitCode);
    Tolerate(log, hr, L"COpdExecFile::Execute( %s ) failed. [0x%08X]", rStage.sCommand);
    if (dwExitCode != 0)
        log.Warning(L"COpdExecFile::Execute( %s ) failed. [ExitCode:%u]", rStage.sCommand, dwExitCode);
}

std::vector<CCollectInfoManager::CStage> CCollectInfoManager::MakeStages(const CPaths& rPaths, bool bSilent, bool bSxS)
{
    const auto Out = [&](const wchar_t* pFolder) { return Quoted(L" -l", CleanPath(JoinPath(rPaths.sLog, pFolder))); };
    const std::wstring sRepositorySwitch = Quoted(L" -path:repository", rPaths.sRepository);
    const std::wstring sNuvexSwitch = Quoted(L" -path:nuvex", rPaths.sNuvex);
    const std::wstring sRegistrySwitch = Quoted(L" -path:registry", rPaths.sRegistry);
    const std::wstring sResult = Quoted(L" -path:result", rPaths.sResult);

    // Every blank counts: the lines stand in the log as they are.
    // clang-format off
    std::vector<CStage> Stages{
        { 5, L"Collecting Velmora information...", L"-s -collect:velmora" + Out(L"Velmora") + sRepositorySwitch + sNuvexSwitch + sRegistrySwitch + sResult },
        { 10, L"Collecting System information...", std::wstring(bSilent ? L"-s " : L"") + L" -collect:system" + Out(L"System") + sResult },
        { 20, L"Collecting Registry information...", L"-s -collect:registry" + Out(L"Registry") + sResult },
        { 30, L"Collecting Programs information...", L"-s -collect:application" + Out(L"Application") + sResult },
        { 40, L"Collecting Installer information...", L"-s -collect:installer" + Out(L"Installer") + sResult },
        { 50, L"Collecting Hardware information...", L"-s -collect:hardware" + Out(L"Hardware") + sResult },
        { 55, L"Collecting Driver information...", L"-s -collect:driver" + Out(L"Driver") + sResult },
    };
    // clang-format on
    if (!bSxS)
        Stages.push_back({ 60, L"Creating Backup Image...", L"-s -create:backup" + Out(L"BackupImage") + sResult });
    Stages.push_back(
        { 70, L"Collecting procfiles...",
          L"-s -collect:license" + Out(L"BackupImage") + sRepositorySwitch + sResult + (bSxS ? L" -x" : L"") });
    Stages.push_back({ 80, L"Collecting unique information about hardware...",
                       L"-s -create:hwinfo" + Out(L"BackupImage") + sResult });
    Stages.push_back({ 90, L"Collecting log files...",
                       std::wstring(L"-s ") + (bSxS ? L"-x" : L"") + L" -collect:log" + Out(L"Log") +
                           sRepositorySwitch + sNuvexSwitch + sResult });
    // The bar steps back: this child came last and shares the folder of the drivers.
    Stages.push_back({ 55, L"Collecting ASIO information...", L"-s -collect:asio" + Out(L"Driver") + sResult });
    return Stages;
}
