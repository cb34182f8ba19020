#include "collect/InstallerInfoCollector.h"

#include <shlobj.h>

#include "collect/CollectorFolders.h"
#include "collect/CollectorUtil.h"
#include "collect/StepResult.h"
#include "log/FunctionLog.h"
#include "platform/Path.h"

namespace
{

// A PC without such a folder has no such programs: no file and no failure. The listing's own result is in the log.
void ListInstallShield(const std::wstring& sRootPath, const std::wstring& sCsvPath)
{
    const std::wstring sDirPath = JoinPath(sRootPath, L"InstallShield Installation Information");
    if (FolderExists(sDirPath))
        CCollectorUtil::OutputVlmFileList(sDirPath, sCsvPath);
}

} // namespace

HRESULT CInstallerInfoCollector::Collect(const std::wstring& sOutDirPath)
{
    constexpr struct
    {
        const wchar_t* pFile;
        HRESULT (*pOutput)(const std::wstring& sCsvPath);
        const wchar_t* pName;
    } Steps[] = {
        { L"WindowsInstaller.csv", OutputWindowsInstallerFileList, L"OutputWindowsInstallerFileList" },
        { L"InstallShield.csv", OutputInstallShieldFileList, L"OutputInstallShieldFileList" },
        { L"InstallShield(x86).csv", OutputInstallShieldx86FileList, L"OutputInstallShieldx86FileList" },
    };
    CFunctionLog log;
    return log.Run([&] {
        CreateOutputFolder(log, sOutDirPath);
        for (const auto& rStep : Steps)
        {
            const std::wstring sCsvPath = JoinPath(sOutDirPath, rStep.pFile);
            Tolerate(log, rStep.pOutput(sCsvPath), L"%s( \"%s\" ) failed.[0x%08X]", rStep.pName, sCsvPath);
        }
    });
}

HRESULT CInstallerInfoCollector::OutputWindowsInstallerFileList(const std::wstring& sCsvPath)
{
    CFunctionLog log;
    return log.Run([&] {
        const std::wstring sDirPath = JoinPath(RequireShellFolder(log, CSIDL_WINDOWS, L"CSIDL_WINDOWS"), L"Installer");
        // Every Windows has this one.
        if (!FolderExists(sDirPath))
            log.Throw(E_FAIL, L"A directory is not found. [%s]", sDirPath);
        CCollectorUtil::OutputVlmFileList(sDirPath, sCsvPath);
    });
}

HRESULT CInstallerInfoCollector::OutputInstallShieldFileList(const std::wstring& sCsvPath)
{
    CFunctionLog log;
    return log.Run(
        [&] { ListInstallShield(RequireShellFolder(log, CSIDL_PROGRAM_FILES, L"CSIDL_PROGRAM_FILES"), sCsvPath); });
}

HRESULT CInstallerInfoCollector::OutputInstallShieldx86FileList(const std::wstring& sCsvPath)
{
    CFunctionLog log;
    return log.Run([&] {
        ListInstallShield(RequireShellFolder(log, CSIDL_PROGRAM_FILESX86, L"CSIDL_PROGRAM_FILESX86"), sCsvPath);
    });
}
