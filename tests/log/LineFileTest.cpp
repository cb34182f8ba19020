#include <gtest/gtest.h>

#include "log/ResultLog.h"
#include "support/TestFolder.h"

namespace
{

// A line that is cut, or written in part, would pass for a whole result. The reports of a Japanese PC are read there:
// each thread's own code page counts, in whole lines.
TEST(LineFile, WritesWholeLinesInTheCodePageOfTheThread)
{
    const CTestFolder folder;
    const std::wstring sPath = folder.Write(L"lines.txt", std::string(9000, 'o'));
    CResultLog file, second;
    EXPECT_EQ(file.WriteLine(L"early"), E_UNEXPECTED);
    ASSERT_EQ(file.Open(sPath, false), S_OK);
    EXPECT_EQ(file.WriteLine(nullptr), E_POINTER);
    EXPECT_EQ(file.WriteLine(L"%s", std::wstring(2048, L'y')), E_FAIL);
    EXPECT_EQ(second.Open(sPath, false), static_cast<HRESULT>(0x80070020));
    EXPECT_EQ(file.WriteLine(L"%d%%\t%s", 7, L"\u65e5"), S_OK) << "not in the code page";
    const LCID dwBefore = ::GetThreadLocale();
    ::SetThreadLocale(MAKELCID(MAKELANGID(LANG_JAPANESE, SUBLANG_JAPANESE_JAPAN), SORT_DEFAULT));
    EXPECT_EQ(file.WriteLine(L"%s\u65e5", std::wstring(2046, L'x')), S_OK);
    ::SetThreadLocale(dwBefore);
    file.Close();
    file.Close();
    EXPECT_EQ(file.WriteLine(L"late"), E_UNEXPECTED);
    EXPECT_EQ(ReadBytes(sPath), "7%\t?\r\n" + std::string(2046, 'x') + "\x93\xFA\r\n");
}

} // namespace
