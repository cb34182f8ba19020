#include <gmock/gmock.h>

#include "log/ResultLog.h"
#include "opdutility/OpdLogFile.h"
#include "support/TestFolder.h"

namespace
{

// A line that is cut, or written in part, would pass for a whole result. open(writer, path) differs in the two writers.
template <typename Writer, typename Open>
void ExpectWholeLines(const Open& open)
{
    const CTestFolder folder;
    const std::wstring sPath = folder.Write(L"lines.txt", std::string(9000, 'o'));
    Writer file;
    EXPECT_EQ(file.WriteLine(nullptr), E_UNEXPECTED);
    ASSERT_EQ(open(file, sPath), S_OK);
    EXPECT_EQ(file.WriteLine(nullptr), E_POINTER);
    EXPECT_EQ(file.WriteLine(L"%s", std::wstring(2047, L'x')), S_OK);
    EXPECT_EQ(file.WriteLine(L"%s", std::wstring(2048, L'y')), E_FAIL);
    EXPECT_EQ(file.WriteLine(L""), S_OK);
    Writer second;
    EXPECT_EQ(open(second, sPath), static_cast<HRESULT>(0x80070020));
    EXPECT_EQ(file.WriteLine(L"%d%%\t%s", 7, L"\u65e5"), S_OK) << "not in the code page";
    file.Close();
    file.Close();
    EXPECT_EQ(file.WriteLine(L"late"), E_UNEXPECTED);
    EXPECT_EQ(ReadBytes(sPath), std::string(2047, 'x') + "\r\n\r\n7%\t?\r\n");
}
TEST(LineFile, WritesWholeLinesOrNothing)
{
    ExpectWholeLines<CResultLog>([](CResultLog& rFile, const auto& sPath) { return rFile.Open(sPath, false); });
    ExpectWholeLines<COpdLogFile>([](COpdLogFile& rFile, const auto& sPath) { return rFile.Open(sPath); });
}

// The reports of a Japanese PC are read there: each thread's own code page counts, in whole lines.
TEST(LineFile, WritesTheCodePageOfTheThread)
{
    const CTestFolder folder;
    const LCID dwBefore = ::GetThreadLocale();
    ::SetThreadLocale(MAKELCID(MAKELANGID(LANG_JAPANESE, SUBLANG_JAPANESE_JAPAN), SORT_DEFAULT));
    CResultLog log;
    EXPECT_EQ(log.Open(folder / L"r.txt", false), S_OK);
    EXPECT_EQ(log.Write(L"a%s", L"\u65e5"), S_OK);
    EXPECT_EQ(log.WriteLine(L"%s", std::wstring(2047, L'\u672c')), S_OK);
    ::SetThreadLocale(dwBefore);
    log.Close();
    const std::string sBytes = ReadBytes(folder / L"r.txt");
    EXPECT_EQ(sBytes.size(), 3u + 2047 * 2 + 2);
    EXPECT_TRUE(sBytes.starts_with("a\x93\xFA\x96\x7B") && sBytes.ends_with("\x96\x7B\r\n"));
}

} // namespace
