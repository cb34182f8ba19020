#include "collect/DrmFilesCollector.h"

#include <shellapi.h>
#include <shlobj.h>

#include <algorithm>
#include <deque>

#include "collect/CollectorFolders.h"
#include "collect/FolderWalk.h"
#include "collect/StepResult.h"
#include "opdutility/OpdFileHelper.h"
#include "platform/HResult.h"
#include "platform/Path.h"

namespace
{

// The shell matches the patterns; an item may be a file or a folder.
constexpr const wchar_t* Items[] = { L"vlmkey",     L"procfile", L"restorable", L"tarnlist*.dat",
                                     L"orvel*.dat", L"brenn",    L"checkout" };

// Where an upgrade leaves the product's folder, below the Windows folder's name with ".old" behind it. The suffix is a
// backslash and a digit.
constexpr struct
{
    const wchar_t* pPath;
    const wchar_t* pSuffix;
} OldRoots[] = {
    { L"\\Program Files\\Common Files\\Tolvane Shared\\Velmora", L"\\0" },
    { L"\\Program Files (x86)\\Common Files\\Tolvane Shared\\Velmora", L"\\1" },
    { L"\\ProgramData\\Tolvane Corporation\\Velmora\\Windows.old\\Program Files", L"\\2" },
    { L"\\ProgramData\\Tolvane Corporation\\Velmora\\Windows.old\\Program Files (x86)", L"\\3" },
    { L"\\Documents and Settings\\All Users\\Tolvane Corporation\\Velmora\\Windows.old\\Program Files", L"\\4" },
    { L"\\Documents and Settings\\All Users\\Tolvane Corporation\\Velmora\\Windows.old\\Program Files (x86)", L"\\5" },
};

// The shell reads the record without padding.
static_assert(sizeof(SHFILEOPSTRUCTW) == 30);

// A list of one path for the shell: each text ends in a NUL, and so does the list. c_str() gives the second one.
std::wstring PathList(const std::wstring& sPath)
{
    return sPath + L'\0';
}

// The path with the separators that the shell wants, and by which the folders above it are found.
std::wstring ShellPath(std::wstring sPath)
{
    std::ranges::replace(sPath, L'/', L'\\');
    return sPath;
}

// True when a junction below the folder leads to a folder that is open above it.
bool LeadsUpwards(CFolderTrail& rTrail, const std::wstring& sDirPath)
{
    const CFolderTrail::CVisit visit(rTrail, sDirPath);
    CFolderContents contents;
    if (!visit.Entered())
        return true;
    return SUCCEEDED(ReadFolder(sDirPath, contents)) &&
           std::ranges::any_of(contents.Folders,
                               [&](const CFileEntry& rFolder) { return LeadsUpwards(rTrail, rFolder.sPath); });
}

// The shell would copy what leads upwards into itself again and again, until no path is left or the disk is full.
bool IsEndless(const std::wstring& sSource)
{
    CFolderTrail trail;
    const std::wstring sParent = DirectoryPart(sSource);
    // What leads to a folder above is found at once, without walking that down to here.
    std::deque<CFolderTrail::CVisit> Above;
    std::wstring sDirPath = sSource;
    while (DirectoryPart(sDirPath) != sDirPath)
    {
        sDirPath = DirectoryPart(sDirPath);
        Above.emplace_back(trail, sDirPath);
    }
    std::vector<std::wstring> Names;
    COpdFileHelper::EnumFiles(sSource, Names);
    return std::ranges::any_of(Names, [&](const std::wstring& sName) {
        const std::wstring sPath = EntryPath(sParent, sName);
        return FolderExists(sPath) && LeadsUpwards(trail, sPath);
    });
}

HRESULT copyFileOrDirectory(const std::wstring& sSource, const std::wstring& sTarget)
{
    CFunctionLog log;
    return log.Run([&]() -> HRESULT {
        const std::wstring sShellSource = ShellPath(sSource);
        if (IsEndless(sShellSource))
            return HResultFromWin32(ERROR_CANT_RESOLVE_FILENAME);
        const std::wstring sFrom = PathList(sShellSource);
        const std::wstring sTo = PathList(ShellPath(sTarget));
        SHFILEOPSTRUCTW Operation{};
        Operation.wFunc = FO_COPY;
        Operation.pFrom = sFrom.c_str();
        Operation.pTo = sTo.c_str();
        Operation.fFlags = FOF_SILENT | FOF_NOCONFIRMATION | FOF_NOCONFIRMMKDIR | FOF_NOERRORUI;
        const int nError = ::SHFileOperationW(&Operation);
        if (Operation.fAnyOperationsAborted)
            return HResultFromWin32(ERROR_OPERATION_ABORTED);
        return nError != 0 ? HResultFromWin32(static_cast<DWORD>(nError)) : S_OK;
    });
}

} // namespace

CDrmFilesCollector::CDrmFilesCollector() : m_Progress(L"procfile collector", 30, L"collect procfiles...") {}

HRESULT CDrmFilesCollector::Collect(const std::wstring& sRepositoryDirPath, const std::wstring& sOutDirPath, bool bSxS)
{
    CFunctionLog log;
    return log.Run([&] {
        m_Progress.Update(10, L"Collecting procfiles...");
        // Joined with an item an empty path would mean the root of the drive.
        if (sRepositoryDirPath.empty())
            log.Fail(E_INVALIDARG, L"sRepositoryDirPath == empty");
        for (const CCopyJob& rJob : MakeJobs(log, sRepositoryDirPath, bSxS))
            RunJob(log, rJob, sOutDirPath);
    });
}

std::vector<CDrmFilesCollector::CCopyJob> CDrmFilesCollector::MakeJobs(const CFunctionLog& log,
                                                                       const std::wstring& sRepositoryDirPath,
                                                                       bool bSxS)
{
    std::vector<CCopyJob> Jobs{ { sRepositoryDirPath, L"" } };
    AddOldRoots(Jobs);
    if (bSxS)
    {
        const std::wstring sCommon = RequireShellFolder(log, CSIDL_COMMON_APPDATA, L"CSIDL_COMMON_APPDATA");
        Jobs.push_back({ JoinPath(JoinPath(sCommon, L"Tolvane Corporation"), L"Velmora_Sound Atrium"), L"\\common" });
    }
    return Jobs;
}

void CDrmFilesCollector::AddOldRoots(std::vector<CCopyJob>& rJobs)
{
    std::wstring sWindows;
    if (GetShellFolder(CSIDL_WINDOWS, sWindows) != S_OK)
        return;
    for (const auto& rRoot : OldRoots)
    {
        const std::wstring sPath = sWindows + L".old" + rRoot.pPath;
        if (FolderExists(sPath))
            rJobs.push_back({ sPath, rRoot.pSuffix });
    }
}

void CDrmFilesCollector::RunJob(const CFunctionLog& log, const CCopyJob& rJob, const std::wstring& sOutDirPath)
{
    const std::wstring sTarget = sOutDirPath + rJob.sSuffix;
    CreateOutputFolder(log, sTarget);
    for (const wchar_t* const pItem : Items)
    {
        const std::wstring sSource = EntryPath(rJob.sSourceDirPath, pItem);
        Tolerate(log, copyFileOrDirectory(sSource, sTarget), L"copyFileOrDirectory( \"%s\" ) failed.[0x%08X]", sSource);
    }
}
