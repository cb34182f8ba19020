#include <gmock/gmock.h>

#include <regex>

#include "log/FunctionLog.h"
#include "log/LogSysInfo.h"
#include "log/LogSystem.h"
#include "log/OutputErrorLogIO.h"
#include "platform/Format.h"
#include "platform/Handle.h"
#include "platform/Path.h"
#include "support/LogWatch.h"
#include "support/TestFolder.h"

using namespace opLogSys;
using testing::ElementsAre;

namespace
{

constexpr const char* Bom = "\xEF\xBB\xBF";

std::unique_ptr<CLogSystem> MakeLog(const std::wstring& sPath, DWORD dwLimit = 0x200000, Encoding eEncoding = Encoding::Ansi, const wchar_t* pTitle = L"")
{
    const auto pInfo = Common::CReference<CLogSysInfo>::Own(new CLogSysInfo);
    CLogSystemSettings settings;
    settings.sName = L"Kelvarin";
    settings.sErrorLogPath = sPath;
    settings.sTitle = pTitle;
    settings.dwErrorLogLimit = dwLimit;
    settings.eEncoding = eEncoding;
    return std::make_unique<CLogSystem>(settings, *pInfo.Get());
}

Common::CReference<ILogIO> MakeOutput(const std::wstring& sPath, DWORD dwLimit, bool bTrim, Encoding eEncoding)
{
    return Common::CReference<ILogIO>::Own(new COutputErrorLogIO(sPath, dwLimit, bTrim, eEncoding));
}

// The log with "@" for each time and process of the right form.
std::string WithoutTimes(const std::string& sLog)
{
    const std::string sProcess = Utf8(FormatText(L"%X", ::GetCurrentProcessId()));
    return std::regex_replace(sLog, std::regex("\\[\\d{4}/\\d\\d/\\d\\d \\d\\d:\\d\\d:\\d\\d\\]\\[" + sProcess + "\\] "), "@");
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
    const auto pSecond = MakeLog(folder / L"a.log");
    pSecond->WriteErrorLog(L"three");
    const auto pOther = MakeLog(folder / L"b.log", 0x200000, Encoding::Utf8, L"Title");
    pOther->WriteErrorLog(L"\u2502");
    MakeLog(folder / L"b.log", 0x200000, Encoding::Utf8)->WriteErrorLog(L"x");
    MakeLog(L"")->WriteErrorLog(L"nowhere");
    EXPECT_EQ(WithoutTimes(ReadBytes(folder / L"a.log")), Banner() + "@00042:[CThing::Read] one\r\n@two\r\n@three\r\n");
    EXPECT_EQ(WithoutTimes(ReadBytes(folder / L"b.log")), Bom + Banner("[Title] ") + "@\xE2\x94\x82\r\n@x\r\n");
}

// Without the limit the log fills the customer's disk; a read-only backup must not stop it.
TEST(ErrorLog, BecomesTheBackupAboveItsLimit)
{
    const CTestFolder folder;
    const std::wstring sBackup = folder.Write(L"a.log.bak", "older");
    ::SetFileAttributesW(sBackup.c_str(), FILE_ATTRIBUTE_READONLY);
    const auto pOutput = MakeOutput(folder / L"a.log", 20, false, Encoding::Utf8);
    pOutput->WriteLine(L"123456789012345");
    EXPECT_EQ(ReadBytes(sBackup), "older") << "exactly the limit";
    pOutput->WriteLine(L"over");
    EXPECT_FALSE(FileExists(folder / L"a.log"));
    EXPECT_EQ(ReadBytes(sBackup), std::string(Bom) + "123456789012345\r\nover\r\n");
    pOutput->WriteLine(L"new");
    EXPECT_EQ(ReadBytes(folder / L"a.log"), std::string(Bom) + "new\r\n");
}

// A cut within a line, or a mark that is lost or doubled, would make the rest unreadable.
TEST(ErrorLog, LosesItsOldestLinesInTheTrimForm)
{
    const CTestFolder folder;
    const auto pOutput = MakeOutput(folder / L"a.log", 33, true, Encoding::Utf8);
    for (const wchar_t* pLine : { L"11111111", L"2222\u65e52", L"33333333", L"44444444" })
        pOutput->WriteLine(pLine);
    EXPECT_EQ(ReadBytes(folder / L"a.log"), std::string(Bom) + "2222\xE6\x97\xA5" "2\r\n33333333\r\n44444444\r\n");
    EXPECT_FALSE(FileExists(folder / L"a.log.bak"));
    MakeOutput(folder / L"b.log", 30, true, Encoding::Ansi)->WriteText(std::wstring(31, L'x').c_str());
    EXPECT_EQ(ReadBytes(folder / L"b.log"), "") << "no line end to cut at";
}

// A log that another account holds must not swallow the records of this run.
TEST(ErrorLog, GoesRoundALockedFile)
{
    const CTestFolder folder;
    const auto Hold = [](const std::wstring& sPath) { return CFileHandle(::CreateFileW(sPath.c_str(), GENERIC_READ, 0, nullptr, OPEN_ALWAYS, 0, nullptr)); };
    const CFileHandle hLog = Hold(folder / L"a.b.log");
    const CFileHandle hFirst = Hold(folder / L"a.b(00).log");
    ASSERT_TRUE(hLog && hFirst);
    const auto pOutput = MakeOutput(folder / L"a.b.log", 100, false, Encoding::Ansi);
    pOutput->WriteLine(L"one");
    pOutput->WriteLine(L"two");
    EXPECT_EQ(ReadBytes(folder / L"a.b(01).log"), "one\r\ntwo\r\n");
    LARGE_INTEGER Size{};
    EXPECT_TRUE(::GetFileSizeEx(hLog.Get(), &Size) && Size.QuadPart == 0);
}

constexpr int Children = 8;
constexpr int ChildLines = 40;

std::wstring Environment(const wchar_t* pName)
{
    wchar_t aValue[MAX_PATH] = L"";
    ::GetEnvironmentVariableW(pName, aValue, MAX_PATH);
    return aValue;
}

// The main run and its collectors write at once: each line must be whole, and no process may lose one. The test starts
// its own program; the variable tells a child where to write.
TEST(ErrorLog, IsSharedByManyProcesses)
{
    const std::wstring sMark = Environment(L"KELVARIN_TEST_ERRORLOG");
    const std::wstring sLog = sMark.substr(0, sMark.find(L'|'));
    if (!sMark.empty())
    {
        const CKernelHandle hGo(::CreateEventW(nullptr, TRUE, FALSE, sMark.substr(sLog.size() + 1).c_str()));
        ::WaitForSingleObject(hGo.Get(), 30000);
        const auto pLog = MakeLog(sLog, 0x200000, Encoding::Utf8);
        for (int n = 0; n < ChildLines; ++n)
            pLog->WriteErrorLog(FormatText(L"line %d %s", n, std::wstring(static_cast<std::size_t>(200 + n), L'\u65e5')).c_str());
        return;
    }

    const CTestFolder folder;
    const std::wstring sEvent = FormatText(L"KelvarinTestGo%u", ::GetCurrentProcessId());
    const CKernelHandle hGo(::CreateEventW(nullptr, TRUE, FALSE, sEvent.c_str()));
    ::SetEnvironmentVariableW(L"KELVARIN_TEST_ERRORLOG", (folder / L"shared.log|" + sEvent).c_str());
    const std::wstring sCommand = L"\"" + ModulePath() + L"\" -l" + folder.Path() + L" -path:result" + folder.Path() + L" --gtest_filter=ErrorLog.IsSharedByManyProcesses";
    std::vector<PROCESS_INFORMATION> Processes;
    for (int n = 0; n < Children; ++n)
    {
        STARTUPINFOW Startup{};
        Startup.cb = sizeof Startup;
        PROCESS_INFORMATION& rInfo = Processes.emplace_back();
        std::wstring sLine = sCommand;
        ASSERT_TRUE(::CreateProcessW(nullptr, sLine.data(), nullptr, nullptr, FALSE, CREATE_NO_WINDOW, nullptr, nullptr, &Startup, &rInfo));
    }
    ::SetEnvironmentVariableW(L"KELVARIN_TEST_ERRORLOG", nullptr);
    ::Sleep(1000); // most children have come to the event by then
    ::SetEvent(hGo.Get());
    std::vector<std::string> Expected;
    for (const PROCESS_INFORMATION& rInfo : Processes)
    {
        EXPECT_EQ(::WaitForSingleObject(rInfo.hProcess, 60000), static_cast<DWORD>(WAIT_OBJECT_0));
        const std::string sProcess = "[" + Utf8(FormatText(L"%X", rInfo.dwProcessId)) + "] ";
        for (const std::string& sBanner : { std::string(79, '-'), Utf8(ModulePath()), std::string(79, '-') })
            Expected.push_back(sProcess + sBanner);
        for (int n = 0; n < ChildLines; ++n)
            Expected.push_back(sProcess + Utf8(FormatText(L"line %d %s", n, std::wstring(static_cast<std::size_t>(200 + n), L'\u65e5'))));
        ::CloseHandle(rInfo.hThread);
        ::CloseHandle(rInfo.hProcess);
    }
    std::vector<std::string> Lines;
    const std::string sText = ReadBytes(folder / L"shared.log");
    ASSERT_TRUE(sText.starts_with(Bom));
    for (std::size_t n = 3; n < sText.size(); n = sText.find("\r\n", n) + 2)
        Lines.push_back(sText.substr(n + 21, sText.find("\r\n", n) - n - 21)); // behind "[date time]"
    EXPECT_TRUE(std::ranges::is_permutation(Lines, Expected));
    EXPECT_EQ(Lines.size(), Expected.size());
}

// What the throwing verbs answer is what callers see; a positive code thrown on would be taken for a success.
TEST(FunctionLog, RecordsAndThrows)
{
    const CLogWatch watch;
    std::vector<HRESULT> Results;
    const auto Result = [&](const auto& body) {
        CFunctionLog log("CThing::Read");
        ::SetLastError(1234);
        Results.push_back(log.Run([&] { body(log); }));
        EXPECT_EQ(::GetLastError(), 1234u) << "logging has changed the last error";
    };
    Result([](const CFunctionLog& log) { log.Warning(L"told %d", 5); log.Assert(L"on"); log.Error(L"and on"); log.Judge(L"judged"); });
    Result([](const CFunctionLog& log) { log.Judge(nullptr); log.Check(S_FALSE, L"%s [0x%08X]", std::wstring(L"fine")); });
    Result([](const CFunctionLog& log) { log.Throw(E_ACCESSDENIED, nullptr); });
    Result([](const CFunctionLog& log) { log.Throw(ERROR_ACCESS_DENIED, L"positive"); });
    Result([](const CFunctionLog& log) { log.Check(E_POINTER, L"%s [0x%08X]", std::wstring(L"%s")); });
    Result([](const CFunctionLog& log) { log.Fail(E_ABORT, L"%s", std::wstring(3000, L'x')); });
    EXPECT_THAT(Results, ElementsAre(S_OK, S_OK, E_ACCESSDENIED, E_FAIL, E_POINTER, E_ABORT));
    const std::string sName = "[CThing::Read] ";
    EXPECT_THAT(watch.Records(), ElementsAre(sName + "told 5", sName + "on", sName + "and on", sName + "judged", sName + "positive", sName + "%s [0x80004003]",
                                             sName + std::string(2047 - 6 - sName.size(), 'x')));
}

} // namespace
