#include "collect/LogCollector.h"

#include <shlobj.h>

#include <vector>

#include "collect/CollectorFolders.h"
#include "collect/StepResult.h"
#include "opdutility/OpdFileHelper.h"
#include "platform/HResult.h"
#include "platform/Path.h"

namespace
{

constexpr const wchar_t* RepositoryPatterns[] = { L"vlmlog.txt", L"vlmlog.bak" };
constexpr const wchar_t* NuvexPatterns[] = { L"*.log", L"*.bak" };
constexpr const wchar_t* AppDataPatterns[] = { L"*.log", L"*.bak", L"*.txt", L"*.mdmp" };
constexpr const wchar_t* InstallerPatterns[] = { L"*.log", L"*.bak", L"*.txt" };
constexpr const wchar_t* DesktopPatterns[] = { L"vlm-emergency-log.txt" };

// Tells the files of the common data folder from those of the same name elsewhere.
constexpr const wchar_t* AppDataPrefix = L"appdata-";

std::wstring CommonDataDirPath(const CFunctionLog& log)
{
    return JoinPath(
        JoinPath(RequireShellFolder(log, CSIDL_COMMON_APPDATA, L"CSIDL_COMMON_APPDATA"), L"Tolvane Corporation"),
        L"Velmora");
}

// The log of an installation that has not ended yet, or was broken off.
void CopyTemporaryLog(const CFunctionLog& log, const std::wstring& sInstallerDirPath)
{
    wchar_t aTemp[MAX_PATH] = L"";
    const DWORD nTemp = ::GetTempPathW(MAX_PATH, aTemp);
    if (nTemp == 0 || nTemp >= MAX_PATH)
    {
        log.Warning(L"::GetTempPath() failed. [0x%08X]",
                    nTemp == 0 ? LastErrorResult() : HResultFromWin32(ERROR_INSUFFICIENT_BUFFER));
        return;
    }
    const std::wstring sSource = JoinPath(aTemp, L"VlmInstall\\vlminstlog.txt");
    const std::wstring sTarget = JoinPath(sInstallerDirPath, L"vlminstlog.txt");
    if (!PathExists(sSource) || ::CopyFileW(sSource.c_str(), sTarget.c_str(), FALSE))
        return;
    const HRESULT hr = LastErrorResult();
    log.Warning(L"::CopyFile( %s, %s ) failed. [0x%08X]", sSource, sTarget, hr);
}

} // namespace

CLogCollector::CLogCollector() : m_Progress(L"CLogCollector", 30, L"collect log...") {}

HRESULT CLogCollector::Collect(const std::wstring& sRepositoryDirPath, const std::wstring& sNuvexDirPath, bool bSxS,
                               const std::wstring& sOutDirPath)
{
    CFunctionLog log;
    return log.Run([&] {
        CreateOutputFolder(log, sOutDirPath);

        m_Progress.Update(10, L"Collecting Velmora Log...");
        Tolerate(log, CollectLogFileFromRepository(sRepositoryDirPath, sOutDirPath),
                 L"CLogCollector::CollectLogFileFromRepository( \"%s\", \"%s\" ) failed. [0x%08X]", sRepositoryDirPath,
                 sOutDirPath);
        m_Progress.Update(20, L"Collecting Nuvex Log...");
        Tolerate(log, CollectLogFileFromNuvex(sNuvexDirPath, sOutDirPath),
                 L"CLogCollector::CollectLogFileFromNuvex( \"%s\", \"%s\" ) failed. [0x%08X]", sNuvexDirPath,
                 sOutDirPath);
        m_Progress.Update(30, L"Collecting COMMON_APPDATA Log...");
        Tolerate(log, CollectLogFileFromAppData(sOutDirPath),
                 L"CLogCollector::CollectLogFileFromAppData( \"%s\" ) failed.[0x%08X]", sOutDirPath);

        if (!bSxS)
        {
            const std::wstring sInstallerDirPath = EntryPath(sOutDirPath, L"installer");
            if (!PathExists(sInstallerDirPath))
                CreateOutputFolder(log, sInstallerDirPath,
                                   L"COpdDirectoryHelper::CreateDirectoryEx( \"%s\" ) failed.[0x%08X]");
            Tolerate(log, CollectInstallerLog(sInstallerDirPath),
                     L"CLogCollector::CollectInstallerLog( \"%s\" ) failed.[0x%08X]", sInstallerDirPath);
        }
        Tolerate(log, CollectLogFileFromDesktop(sOutDirPath),
                 L"CLogCollector::CollectLogFileFromDesktop( \"%s\" ) failed.[0x%08X]", sOutDirPath);
    });
}

HRESULT CLogCollector::CopyFiles(const std::wstring& sTargetDirPath, const std::wstring& sSourceDirPath,
                                 std::span<const wchar_t* const> Patterns, const std::wstring& sPrefix)
{
    CFunctionLog log;
    return log.Run([&] {
        // Joined with a pattern an empty path would mean the current folder.
        if (sSourceDirPath.empty())
            log.Fail(E_INVALIDARG, L"sSourceDirPath == empty");
        for (const wchar_t* const pPattern : Patterns)
        {
            const std::wstring sSearch = JoinPath(sSourceDirPath, pPattern);
            std::vector<std::wstring> Names;
            log.Check(COpdFileHelper::EnumFiles(sSearch, Names), L"COpdFileHelper::EnumFiles( \"%s\" ) failed.[0x%08X]",
                      sSearch);
            for (const std::wstring& sName : Names)
            {
                const std::wstring sSource = EntryPath(sSourceDirPath, sName);
                const std::wstring sTarget = EntryPath(sTargetDirPath, sPrefix + sName);
                // All bits are set for a file that has vanished since.
                const DWORD dwAttributes = ::GetFileAttributesW(sSource.c_str());
                if ((dwAttributes & FILE_ATTRIBUTE_DIRECTORY) != 0 ||
                    ::CopyFileW(sSource.c_str(), sTarget.c_str(), FALSE))
                    continue;
                const HRESULT hr = LastErrorResult();
                log.Warning(L"CopyFile( \"%s\", \"%s\" ) failed.[0x%08X]", sSource, sTarget, hr);
            }
        }
    });
}

HRESULT CLogCollector::CollectLogFileFromRepository(const std::wstring& sRepositoryDirPath,
                                                    const std::wstring& sOutDirPath)
{
    CFunctionLog log;
    return log.Run([&] { return CopyFiles(sOutDirPath, sRepositoryDirPath, RepositoryPatterns, L""); });
}

HRESULT CLogCollector::CollectLogFileFromNuvex(const std::wstring& sNuvexDirPath, const std::wstring& sOutDirPath)
{
    CFunctionLog log;
    return log.Run([&] { return CopyFiles(sOutDirPath, sNuvexDirPath, NuvexPatterns, L""); });
}

HRESULT CLogCollector::CollectLogFileFromAppData(const std::wstring& sOutDirPath)
{
    CFunctionLog log;
    return log.Run([&] { return CopyFiles(sOutDirPath, CommonDataDirPath(log), AppDataPatterns, AppDataPrefix); });
}

HRESULT CLogCollector::CollectInstallerLog(const std::wstring& sInstallerDirPath)
{
    CFunctionLog log;
    return log.Run([&] {
        CopyTemporaryLog(log, sInstallerDirPath);
        const std::wstring sSourceDirPath = JoinPath(CommonDataDirPath(log), L"installer");
        log.Check(CopyFiles(sInstallerDirPath, sSourceDirPath, InstallerPatterns, AppDataPrefix),
                  L"CopyFiles() failed.[0x%08X]");
    });
}

HRESULT CLogCollector::CollectLogFileFromDesktop(const std::wstring& sOutDirPath)
{
    CFunctionLog log;
    return log.Run([&] {
        return CopyFiles(sOutDirPath, RequireShellFolder(log, CSIDL_DESKTOP, L"CSIDL_DESKTOP"), DesktopPatterns, L"");
    });
}
