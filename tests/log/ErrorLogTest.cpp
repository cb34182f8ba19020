#include <gmock/gmock.h>

#include <map>
#include <regex>
#include <sstream>
#include <thread>

#include "log/FunctionLog.h"
#include "log/LogSysInfo.h"
#include "log/LogSystem.h"
#include "log/OutputErrorLogIO.h"
#include "opdutility/OpdExecFile.h"
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

std::unique_ptr<CLogSystem> MakeLog(const std::wstring& sPath, DWORD dwLimit = 0x200000,
                                    Encoding eEncoding = Encoding::Ansi, const wchar_t* pTitle = L"")
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
    const auto pSecond = MakeLog(folder / L"a.log");
    pSecond->WriteErrorLog(L"three");
    const auto pOther = MakeLog(folder / L"b.log", 0x200000, Encoding::Utf8, L"Title");
    pOther->WriteErrorLog(L"\u2502");
    MakeLog(folder / L"b.log", 0x200000, Encoding::Utf8)->WriteErrorLog(L"x");
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
    EXPECT_EQ(ReadBytes(folder / L"a.log"), std::string(Bom) + "2222\xE6\x97\xA5"
                                                               "2\r\n33333333\r\n44444444\r\n");
    EXPECT_FALSE(FileExists(folder / L"a.log.bak"));
}

// The main run and its collectors write at once: each line must be whole, and no process may lose one. The test starts
// its own program; the variable tells a child where to write.
TEST(ErrorLog, IsSharedByManyProcesses)
{
    constexpr const wchar_t* Mark = L"KELVARIN_TEST_ERRORLOG";
    std::wstring sAll = FormatText(L"%s\n%s\n%s\n", std::wstring(79, L'-'), ModulePath(), std::wstring(79, L'-'));
    std::vector<std::wstring> Lines;
    for (std::size_t n = 0; n < 40; ++n)
        sAll += Lines.emplace_back(200 + n, L'\u65e5') + L'\n';
    wchar_t aMark[MAX_PATH] = L"";
    if (::GetEnvironmentVariableW(Mark, aMark, MAX_PATH) != 0)
    {
        const CKernelHandle hGo(::CreateEventW(nullptr, TRUE, FALSE, FileNamePart(aMark).data()));
        ::WaitForSingleObject(hGo.Get(), 30000);
        const auto pLog = MakeLog(aMark, 0x200000, Encoding::Utf8);
        for (const std::wstring& sLine : Lines)
            pLog->WriteErrorLog(sLine.c_str());
        return;
    }

    const CTestFolder folder;
    const std::wstring sName = FormatText(L"Shared%u.log", ::GetCurrentProcessId());
    const CKernelHandle hGo(::CreateEventW(nullptr, TRUE, FALSE, sName.c_str()));
    ::SetEnvironmentVariableW(Mark, (folder / sName).c_str());
    const std::wstring sSwitches = L"-l" + folder.Path() + L" -path:result" + folder.Path() +
                                   L" --gtest_filter=ErrorLog.IsSharedByManyProcesses";
    std::vector<DWORD> ExitCodes(8, 99);
    std::vector<std::thread> Threads;
    for (DWORD& rdwExitCode : ExitCodes)
        Threads.emplace_back([&] { COpdExecFile::Execute(ModulePath(), sSwitches, &rdwExitCode); });
    ::Sleep(1500); // most children have come to the event by then
    ::SetEvent(hGo.Get());
    for (std::thread& rThread : Threads)
        rThread.join();
    ::SetEnvironmentVariableW(Mark, nullptr);
    EXPECT_THAT(ExitCodes, testing::Each(0u));

    std::map<std::string, std::string> ByProcess;
    std::istringstream Text(ReadBytes(folder / sName).substr(3));
    for (std::string sLine; std::getline(Text, sLine);)
    {
        const std::size_t nText = sLine.find("] ");
        ByProcess[sLine.substr(21, nText - 21)] += sLine.substr(nText + 2, sLine.size() - nText - 3) + '\n';
    }
    EXPECT_EQ(ByProcess.size(), ExitCodes.size());
    for (const auto& [sProcess, sText] : ByProcess)
        EXPECT_EQ(sText, Utf8(sAll)) << sProcess;
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
    });
    Result([](const CFunctionLog& log) {
        log.Judge(nullptr);
        log.Check(S_FALSE, L"%s [0x%08X]", std::wstring(L"fine"));
    });
    Result([](const CFunctionLog& log) { log.Throw(ERROR_ACCESS_DENIED, L"positive"); });
    Result([](const CFunctionLog& log) { log.Check(E_POINTER, L"%s [0x%08X]", std::wstring(L"%s")); });
    Result([](const CFunctionLog& log) { log.Fail(E_ABORT, L"%s", std::wstring(3000, L'x')); });
    EXPECT_THAT(Results, ElementsAre(S_OK, S_OK, E_FAIL, E_POINTER, E_ABORT));
    const std::string sName = "[CThing::Read] ";
    EXPECT_THAT(watch.Records(),
                ElementsAre(sName + "told 5", sName + "on", sName + "and on", sName + "judged", sName + "positive",
                            sName + "%s [0x80004003]", sName + std::string(2047 - 6 - sName.size(), 'x')));
}

} // namespace
