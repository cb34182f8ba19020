#include "collect/DrmFilesCollector.h"

#include <gmock/gmock.h>

#include "collect/FakeProduct.h"
#include "support/LogWatch.h"
#include "support/TestFolder.h"

namespace
{

using ::testing::ElementsAre;

const std::wstring Old1 = L"windows.old\\Program Files (x86)\\Common Files\\Tolvane Shared\\Velmora\\";
const std::wstring Old4 = L"windows.old\\Documents and Settings\\All Users\\Tolvane Corporation\\Velmora\\Windows.old\\Program Files\\";

std::vector<std::wstring> g_Calls;
int g_nAnswer;
bool g_bAborted;

// A list with its ends, the one of the list included.
std::wstring List(const wchar_t* pList)
{
    std::wstring sList;
    for (; *pList != L'\0'; pList += std::wcslen(pList) + 1)
        sList += std::wstring(pList) + L'|';
    return sList;
}

int WINAPI FakeFileOperation(LPSHFILEOPSTRUCTW pOperation)
{
    EXPECT_EQ(pOperation->wFunc, static_cast<UINT>(FO_COPY));
    EXPECT_EQ(pOperation->fFlags, 0x614);
    g_Calls.push_back(List(pOperation->pFrom) + List(pOperation->pTo));
    pOperation->fAnyOperationsAborted = g_bAborted;
    return g_nAnswer;
}

std::string Record(const std::string& sSource, const char* pCode)
{
    return "[CDrmFilesCollector::Collect] copyFileOrDirectory( \"" + sSource + "\" ) failed.[" + pCode + "]";
}

// Every folder is the same one: what a junction that points upwards looks like.
BOOL WINAPI SameFolder(HANDLE, LPBY_HANDLE_FILE_INFORMATION pInfo)
{
    *pInfo = {};
    pInfo->nFileIndexLow = 1;
    return TRUE;
}

// Old installations must land in the folder of their number; a second run brings what has changed.
TEST(DrmFilesCollector, CopiesFilesAndFoldersOfEachRoot)
{
    const CTestFolder folder;
    const CFakeShellFolders shell({ { CSIDL_WINDOWS, folder / L"windows" }, { CSIDL_COMMON_APPDATA, folder / L"common" } });
    const std::pair<std::wstring, std::wstring> aFiles[] = {
        { L"repository\\vlmkey", L"vlmkey" },
        { L"repository\\tarnlist0.dat", L"tarnlist0.dat" },
        { L"repository\\tarnlist1.dat", L"tarnlist1.dat" },
        { L"repository\\brenn\\deep\\file", L"brenn\\deep\\file" },
        { Old1 + L"procfile", L"1\\procfile" },
        { Old4 + L"orvel7.dat", L"4\\orvel7.dat" },
        { L"common\\Tolvane Corporation\\Velmora_Sound Atrium\\checkout\\c", L"common\\checkout\\c" },
    };
    folder.Write(L"repository\\other.dat", "");
    for (const std::string sBytes : { "first", "second" })
    {
        for (const auto& [sSource, sTarget] : aFiles)
            folder.Write(sSource, sBytes + Utf8(sSource));
        EXPECT_EQ(CDrmFilesCollector().Collect(folder / L"repository", folder / L"out", true), S_OK);
        for (const auto& [sSource, sTarget] : aFiles)
            EXPECT_EQ(ReadBytes(folder / (L"out\\" + sTarget)), sBytes + Utf8(sSource));
    }
    for (const wchar_t* pName : { L"out\\other.dat", L"out\\0", L"out\\5" })
        EXPECT_EQ(::GetFileAttributesW((folder / pName).c_str()), INVALID_FILE_ATTRIBUTES) << Utf8(pName);
}

// The shell reads past a list that does not end; its odd answers must become result codes, and end nothing.
TEST(DrmFilesCollector, AsksTheShellAndReportsItsAnswers)
{
    const CTestFolder folder;
    const CFakeShellFolders shell({});
    const CImportPatch<decltype(::SHFileOperationW)> patch("SHFileOperationW", FakeFileOperation);
    const struct
    {
        int nAnswer;
        bool bAborted;
        const char* pCode;
    } aCases[] = { { 0, false, "" }, { 0x402, false, "0x80070402" }, { 0, true, "0x800703E3" }, { ERROR_DISK_FULL, false, "0x80070070" } };
    for (const auto& rCase : aCases)
    {
        g_Calls.clear();
        g_nAnswer = rCase.nAnswer;
        g_bAborted = rCase.bAborted;
        const CLogWatch watch;
        EXPECT_EQ(CDrmFilesCollector().Collect(L"C:/some/where", folder.Path(), false), S_OK);
        std::vector<std::wstring> Calls;
        std::vector<std::string> Records;
        for (const std::wstring sItem : { L"vlmkey", L"procfile", L"restorable", L"tarnlist*.dat", L"orvel*.dat", L"brenn", L"checkout" })
        {
            Calls.push_back(L"C:\\some\\where\\" + sItem + L"|" + folder.Path() + L"|");
            Records.push_back(Record("C:/some/where\\" + Utf8(sItem), rCase.pCode));
        }
        EXPECT_EQ(g_Calls, Calls);
        EXPECT_EQ(watch.Records(), *rCase.pCode != '\0' ? Records : std::vector<std::string>());
    }
}

// An empty path would copy from the root of the drive, and a junction that points upwards fill the disk; a target that
// cannot be made loses the jobs behind it.
TEST(DrmFilesCollector, CopiesNothingThatWouldNotEnd)
{
    const CTestFolder folder;
    const CFakeShellFolders shell({ { CSIDL_WINDOWS, folder / L"windows" } });
    const CImportPatch<decltype(::SHFileOperationW)> patch("SHFileOperationW", FakeFileOperation);
    folder.Write(Old1 + L"procfile", "");
    folder.Write(Old4 + L"procfile", "");
    folder.Write(L"repository\\brenn\\file", "");
    folder.Write(L"out\\1", "a file in the way");
    g_Calls.clear();
    EXPECT_EQ(CDrmFilesCollector().Collect(L"", folder / L"out", false), E_INVALIDARG);
    EXPECT_EQ(CDrmFilesCollector().Collect(folder.Path(), L"", false), E_INVALIDARG);
    EXPECT_EQ(CDrmFilesCollector().Collect(folder.Path(), folder / L"out", true), HRESULT_FROM_WIN32(ERROR_PATH_NOT_FOUND));
    EXPECT_EQ(g_Calls.size(), 0u);
    EXPECT_EQ(CDrmFilesCollector().Collect(folder / L"repository", folder / L"out", false), E_UNEXPECTED);
    EXPECT_EQ(g_Calls.size(), 7u);

    const CFakeShellFolders noOldRoots({});
    const CImportPatch<decltype(::GetFileInformationByHandle)> identity("GetFileInformationByHandle", SameFolder);
    g_nAnswer = 0;
    g_bAborted = false;
    const CLogWatch watch;
    EXPECT_EQ(CDrmFilesCollector().Collect(folder / L"repository", folder / L"out", false), S_OK);
    EXPECT_EQ(g_Calls.size(), 7u + 6u);
    EXPECT_THAT(watch.Records(), ElementsAre(Record(Utf8(folder / L"repository\\brenn"), "0x80070781")));
}

} // namespace
