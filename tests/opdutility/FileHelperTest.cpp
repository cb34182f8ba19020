#include <gmock/gmock.h>

#include <objbase.h>

#include "opdutility/OpdFileHelper.h"
#include "platform/Handle.h"
#include "support/ImportPatch.h"
#include "support/LogWatch.h"
#include "support/TestFolder.h"

using testing::ElementsAre;

namespace
{

constexpr HRESULT NoFile = static_cast<HRESULT>(0x80070002);
constexpr HRESULT NoPath = static_cast<HRESULT>(0x80070003);

BOOL WINAPI ReadTwoBytes(HANDLE, LPVOID, DWORD, LPDWORD pnRead, LPOVERLAPPED)
{
    *pnRead = 2;
    return TRUE;
}

// Comparisons of paths rest on this form; a path that resolves above its root must be refused.
TEST(FileHelper, MakesPathsAbsolute)
{
    wchar_t aCurrent[MAX_PATH];
    ::GetCurrentDirectoryW(MAX_PATH, aCurrent);
    const std::wstring sCurrent = ::_wcslwr(aCurrent);
    const std::wstring sLong(300, L'n');
    const struct
    {
        std::wstring sPath, sAbsolute;
    } aCases[] = {
        { L"C:\\A\\.\\B\\..\\C.TXT", L"c:\\a\\c.txt" },
        { L"C:/a//b", L"c:\\a\\b" },
        { L"\\\\?\\C:\\a\\..\\b", L"\\\\?\\c:\\b" },
        { L"c:\\a\\.\\.\\\\.\\b", L"c:\\a\\b" },
        { L"c:\\a\\b\\c\\..\\..\\d", L"c:\\a\\d" },
        { L"c:\\a\\..", L"c:\\a\\.." },
        { L"c:\\a\\.", L"c:\\a\\." },
        { L"c:\\...\\a", L"c:\\...\\a" },
        { L"c:", L"c:" },
        { L"C:\\" + sLong + L"\\..\\" + sLong, L"c:\\" + sLong },
        { L"Name", sCurrent + L"\\name" },
        { L"1:\\x", sCurrent + L"\\1:\\x" },
        { L"\\\\Server\\Share", sCurrent + L"\\server\\share" },
        { L"", sCurrent + L"\\" },
    };
    for (const auto& rCase : aCases)
    {
        std::wstring sAbsolute;
        EXPECT_EQ(COpdFileHelper::GetAbsolutePath(rCase.sPath, sAbsolute), S_OK);
        EXPECT_EQ(Utf8(sAbsolute), Utf8(rCase.sAbsolute));
    }

    const CLogWatch watch;
    std::wstring sAbsolute = L"old";
    EXPECT_EQ(COpdFileHelper::GetAbsolutePath(L"c:\\..\\A", sAbsolute), E_FAIL);
    EXPECT_EQ(COpdFileHelper::GetAbsolutePath(L"c:\\a\\..\\..\\b", sAbsolute), E_FAIL);
    EXPECT_EQ(sAbsolute, L"old");
    EXPECT_THAT(watch.Records(), ElementsAre("[COpdFileHelper::GetAbsolutePath] Invalid File Path.[c:\\..\\A]",
                                             "[COpdFileHelper::GetAbsolutePath] Invalid File Path.[c:\\a\\..\\..\\b]"));
}

// Each refusal has its own record, and a block that was handed out stays the caller's even after a short read.
TEST(FileHelper, ReadsWholeFilesOnly)
{
    const CTestFolder folder;
    const std::wstring sFile = folder.Write(L"a.bin", std::string_view("a\0b\r\n", 5));
    const std::wstring sEmpty = folder.Write(L"empty", "");
    BYTE* pData = nullptr;
    DWORD nSize = 0;
    EXPECT_EQ(COpdFileHelper::ReadFile(sFile, &pData, &nSize), S_OK);
    EXPECT_EQ(std::string(reinterpret_cast<char*>(pData), nSize), std::string("a\0b\r\n", 5));
    ::CoTaskMemFree(pData);

    pData = nullptr;
    const CLogWatch watch;
    EXPECT_EQ(COpdFileHelper::ReadFile(sEmpty, &pData, &nSize), E_UNEXPECTED);
    EXPECT_EQ(COpdFileHelper::ReadFile(folder / L"none", &pData, &nSize), E_UNEXPECTED);
    EXPECT_EQ(COpdFileHelper::ReadFile(sFile, nullptr, nullptr), E_POINTER);
    EXPECT_EQ(COpdFileHelper::ReadFile(sFile, &pData, nullptr), E_POINTER);
    EXPECT_EQ(pData, nullptr);
    {
        const CImportPatch<decltype(ReadTwoBytes)> patch("ReadFile", ReadTwoBytes);
        EXPECT_EQ(COpdFileHelper::ReadFile(sFile, &pData, &nSize), E_UNEXPECTED);
    }
    EXPECT_NE(pData, nullptr);
    EXPECT_EQ(nSize, 5u);
    ::CoTaskMemFree(pData);
    const std::string sRecord = "[COpdFileHelper::ReadFile] ";
    EXPECT_THAT(watch.Records(),
                ElementsAre(sRecord + "File size was 0. File:" + Utf8(sEmpty),
                            sRecord + "::CreateFile( " + Utf8(folder / L"none") + " ) failed. [0x80070002].", sRecord + "ppData was NULL.",
                            sRecord + "pnSize was NULL.", sRecord + "ReadSize was 2[byte] File:" + Utf8(sFile)));
}

// A file in the way must not pass for the folder that later steps write into.
TEST(FileHelper, CreatesFolders)
{
    const CTestFolder folder;
    folder.Write(L"file", "x");
    const struct
    {
        std::wstring sPath;
        HRESULT hr;
    } aCases[] = {
        { folder / L"a\\b\\c", S_OK },        { folder / L"a\\b\\c", S_OK }, { folder / L"d\\", S_OK },     { L"C:\\", S_OK },
        { folder / L"file", E_UNEXPECTED }, { folder / L"file\\sub", NoPath }, { L"Q:\\none\\x", NoPath },
    };
    for (const auto& rCase : aCases)
        EXPECT_EQ(COpdDirectoryHelper::CreateDirectoryExW(rCase.sPath), rCase.hr) << Utf8(rCase.sPath);
    EXPECT_NE(::GetFileAttributesW((folder / L"a\\b\\c").c_str()), INVALID_FILE_ATTRIBUTES);
    EXPECT_NE(::GetFileAttributesW((folder / L"d").c_str()), INVALID_FILE_ATTRIBUTES);
}

// "Nothing there" is an answer for the one, a failure for the other; what the list holds already stays.
TEST(FileHelper, ListsWhatIsThere)
{
    const CTestFolder folder;
    folder.Write(L"a.txt", "");
    folder.Write(L"b.txt", "");
    folder.Write(L"c.dat", "");
    std::vector<std::wstring> Names{ L"old" };
    EXPECT_EQ(COpdFileHelper::FindFiles(folder / L"*.txt", Names), S_OK);
    EXPECT_THAT(Names, testing::UnorderedElementsAre(L"old", L"a.txt", L"b.txt"));
    EXPECT_EQ(COpdFileHelper::FindFiles(folder / L"*", Names), S_OK);
    EXPECT_EQ(Names.size(), 8u) << "both folder entries count";

    const CLogWatch watch;
    Names.clear();
    EXPECT_EQ(COpdFileHelper::FindFiles(folder / L"*.none", Names), NoFile);
    EXPECT_EQ(COpdFileHelper::FindFiles(folder / L"none\\*", Names), NoPath);
    EXPECT_EQ(COpdFileHelper::EnumFiles(folder / L"*.none", Names), S_OK);
    EXPECT_EQ(COpdFileHelper::EnumFiles(folder / L"none\\*", Names), S_OK);
    EXPECT_THAT(Names, testing::IsEmpty());
    EXPECT_THAT(watch.Records(), testing::IsEmpty());
}

// Files in use are the interesting ones; the size has 32 bits in every report.
TEST(FileHelper, AsksAboutFilesThatOthersHold)
{
    const CTestFolder folder;
    const CFileHandle hFile(::CreateFileW((folder / L"held").c_str(), GENERIC_READ | GENERIC_WRITE, 0, nullptr, CREATE_NEW, 0, nullptr));
    ASSERT_TRUE(hFile);
    LARGE_INTEGER Size;
    Size.QuadPart = 0x100000005;
    ASSERT_TRUE(::SetFilePointerEx(hFile.Get(), Size, nullptr, FILE_BEGIN) && ::SetEndOfFile(hFile.Get()));
    const FILETIME Given{ 0x12345680, 0x01D00000 };
    ASSERT_TRUE(::SetFileTime(hFile.Get(), nullptr, nullptr, &Given));

    FILETIME Creation{}, Access{}, Write{};
    ULONGLONG ullSize = 0;
    DWORD dwSize = 0;
    EXPECT_EQ(COpdFileHelper::GetFileInfo(folder / L"held", Creation, Access, Write, ullSize), S_OK);
    EXPECT_EQ(ullSize, 5u);
    EXPECT_EQ(::CompareFileTime(&Write, &Given), 0);
    EXPECT_EQ(COpdFileHelper::GetFileInfo(folder / L"held", Creation, Access, Write, dwSize), S_OK);
    EXPECT_EQ(dwSize, 5u);
    std::wstring sCreation, sAccess, sWrite;
    EXPECT_EQ(COpdFileHelper::GetFileInfo(folder / L"held", sCreation, sAccess, sWrite, ullSize), S_OK);
    EXPECT_THAT(Utf8(sWrite), testing::MatchesRegex("2014/11/1\\d \\d\\d:\\d\\d:\\d\\d"));

    const CLogWatch watch;
    EXPECT_EQ(COpdFileHelper::GetFileInfo(folder / L"none", sCreation, sAccess, sWrite, ullSize), NoFile);
    EXPECT_EQ(COpdFileHelper::GetFileInfo(folder / L"none", Creation, Access, Write, dwSize), NoFile);
    const std::string sNone = Utf8(folder / L"none");
    const std::string sCreate = "[COpdFileHelper::GetFileInfo] ::CreateFile( " + sNone + " ) failed. [0x80070002]";
    EXPECT_THAT(watch.Records(), ElementsAre(sCreate, "[COpdFileHelper::GetFileInfo] COpdFileHelper::GetFileInfo( \"" + sNone + "\" ) failed. [0x80070002]",
                                             sCreate, "[COpdFileHelper::GetFileInfo] GetFileInfo() failed.[0x80070002]"));
}

} // namespace
