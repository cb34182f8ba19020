// The listings of folders.
#include "collect/CollectorUtil.h"

#include <gtest/gtest.h>

#include "collect/CollectorUtilFakes.h"
#include "log/ResultLog.h"
#include "platform/Path.h"
#include "support/LogWatch.h"
#include "support/TestFolder.h"

namespace
{

// A file that goes away between the listing of its folder and the look at it.
const CImportPatch<decltype(::GetFileAttributesW)>* g_pAttributes;
DWORD WINAPI VanishingFile(LPCWSTR pPath)
{
    if (FileNamePart(pPath) == L"gone.txt")
        ::DeleteFileW(pPath);
    return g_pAttributes->Original()(pPath);
}

const CImportPatch<decltype(::FindFirstFileW)>* g_pFind;
HANDLE WINAPI LockedFolder(LPCWSTR pPattern, LPWIN32_FIND_DATAW pData)
{
    if (std::wstring_view(pPattern).ends_with(L"\\locked\\*"))
    {
        ::SetLastError(ERROR_ACCESS_DENIED);
        return INVALID_HANDLE_VALUE;
    }
    return g_pFind->Original()(pPattern, pData);
}

// The folder "up" is, by its identity, the one that holds "sub".
BOOL WINAPI JunctionUpwards(HANDLE hFile, LPBY_HANDLE_FILE_INFORMATION pInfo)
{
    wchar_t aPath[MAX_PATH] = L"";
    ::GetFinalPathNameByHandleW(hFile, aPath, MAX_PATH, 0);
    std::wstring sPath = aPath;
    if (sPath.ends_with(L"\\sub\\up"))
        sPath.resize(sPath.size() - 7);
    *pInfo = {};
    pInfo->nFileIndexLow = static_cast<DWORD>(std::hash<std::wstring>()(sPath));
    return TRUE;
}

// Support's own tools read both forms by their columns: every byte counts, whatever the folder holds.
TEST(CollectorUtilListing, HasItsColumnsForAnyFolder)
{
    const LCID dwLocale = ::GetThreadLocale();
    ::SetThreadLocale(MAKELCID(MAKELANGID(LANG_ENGLISH, SUBLANG_ENGLISH_US), SORT_DEFAULT)); // code page 1252
    const CTestFolder folder, out;
    const CFakeFileTimes times;
    const CImportPatch<decltype(::GetFileAttributesW)> attributes("GetFileAttributesW", VanishingFile);
    const CImportPatch<decltype(::FindFirstFileW)> find("FindFirstFileW", LockedFolder);
    const CImportPatch<decltype(::GetFileInformationByHandle)> identity("GetFileInformationByHandle", JunctionUpwards);
    g_pAttributes = &attributes;
    g_pFind = &find;
    folder.Write(L"a b.TVM", std::string("\0\0\2\0\1\0\4\0\3\0", 10));
    folder.Write(L"device.tvl", "0123456789");
    folder.Write(L"dir\\\x65E5.txt", "");
    folder.Write(L"lib.dll", "12345");
    for (const wchar_t* const pName : { L"gone.txt", L"locked\\hidden.txt", L"sub\\inner.txt", L"sub\\up\\never.txt" })
        folder.Write(pName, "x");
    CFakeVersions versions;
    const CTranslationStrings first{
        0x0411, { { L"FileVersion", L"1, 2, 3, 4" }, { L"Comments", L"a \"b\", c" }, { L"OriginalFilename", L"L" } }
    };
    versions.Files[L"lib.dll"] = VersionBlock(
        { first, { 0x0409, { { L"FileVersion", L"9" }, { L"CompanyName", L"of the second translation" } } } });
    const CLogWatch watch;
    EXPECT_EQ(CCollectorUtil::OutputVlmFileList(folder.Path(), out / L"r.csv"), S_OK);
    ExpectGolden(ReadBytes(out / L"r.csv"), L"Listing.csv", folder.Path());
    ExpectGolden(watch.Records(), L"Listing.log", folder.Path());

    folder.Write(L"gone.txt", "x");
    CResultLog report;
    EXPECT_EQ(report.Open(out / L"r.txt", false), S_OK);
    EXPECT_EQ(CCollectorUtil::OutputFileInfos(folder.Path(), report), S_OK);
    report.Close();
    ExpectGolden(ReadBytes(out / L"r.txt"), L"Listing.txt", folder.Path());
    ::SetThreadLocale(dwLocale);
}

} // namespace
