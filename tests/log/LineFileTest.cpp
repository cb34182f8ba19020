#include <gmock/gmock.h>

#include "log/ResultLog.h"
#include "opdutility/OpdLogFile.h"
#include "support/TestFolder.h"

namespace
{

// The two writers under one form.
class CPlainResultLog : public CResultLog
{
public:
    HRESULT OpenPlain(const std::wstring& sPath) { return Open(sPath, false); }
};
class CPlainLogFile : public COpdLogFile
{
public:
    HRESULT OpenPlain(const std::wstring& sPath) { return Open(sPath); }
};

template <typename Writer>
class LineFile : public testing::Test
{};
using Writers = testing::Types<CPlainResultLog, CPlainLogFile>;
TYPED_TEST_SUITE(LineFile, Writers);

// A line that is cut, or written in part, would pass for a whole result.
TYPED_TEST(LineFile, WritesWholeLinesOrNothing)
{
    const CTestFolder folder;
    const std::wstring sPath = folder.Write(L"lines.txt", std::string(9000, 'o'));
    TypeParam file;
    EXPECT_EQ(file.WriteLine(nullptr), E_UNEXPECTED);
    ASSERT_EQ(file.OpenPlain(sPath), S_OK);
    EXPECT_EQ(file.WriteLine(nullptr), E_POINTER);
    EXPECT_EQ(file.WriteLine(L"%s", std::wstring(2047, L'x')), S_OK);
    EXPECT_EQ(file.WriteLine(L"%s", std::wstring(2048, L'y')), E_FAIL);
    EXPECT_EQ(file.WriteLine(L""), S_OK);
    TypeParam second;
    EXPECT_EQ(second.OpenPlain(sPath), static_cast<HRESULT>(0x80070020));
    EXPECT_EQ(file.WriteLine(L"%d%%\t%s", 7, L"\u65e5"), S_OK) << "not in the code page";
    file.Close();
    file.Close();
    EXPECT_EQ(file.WriteLine(L"late"), E_UNEXPECTED);
    EXPECT_EQ(ReadBytes(sPath), std::string(2047, 'x') + "\r\n\r\n7%\t?\r\n");
}

// The reports of a Japanese PC are read there: each thread's own code page counts, in whole lines.
TEST(ResultLog, WritesTheCodePageOfTheThread)
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
    std::string sExpected = "a\x93\xFA";
    for (int n = 0; n < 2047; ++n)
        sExpected += "\x96\x7B";
    EXPECT_EQ(ReadBytes(folder / L"r.txt"), sExpected + "\r\n");
}

} // namespace
