#include <gmock/gmock.h>

#include "log/FunctionLog.h"
#include "log/OutputErrorLogIO.h"
#include "log/ResultLog.h"
#include "support/Golden.h"

using namespace opLogSys;
using testing::ElementsAre;

namespace
{

// Without the limit the log fills the customer's disk; a read-only backup must not stop it. In the trim form a cut
// within a line, or a mark that is lost or doubled, would make the rest unreadable. (The banner is seen on all logs of
// the whole program.)
TEST(ErrorLog, KeepsItsLimit)
{
    const CTestFolder folder;
    const auto Write = [&](const wchar_t* pName, DWORD dwLimit, bool bTrim, const auto&... lines) {
        const auto pOutput = Common::CReference<ILogIO>::Own(
            new COutputErrorLogIO(folder / pName, dwLimit, bTrim, Encoding::Utf8));
        (pOutput->WriteLine(lines), ...);
    };
    ::SetFileAttributesW(folder.Write(L"a.log.bak", "older").c_str(), FILE_ATTRIBUTE_READONLY);
    Write(L"a.log", 20, false, L"123456789012345");
    EXPECT_EQ(ReadBytes(folder / L"a.log.bak"), "older") << "exactly the limit";
    Write(L"a.log", 20, false, L"over", L"new");
    Write(L"trimmed.log", 33, true, L"11111111", L"2222\u65e52", L"33333333", L"44444444");
    ExpectGolden(L"log/Limits.txt", FilesBelow(folder.Path()), L"");
}

// A line that is cut, or written in part, would pass for a whole result. The reports of a Japanese PC are read there:
// each thread's own code page counts, in whole lines.
TEST(LineFile, WritesWholeLinesInTheCodePageOfTheThread)
{
    const CTestFolder folder;
    const std::wstring sPath = folder.Write(L"lines.txt", std::string(9000, 'o'));
    CResultLog file, second;
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
    EXPECT_EQ(file.WriteLine(L"late"), E_UNEXPECTED);
    EXPECT_EQ(ReadBytes(sPath), "7%\t?\r\n" + std::string(2046, 'x') + "\x93\xFA\r\n");
}

// What the throwing verbs answer is what callers see; a positive code thrown on would be taken for a success.
TEST(FunctionLog, RecordsAndThrows)
{
    const CLogWatch watch;
    std::vector<HRESULT> Results;
    const auto Result = [&](const auto& body) {
        CFunctionLog log("CThing::Read");
        Results.push_back(log.Run([&] { body(log); }));
    };
    Result([](const CFunctionLog& log) {
        log.Warning(L"told %d", 5);
        log.Assert(L"on");
        log.Error(L"and on");
        log.Judge(L"judged");
        log.Judge(nullptr);
        log.Check(S_FALSE, L"%s [0x%08X]", std::wstring(L"fine"));
    });
    Result([](const CFunctionLog& log) { log.Throw(ERROR_ACCESS_DENIED, L"positive"); });
    Result([](const CFunctionLog& log) { log.Check(E_POINTER, L"%s [0x%08X]", std::wstring(L"%s")); });
    Result([](const CFunctionLog& log) { log.Fail(E_ABORT, L"%s", std::wstring(3000, L'x')); });
    EXPECT_THAT(Results, ElementsAre(S_OK, E_FAIL, E_POINTER, E_ABORT));
    const std::string sName = "[CThing::Read] ";
    EXPECT_THAT(watch.Records(),
                ElementsAre(sName + "told 5", sName + "on", sName + "and on", sName + "judged", sName + "positive",
                            sName + "%s [0x80004003]", sName + std::string(2047 - 6 - sName.size(), 'x')));
}

} // namespace
