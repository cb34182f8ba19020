#include <gmock/gmock.h>

#include <regex>

#include "log/FunctionLog.h"
#include "log/LogSysInfo.h"
#include "log/LogSystem.h"
#include "log/OutputErrorLogIO.h"
#include "platform/Format.h"
#include "platform/Path.h"
#include "support/Golden.h"

using namespace opLogSys;
using testing::ElementsAre;

namespace
{

constexpr const char* Bom = "\xEF\xBB\xBF";

std::unique_ptr<CLogSystem> MakeLog(const std::wstring& sPath, Encoding eEncoding = Encoding::Ansi,
                                    const wchar_t* pTitle = L"")
{
    const auto pInfo = Common::CReference<CLogSysInfo>::Own(new CLogSysInfo);
    CLogSystemSettings settings;
    settings.sErrorLogPath = sPath;
    settings.sTitle = pTitle;
    settings.dwErrorLogLimit = 0x200000;
    settings.eEncoding = eEncoding;
    return std::make_unique<CLogSystem>(settings, *pInfo.Get());
}

// Writes the lines into a log with a limit.
void Write(const std::wstring& sPath, DWORD dwLimit, bool bTrim, std::initializer_list<const wchar_t*> Lines)
{
    const auto pOutput = Common::CReference<ILogIO>::Own(new COutputErrorLogIO(sPath, dwLimit, bTrim, Encoding::Utf8));
    for (const wchar_t* const pLine : Lines)
        pOutput->WriteLine(pLine);
}

// The log with "@" for each time and process of the right form.
std::string WithoutTimes(const std::string& sLog)
{
    const std::string sProcess = Utf8(FormatText(L"%X", ::GetCurrentProcessId()));
    return std::regex_replace(
        sLog, std::regex("\\[\\d{4}/\\d\\d/\\d\\d \\d\\d:\\d\\d:\\d\\d\\]\\[" + sProcess + "\\] "), "@");
}

std::string Banner(const std::string& sTitle = "")
{
    const std::string sDashes = "@" + std::string(79, '-') + "\r\n";
    return sDashes + "@" + sTitle + Utf8(ModulePath()) + "\r\n" + sDashes;
}

// Support finds a run's lines by its banner: a missing or second one joins or splits runs.
TEST(ErrorLog, BeginsWithOneBannerForEachProcessAndLog)
{
    const CTestFolder folder;
    const auto pFirst = MakeLog(folder / L"a.log");
    pFirst->WriteErrorLog(L"00042:[CThing::Read] one");
    pFirst->WriteErrorLog(L"two");
    MakeLog(folder / L"a.log")->WriteErrorLog(L"three");
    EXPECT_EQ(WithoutTimes(ReadBytes(folder / L"a.log")), Banner() + "@00042:[CThing::Read] one\r\n@two\r\n@three\r\n");
    MakeLog(folder / L"b.log", Encoding::Utf8, L"Title")->WriteErrorLog(L"\u2502");
    EXPECT_EQ(WithoutTimes(ReadBytes(folder / L"b.log")), Bom + Banner("[Title] ") + "@\xE2\x94\x82\r\n");
}

// Without the limit the log fills the customer's disk; a read-only backup must not stop it.
TEST(ErrorLog, BecomesTheBackupAboveItsLimit)
{
    const CTestFolder folder;
    const std::wstring sBackup = folder.Write(L"a.log.bak", "older");
    ::SetFileAttributesW(sBackup.c_str(), FILE_ATTRIBUTE_READONLY);
    Write(folder / L"a.log", 20, false, { L"123456789012345" });
    EXPECT_EQ(ReadBytes(sBackup), "older") << "exactly the limit";
    Write(folder / L"a.log", 20, false, { L"over", L"new" });
    EXPECT_EQ(ReadBytes(sBackup), std::string(Bom) + "123456789012345\r\nover\r\n");
    EXPECT_EQ(ReadBytes(folder / L"a.log"), std::string(Bom) + "new\r\n");
}

// A cut within a line, or a mark that is lost or doubled, would make the rest unreadable.
TEST(ErrorLog, LosesItsOldestLinesInTheTrimForm)
{
    const CTestFolder folder;
    Write(folder / L"a.log", 33, true, { L"11111111", L"2222\u65e52", L"33333333", L"44444444" });
    EXPECT_EQ(FilesBelow(folder.Path()), "== a.log\r\n" + std::string(Bom) +
                                             "2222\xE6\x97\xA5"
                                             "2\r\n33333333\r\n44444444\r\n");
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
