#include <gmock/gmock.h>

#include "opdutility/OpdFileHelper.h"
#include "platform/Handle.h"
#include "support/TestFolder.h"

namespace
{

// Comparisons of paths rest on this form; a path that resolves above its root must be refused.
TEST(FileHelper, MakesPathsAbsolute)
{
    wchar_t aCurrent[MAX_PATH];
    ::GetCurrentDirectoryW(MAX_PATH, aCurrent);
    const std::wstring sCurrent = ::_wcslwr(aCurrent);
    const std::wstring sLong(300, L'n');
    const std::pair<std::wstring, std::wstring> aCases[] = {
        { L"C:\\A\\.\\B\\..\\C.TXT", L"c:\\a\\c.txt" },
        { L"C:/a//b", L"c:\\a\\b" },
        { L"\\\\?\\C:\\a\\..\\b", L"\\\\?\\c:\\b" },
        { L"c:\\a\\..", L"c:\\a\\.." },
        { L"C:\\" + sLong + L"\\..\\" + sLong, L"c:\\" + sLong },
        { L"Name", sCurrent + L"\\name" },
        { L"\\\\Server\\Share", sCurrent + L"\\server\\share" },
        { L"c:\\a\\..\\..\\b", L"refused" },
    };
    for (const auto& [sPath, sExpected] : aCases)
    {
        std::wstring sAbsolute = L"refused";
        EXPECT_EQ(COpdFileHelper::GetAbsolutePath(sPath, sAbsolute), sExpected == L"refused" ? E_FAIL : S_OK);
        EXPECT_EQ(Utf8(sAbsolute), Utf8(sExpected));
    }
}

// Files in use are the interesting ones; the size has 32 bits in every report.
TEST(FileHelper, AsksAboutFilesThatOthersHold)
{
    const CTestFolder folder;
    const CFileHandle hFile(
        ::CreateFileW((folder / L"held").c_str(), GENERIC_READ | GENERIC_WRITE, 0, nullptr, CREATE_NEW, 0, nullptr));
    LARGE_INTEGER Size;
    Size.QuadPart = 0x100000005;
    const FILETIME Given{ 0x12345680, 0x01D00000 };
    ASSERT_TRUE(::SetFilePointerEx(hFile.Get(), Size, nullptr, FILE_BEGIN) && ::SetEndOfFile(hFile.Get()) &&
                ::SetFileTime(hFile.Get(), nullptr, nullptr, &Given));
    ULONGLONG ullSize = 0;
    std::wstring sCreation, sAccess, sWrite;
    EXPECT_EQ(COpdFileHelper::GetFileInfo(folder / L"held", sCreation, sAccess, sWrite, ullSize), S_OK);
    EXPECT_EQ(ullSize, 5u);
    EXPECT_THAT(Utf8(sWrite), testing::MatchesRegex("2014/11/1\\d \\d\\d:\\d\\d:\\d\\d"));
}

} // namespace
