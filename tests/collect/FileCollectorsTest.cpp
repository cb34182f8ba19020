// The collectors of files and of listings of files.
#include <shlobj.h>

#include "collect/CollectorUtil.h"
#include "collect/CollectorUtilFakes.h"
#include "collect/DriverInfoCollector.h"
#include "collect/DrmFilesCollector.h"
#include "collect/InstallerInfoCollector.h"
#include "collect/LogCollector.h"
#include "log/ResultLog.h"
#include "platform/Handle.h"
#include "platform/Path.h"

namespace
{

// Support's own tools read both forms by their columns: every byte counts, whatever the folder holds. A folder that is
// locked, a file that has gone and a junction to a folder above cost their own lines. Files in use are the interesting
// ones; of a size 32 bits are shown.
TEST(CollectorUtil, ListsAnyFolderInItsColumns)
{
    const CTestFolder folder, out;
    folder.Write(L"a b.TVM", std::string("\0\0\2\0\1\0\4\0\3\0", 10));
    folder.Write(L"device.tvl", "0123456789");
    const CFileHandle hHeld(::CreateFileW(folder.Write(L"dir\\\x65E5.txt", "").c_str(), GENERIC_WRITE, 0, nullptr,
                                          OPEN_EXISTING, 0, nullptr));
    LARGE_INTEGER Size;
    Size.QuadPart = 0x100000005;
    ASSERT_TRUE(::SetFilePointerEx(hHeld.Get(), Size, nullptr, FILE_BEGIN) && ::SetEndOfFile(hHeld.Get()));
    folder.Write(L"lib.dll", "12345");
    for (const wchar_t* const pName : { L"gone.txt", L"locked\\hidden.txt", L"sub\\inner.txt", L"sub\\up\\never.txt" })
        folder.Write(pName, "x");
    const auto times = FakeFileTimes();
    const auto junctions = FakeJunctions();
    const CFakeVersions versions(LibraryVersion);
    const auto vanish = WrapImport<decltype(::GetFileAttributesW)>("GetFileAttributesW", [](auto original, auto pPath) {
        if (FileNamePart(pPath) == L"gone.txt")
            ::DeleteFileW(pPath);
        return original(pPath);
    });
    const auto locked = WrapImport<decltype(::FindFirstFileW)>(
        "FindFirstFileW", [](auto original, auto pPattern, auto pData) {
            if (!std::wstring_view(pPattern).ends_with(L"\\locked\\*"))
                return original(pPattern, pData);
            FailedCall(ERROR_ACCESS_DENIED);
            return INVALID_HANDLE_VALUE;
        });
    const CLogWatch watch;
    EXPECT_EQ(CCollectorUtil::OutputVlmFileList(folder.Path(), out / L"csv"), S_OK);
    folder.Write(L"gone.txt", "x");
    CResultLog report;
    EXPECT_EQ(report.Open(out / L"txt", false), S_OK);
    EXPECT_EQ(CCollectorUtil::OutputFileInfos(folder.Path(), report), S_OK);
    report.Close();
    ExpectGolden(L"collect/Listing.txt", Outcome(out.Path(), watch), folder.Path());
}

// Each list has its own folder of the system; one that is missing must not cost the next. Without the folder of the
// drivers that collection fails.
TEST(FolderListCollectors, ListTheFoldersThatAreThere)
{
    const CTestFolder folder;
    const auto shell = FakeShellFolders({ { CSIDL_WINDOWS, folder / L"win" },
                                          { CSIDL_PROGRAM_FILESX86, folder / L"x86" },
                                          { CSIDL_SYSTEM, folder / L"sys" } });
    const auto times = FakeFileTimes();
    const CLogWatch watch;
    EXPECT_EQ(CDriverInfoCollector().Collect(folder / L"out"), E_FAIL);
    for (const wchar_t* const pFile :
         { L"win\\Installer\\{x}\\w.msi", L"x86\\InstallShield Installation Information\\s.exe",
           L"sys\\drivers\\etc\\d.sys" })
        folder.Write(pFile, "");
    EXPECT_EQ(CInstallerInfoCollector().Collect(folder / L"out"), S_OK);
    EXPECT_EQ(CDriverInfoCollector().Collect(folder / L"out"), S_OK);
    ExpectGolden(L"collect/FolderLists.txt", Outcome(folder / L"out", watch), folder.Path());
}

// Old installations must land in the folder of their number; a second run brings what has changed; a junction to a
// folder above would be copied without end.
TEST(DrmFilesCollector, CopiesFilesAndFoldersOfEachRoot)
{
    const CTestFolder folder;
    const auto shell = FakeShellFolders(
        { { CSIDL_WINDOWS, folder / L"windows" }, { CSIDL_COMMON_APPDATA, folder / L"common" } });
    const auto junctions = FakeJunctions();
    const CLogWatch watch;
    std::string sLeft;
    for (const std::string sRun : { "first ", "second " })
    {
        MakeFiles(folder, L"collect/Drm.files", sRun);
        EXPECT_EQ(CDrmFilesCollector().Collect(folder / L"repository", folder / L"out", true), S_OK);
        sLeft += FilesBelow(folder / L"out");
    }
    ExpectGolden(L"collect/Drm.txt", sLeft, folder.Path());
    EXPECT_THAT(watch.Records(), ::testing::Contains(::testing::HasSubstr("\\checkout\" ) failed.[0x80070781]")));
}

// A file of one name in two places must not be lost; folders and foreign files stay where they are. The installer's
// logs are not those of a side-by-side product.
TEST(LogCollector, CopiesTheLogsOfEveryPlace)
{
    const CTestFolder folder;
    const auto shell = FakeShellFolders(
        { { CSIDL_COMMON_APPDATA, folder / L"common" }, { CSIDL_DESKTOP, folder / L"desktop" } });
    const auto temp = FakeImport<decltype(::GetTempPathW)>("GetTempPathW", [&](auto, auto pPath) {
        ::lstrcpyW(pPath, (folder / L"temp\\").c_str());
        return static_cast<DWORD>(::lstrlenW(pPath));
    });
    MakeFiles(folder, L"collect/Logs.files");
    folder.Write(L"out\\x.log", "of the run before");
    const CLogWatch watch;
    std::string sLeft;
    for (const bool bSxS : { true, false })
    {
        EXPECT_EQ(CLogCollector().Collect(folder / L"repository", folder / L"nuvex", bSxS, folder / L"out"), S_OK);
        sLeft += FilesBelow(folder / L"out");
    }
    ExpectGolden(L"collect/Logs.txt", sLeft + Joined(watch.Records()), folder.Path());
}

} // namespace
