#include <gtest/gtest.h>

#include "opdutility/OpdFileHelper.h"
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

} // namespace
