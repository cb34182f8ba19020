#include <gmock/gmock.h>

#include <objbase.h>

#include "opdutility/OpdFileHelper.h"
#include "platform/Handle.h"
#include "support/LogWatch.h"
#include "support/TestFolder.h"

using testing::ElementsAre;

namespace
{

constexpr HRESULT NoFile = static_cast<HRESULT>(0x80070002);

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
        { L"c:\\a\\b\\c\\..\\..\\d", L"c:\\a\\d" },
        { L"c:\\a\\..", L"c:\\a\\.." },
        { L"C:\\" + sLong + L"\\..\\" + sLong, L"c:\\" + sLong },
        { L"Name", sCurrent + L"\\name" },
        { L"\\\\Server\\Share", sCurrent + L"\\server\\share" },
        { L"", sCurrent + L"\\" },
    };
    for (const auto& rCase : aCases)
    {
        std::wstring sAbsolute;
        EXPECT_EQ(COpdFileHelper::GetAbsolutePath(rCase.sPath, sAbsolute), S_OK);
        EXPECT_EQ(Utf8(sAbsolute), Utf8(rCase.sAbsolute));
    }

    std::wstring sAbsolute = L"old";
    EXPECT_EQ(COpdFileHelper::GetAbsolutePath(L"c:\\..\\A", sAbsolute), E_FAIL);
    EXPECT_EQ(COpdFileHelper::GetAbsolutePath(L"c:\\a\\..\\..\\b", sAbsolute), E_FAIL);
    EXPECT_EQ(sAbsolute, L"old");
}

// An empty file or one that is not there must not pass for contents; each refusal has its own record.
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
    EXPECT_EQ(pData, nullptr);
    const std::string sRecord = "[COpdFileHelper::ReadFile] ";
    EXPECT_THAT(watch.Records(),
                ElementsAre(sRecord + "File size was 0. File:" + Utf8(sEmpty),
                            sRecord + "::CreateFile( " + Utf8(folder / L"none") + " ) failed. [0x80070002]."));
}

// Files in use are the interesting ones; the size has 32 bits in every report.
TEST(FileHelper, AsksAboutFilesThatOthersHold)
{
    const CTestFolder folder;
    const CFileHandle hFile(
        ::CreateFileW((folder / L"held").c_str(), GENERIC_READ | GENERIC_WRITE, 0, nullptr, CREATE_NEW, 0, nullptr));
    ASSERT_TRUE(hFile);
    LARGE_INTEGER Size;
    Size.QuadPart = 0x100000005;
    ASSERT_TRUE(::SetFilePointerEx(hFile.Get(), Size, nullptr, FILE_BEGIN) && ::SetEndOfFile(hFile.Get()));
    const FILETIME Given{ 0x12345680, 0x01D00000 };
    ASSERT_TRUE(::SetFileTime(hFile.Get(), nullptr, nullptr, &Given));

    FILETIME Creation{}, Access{}, Write{};
    ULONGLONG ullSize = 0;
    EXPECT_EQ(COpdFileHelper::GetFileInfo(folder / L"held", Creation, Access, Write, ullSize), S_OK);
    EXPECT_EQ(ullSize, 5u);
    EXPECT_EQ(::CompareFileTime(&Write, &Given), 0);
    std::wstring sCreation, sAccess, sWrite;
    EXPECT_EQ(COpdFileHelper::GetFileInfo(folder / L"held", sCreation, sAccess, sWrite, ullSize), S_OK);
    EXPECT_THAT(Utf8(sWrite), testing::MatchesRegex("2014/11/1\\d \\d\\d:\\d\\d:\\d\\d"));
    EXPECT_EQ(COpdFileHelper::GetFileInfo(folder / L"none", sCreation, sAccess, sWrite, ullSize), NoFile);
}

} // namespace
