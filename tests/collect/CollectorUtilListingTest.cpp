// The listings of folders.
#include "collect/CollectorUtil.h"

#include <gmock/gmock.h>

#include <algorithm>

#include "collect/CollectorUtilFakes.h"
#include "log/ResultLog.h"
#include "platform/Path.h"
#include "support/LogWatch.h"
#include "support/TestFolder.h"

using ::testing::EndsWith;
using ::testing::HasSubstr;

namespace
{

FILETIME FileTimeOf(const SYSTEMTIME& rLocal)
{
    FILETIME Local, Time;
    ::SystemTimeToFileTime(&rLocal, &Local);
    ::LocalFileTimeToFileTime(&Local, &Time);
    return Time;
}

bool g_bNonsenseTimes;
BOOL WINAPI FixedTimes(HANDLE, LPFILETIME pCreation, LPFILETIME pAccess, LPFILETIME pWrite)
{
    *pCreation = FileTimeOf({ 2013, 1, 0, 2, 3, 4, 5, 0 });
    *pAccess = g_bNonsenseTimes ? FILETIME{ 0xFFFFFFFF, 0xFFFFFFFF } : FileTimeOf({ 2013, 12, 0, 31, 23, 59, 58, 0 });
    *pWrite = g_bNonsenseTimes ? *pAccess : FileTimeOf({ 2014, 7, 0, 8, 9, 10, 11, 0 });
    return TRUE;
}

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

class CollectorUtilListing : public ::testing::Test
{
protected:
    CollectorUtilListing()
    {
        ::SetThreadLocale(MAKELCID(MAKELANGID(LANG_ENGLISH, SUBLANG_ENGLISH_US), SORT_DEFAULT)); // code page 1252
        g_pAttributes = &m_Attributes;
        g_pFind = &m_Find;
        g_bNonsenseTimes = false;
    }
    ~CollectorUtilListing() override { ::SetThreadLocale(m_dwLocale); }

    std::string Text(const std::wstring& sDirPath, HRESULT hrExpected = S_OK)
    {
        CResultLog report;
        EXPECT_EQ(report.Open(m_Out / L"r.txt", false), S_OK);
        EXPECT_EQ(CCollectorUtil::OutputFileInfos(sDirPath, report), hrExpected);
        report.Close();
        return ReadBytes(m_Out / L"r.txt");
    }
    std::string Csv(const std::wstring& sDirPath, HRESULT hrExpected = S_OK)
    {
        ::DeleteFileW((m_Out / L"r.csv").c_str());
        EXPECT_EQ(CCollectorUtil::OutputVlmFileList(sDirPath, m_Out / L"r.csv"), hrExpected);
        return FileExists(m_Out / L"r.csv") ? ReadBytes(m_Out / L"r.csv") : "(no file)";
    }

    const CTestFolder m_Folder, m_Out;
    CFakeVersions m_Versions;

private:
    const LCID m_dwLocale = ::GetThreadLocale();
    const CImportPatch<decltype(FixedTimes)> m_Times{ "GetFileTime", FixedTimes };
    const CImportPatch<decltype(::GetFileAttributesW)> m_Attributes{ "GetFileAttributesW", VanishingFile };
    const CImportPatch<decltype(::FindFirstFileW)> m_Find{ "FindFirstFileW", LockedFolder };
    const CImportPatch<decltype(::GetFileInformationByHandle)> m_Identity{ "GetFileInformationByHandle", JunctionUpwards };
};

// Support's own tools read both forms by their columns: every byte counts, whatever the folder holds.
TEST_F(CollectorUtilListing, HasItsColumnsForAnyFolder)
{
    m_Folder.Write(L"a b.TVM", std::string("\0\0\2\0\1\0\4\0\3\0", 10));
    m_Folder.Write(L"device.tvl", "0123456789");
    m_Folder.Write(L"dir\\\x65E5.txt", "");
    m_Folder.Write(L"gone.txt", "x");
    m_Folder.Write(L"lib.dll", "12345");
    m_Folder.Write(L"locked\\hidden.txt", "x");
    m_Folder.Write(L"sub\\inner.txt", "x");
    m_Folder.Write(L"sub\\up\\never.txt", "x");
    const CTranslationStrings strings{ 0x0411, { { L"FileVersion", L"1, 2, 3, 4" }, { L"Comments", L"a \"b\", c" }, { L"OriginalFilename", L"L" } } };
    m_Versions.Files[L"lib.dll"] = VersionBlock(0, 0, { strings });
    const CLogWatch watch;
    ExpectGolden(Csv(m_Folder.Path()), L"Listing.csv", m_Folder.Path());
    ExpectGolden(watch.Records(), L"Listing.log", m_Folder.Path());
    m_Folder.Write(L"gone.txt", "x");
    ExpectGolden(Text(m_Folder.Path()), L"Listing.txt", m_Folder.Path());
}

// No file, no CSV; a folder that is missing is an empty one, and one without a name must never become the current one.
TEST_F(CollectorUtilListing, NeedsAFolderWithFiles)
{
    m_Folder.Write(L"locked\\x", "");
    const std::wstring sMissing = m_Folder / L"missing";
    const std::wstring sLocked = m_Folder / L"locked";
    EXPECT_EQ(Csv(sMissing), "(no file)");
    ExpectGolden(Text(sMissing), L"ListingMissing.txt", sMissing);
    ExpectGolden(Text(sLocked, E_ACCESSDENIED), L"ListingLocked.txt", sLocked);
    EXPECT_EQ(Csv(L"", E_INVALIDARG), "(no file)");
    EXPECT_EQ(Text(L"", E_INVALIDARG), "");
    ::DeleteFileW((sLocked + L"\\x").c_str());
    EXPECT_EQ(Csv(m_Folder.Path()), "(no file)");
}

// The listing ends where its file cannot be made, instead of trying again for each file of the tree.
TEST_F(CollectorUtilListing, EndsWithoutItsFile)
{
    for (const wchar_t* pName : { L"a\\1", L"a\\2", L"b\\3" })
        m_Folder.Write(pName, "");
    const std::wstring sCsv = m_Folder / L"no\\r.csv";
    const CLogWatch watch;
    EXPECT_EQ(CCollectorUtil::OutputVlmFileList(m_Folder.Path(), sCsv), static_cast<HRESULT>(0x80070003));
    ExpectGolden(watch.Records(), L"ListingWithoutFile.log", m_Folder.Path());
}

// Times that mean no date lose the row's times, not the row.
TEST_F(CollectorUtilListing, StandsNonsenseTimes)
{
    g_bNonsenseTimes = true;
    m_Folder.Write(L"f", "1");
    EXPECT_THAT(Text(m_Folder.Path()), EndsWith("  \"f\", size: 1, time: \"1601/01/01,00:00:00\", ver: \"\", attr: 0x00000020\r\n"));
    EXPECT_THAT(Csv(m_Folder.Path()), HasSubstr("\",\"\",\"\",\"\",\"1\",\"\",\"0x00000020\",\""));
}

// A folder of any number of files, without the files.
int g_nFiles, g_nNext, g_nOpened;
void NextName(LPWIN32_FIND_DATAW pData)
{
    ::wsprintfW(pData->cFileName, L"file %05d.txt", g_nNext++);
}
HANDLE WINAPI FirstOfMany(LPCWSTR, LPWIN32_FIND_DATAW pData)
{
    g_nNext = 0;
    NextName(pData);
    return reinterpret_cast<HANDLE>(1);
}
BOOL WINAPI NextOfMany(HANDLE, LPWIN32_FIND_DATAW pData)
{
    if (g_nNext == g_nFiles)
        return FALSE;
    NextName(pData);
    return TRUE;
}
BOOL WINAPI CloseMany(HANDLE)
{
    return TRUE;
}
DWORD WINAPI PlainFile(LPCWSTR)
{
    return FILE_ATTRIBUTE_ARCHIVE;
}
const CImportPatch<decltype(::CreateFileW)>* g_pCreate;
HANDLE WINAPI AnyFile(LPCWSTR pPath, DWORD dwAccess, DWORD dwShare, LPSECURITY_ATTRIBUTES pSecurity, DWORD dwCreation, DWORD dwFlags,
                      HANDLE hTemplate)
{
    if (!std::wstring_view(pPath).ends_with(L".txt"))
        return g_pCreate->Original()(pPath, dwAccess, dwShare, pSecurity, dwCreation, dwFlags, hTemplate);
    ++g_nOpened;
    return ::GetCurrentThread(); // closing it does nothing
}
DWORD WINAPI NoSize(HANDLE, LPDWORD)
{
    return 0;
}

// A folder of 50,000 files is no rare thing: each file is looked at once, and twice as many take twice as long.
TEST_F(CollectorUtilListing, TakesTimeInProportion)
{
    const CImportPatch<decltype(FirstOfMany)> first("FindFirstFileW", FirstOfMany);
    const CImportPatch<decltype(NextOfMany)> next("FindNextFileW", NextOfMany);
    const CImportPatch<decltype(CloseMany)> close("FindClose", CloseMany);
    const CImportPatch<decltype(PlainFile)> attributes("GetFileAttributesW", PlainFile);
    const CImportPatch<decltype(NoSize)> size("GetFileSize", NoSize);
    const CImportPatch<decltype(::CreateFileW)> create("CreateFileW", AnyFile);
    g_pCreate = &create;
    const auto Measure = [&](int nFiles) {
        g_nFiles = nFiles;
        g_nOpened = m_Versions.nAsked = 0;
        const ULONGLONG ullStart = ::GetTickCount64();
        EXPECT_EQ(CCollectorUtil::OutputVlmFileList(L"C:\\many", m_Out / L"r.csv"), S_OK);
        const ULONGLONG ullTime = ::GetTickCount64() - ullStart;
        EXPECT_EQ(g_nOpened, nFiles);
        EXPECT_EQ(m_Versions.nAsked, nFiles);
        return ullTime;
    };
    Measure(2000);
    const ULONGLONG ullFew = std::min({ Measure(2000), Measure(2000), Measure(2000) });
    const ULONGLONG ullMany = std::min(Measure(20000), Measure(20000));
    EXPECT_LT(ullMany, 30 * std::max<ULONGLONG>(ullFew, 5)) << ullFew << " ms for a tenth"; // 10 in proportion, 100 squared
    const std::string sCsv = ReadBytes(m_Out / L"r.csv");
    EXPECT_EQ(std::ranges::count(sCsv, '\n'), 20001);
}

} // namespace
