#include <gmock/gmock.h>

#include <shlobj.h>

#include <map>
#include <regex>
#include <thread>

#include "log/FileIO.h"
#include "log/FunctionLog.h"
#include "log/Log.h"
#include "opdutility/OpdExecFile.h"
#include "opdutility/OpdFileHelper.h"
#include "platform/AnsiText.h"
#include "platform/LocalTime.h"
#include "platform/Path.h"
#include "support/TestFolder.h"

using namespace opLogSys;

namespace
{

// An output that keeps what comes.
class CTextIO final : public Common::CReferenceCounted<ILogIO>
{
public:
    LONG Open() override { return ++nOpen; }
    LONG Close() override { return --nOpen; }
    void WriteLine(const wchar_t*) override { ADD_FAILURE(); }
    void WriteText(const wchar_t* pText) override
    {
        EXPECT_GT(nOpen, 0) << "lines of two threads would mix";
        sText += pText;
    }
    void Flush() override { ++nFlushed; }

    std::wstring sText;
    LONG nOpen = 0;
    int nFlushed = 0;
};

// The depth is how a reader finds the caller; deep recursion must not fill the line with bars.
TEST(Trace, ShowsTheDepthAsBars)
{
    const SYSTEMTIME Time{ 2024, 2, 0, 3, 4, 5, 6, 7 };
    const struct
    {
        int nLeave, nEnter;
        std::size_t nBars;
    } aCases[] = { { 0, 0, 0 }, { 0, 1, 0 }, { 0, 2, 1 }, { 0, 64, 63 }, { 0, 70, 63 }, { 3, 1, 0 }, { 3, 2, 1 } };
    for (const auto& rCase : aCases)
    {
        const auto pOutput = Common::CReference<CTextIO>::Own(new CTextIO);
        const auto pLog = Common::CReference<ILog>::Own(new CLog(0x2A, pOutput.Get()));
        for (int n = 0; n < rCase.nLeave; ++n)
            EXPECT_EQ(pLog->Leave(), 0);
        for (int n = 0; n < rCase.nEnter; ++n)
            pLog->Enter();
        pLog->BeginGroup();
        pLog->BeginGroup();
        pLog->WriteAt(Time, L"text");
        pLog->EndGroup();
        EXPECT_EQ(pOutput->nFlushed, 0);
        pLog->EndGroup();
        EXPECT_EQ(pOutput->nFlushed, 1);
        EXPECT_EQ(pOutput->nOpen, 0);
        EXPECT_EQ(Utf8(pOutput->sText), Utf8(L"[0000002A][2024/02/03(04:05:06.007)]" + std::wstring(rCase.nBars, L'\u2502') + L"text\r\n"));
    }
}

// Whatever the location says, the trace must come to stand in a folder that exists.
TEST(Trace, FindsItsFolder)
{
    const CTestFolder folder;
    folder.Write(L"there\\file.txt", "x");
    std::wstring sDesktop;
    ASSERT_TRUE(GetSpecialFolder(CSIDL_DESKTOP, true, sDesktop));
    const std::wstring sProgram = ModuleDirPath() + L"\\";
    const struct
    {
        std::wstring sLocation, sFolder;
    } aCases[] = {
        { L"desktop", sDesktop + L"\\" },
        { L"%DESKTOP%", sDesktop + L"\\" },
        { L"", sProgram },
        { L"current", sProgram },
        { L"Current", sProgram }, // a relative path, which cannot be made
        { L".\\trace-%DATE%", sProgram + L"trace-20240203\\" },
        { folder / L"there", folder / L"there\\" },
        { folder / L"there\\", folder / L"there\\" },
        { folder / L"there\\file.txt", folder / L"there\\" },
        { folder / L"there\\file.txt\\below", sProgram },
        { folder / L"new\\%DATE%-%TIME%", folder / L"new\\20240203-040506\\" },
        { L"Q:\\none", sProgram },
        { std::wstring(65536, L'l'), sProgram },
    };
    for (const auto& rCase : aCases)
    {
        EXPECT_EQ(Utf8(File::ResolveTraceFolder(rCase.sLocation, { 2024, 2, 0, 3, 4, 5, 6, 7 })), Utf8(rCase.sFolder));
        EXPECT_TRUE(FileExists(rCase.sFolder)) << Utf8(rCase.sFolder);
    }
    ::RemoveDirectoryW((sProgram + L"trace-20240203").c_str());
}

// Two processes of one second must not write into each other's file; the mark stands at each file's start.
TEST(Trace, TakesTheNextNameWhenItsOwnIsTaken)
{
    const auto Make = [](const std::wstring& sLocation) {
        return Common::CReference<ILogIO>::Own(new File::CFileIO(L"Kelvarin", false, sLocation, Encoding::Utf8));
    };
    std::vector<std::wstring> Names;
    for (int n = 0; n < 5; ++n)
    {
        const CTestFolder folder;
        const WORD wSecond = LocalNow().wSecond;
        const auto pFirst = Make(folder.Path());
        const auto pSecond = Make(folder.Path());
        if (LocalNow().wSecond != wSecond)
            continue; // no longer of one second: once more
        pFirst->WriteLine(L"a");
        pSecond->WriteText(L"b");
        pFirst->WriteText(L"c");
        ASSERT_EQ(COpdFileHelper::FindFiles(folder / L"*.log", Names), S_OK);
        ASSERT_EQ(Names.size(), 2u);
        std::ranges::sort(Names, {}, &std::wstring::size);
        EXPECT_TRUE(std::regex_match(Utf8(Names[0]), std::regex("Kelvarin-\\d{4}-\\d\\d-\\d\\d \\[\\d\\d-\\d\\d-\\d\\d\\]\\.log")));
        EXPECT_EQ(Names[1], WithNameTail(Names[0], L"[01]"));
        EXPECT_EQ(ReadBytes(folder / Names[0]), "\xEF\xBB\xBF" "a\r\nc");
        EXPECT_EQ(ReadBytes(folder / Names[1]), "\xEF\xBB\xBF" "b");
        return;
    }
    FAIL() << "never twice within one second";
}

struct CTraced
{
    static HRESULT Outer()
    {
        CFunctionLog log;
        return log.Run([&] {
            log.Trace(L"at %d", 7);
            Inner();
            log.Throw(E_ABORT);
        });
    }
    static void Inner()
    {
        CFunctionLog log;
        log.Warning(L"told");
    }
    static constexpr int ToldLine = __LINE__ - 2;
};
struct CUntraced
{
    static void Call()
    {
        CFunctionLog log;
        log.Trace(L"unseen");
        CTraced::Outer();
        log.Error(L"at the end");
    }
};
constexpr int Rounds = 10;

// A run with a configuration beside the program: the scopes of the classes that pass, by thread, and every record in
// both streams. The test runs a copy of its own program; the variable tells the child what it is.
TEST(Trace, HoldsTheScopesThatPassAndAllRecords)
{
    constexpr const wchar_t* Mark = L"KELVARIN_TEST_TRACE";
    if (::GetEnvironmentVariableW(Mark, nullptr, 0) != 0)
    {
        const auto Run = [] {
            for (int n = 0; n < Rounds; ++n)
                CUntraced::Call();
        };
        std::thread first(Run);
        std::thread second(Run);
        first.join();
        second.join();
        return;
    }

    const CTestFolder folder;
    const std::wstring sProgram = folder / L"traced.exe";
    ASSERT_TRUE(::CopyFileW(ModulePath().c_str(), sProgram.c_str(), TRUE));
    folder.Write(L"Kelvarin.log.xml", "<LOG><FACTORY name='IOutputLogSystemFactory' class='opLogSys::File::COutputLogSystemFactory' autoflush='true' location='.\\trace'/>"
                                      "<FILTERLIST><FILTER subject='CTraced' minLevel='10' maxLevel='10'/><FILTER subject='CUntraced' minLevel='0' maxLevel='9'/></FILTERLIST></LOG>");
    ::SetEnvironmentVariableW(Mark, L"1");
    DWORD dwExitCode = 99;
    EXPECT_EQ(COpdExecFile::Execute(sProgram, L"-l" + folder.Path() + L" -path:result" + folder.Path() + L" --gtest_filter=Trace.HoldsTheScopesThatPassAndAllRecords", &dwExitCode), S_OK);
    ::SetEnvironmentVariableW(Mark, nullptr);
    EXPECT_EQ(dwExitCode, 0u);

    std::vector<std::wstring> Names;
    ASSERT_EQ(COpdFileHelper::FindFiles(folder / L"trace\\Kelvarin-*.log", Names), S_OK);
    ASSERT_EQ(Names.size(), 1u);
    const std::string sTrace = ReadBytes(folder / (L"trace\\" + Names[0]));
    const std::regex Line("\\[([0-9A-F]{8})\\]\\[\\d{4}/\\d\\d/\\d\\d\\(\\d\\d:\\d\\d:\\d\\d\\.\\d{3}\\)\\]([^\r]*)\r\n");
    std::map<std::string, std::string> Threads;
    std::size_t nLength = 0;
    for (std::sregex_iterator it(sTrace.begin(), sTrace.end(), Line); it != std::sregex_iterator(); ++it)
    {
        Threads[it->str(1)] += it->str(2) + "\n";
        nLength += it->str().size();
    }
    EXPECT_EQ(nLength, sTrace.size()) << "torn lines";
    EXPECT_EQ(Threads.size(), 2u);
    std::wstring sExpected;
    for (int n = 0; n < Rounds; ++n)
        sExpected += L"┌ CTraced::Outer()\n│ at 7\n│┌ CTraced::Inner()\n││ told\n│└ CTraced::Inner()\n└ CTraced::Outer() : return 0x80004004 [-2147467260]\n│ at the end\n";
    for (const auto& rThread : Threads)
        EXPECT_EQ(rThread.second, ToNarrow(sExpected, CP_ACP));

    const std::string sErrors = ReadBytes(folder / L"Kelvarin.log");
    const std::regex Record("\\] (\\d{5}):\\[CTraced::Inner\\] told\r\n");
    std::smatch Found;
    ASSERT_TRUE(std::regex_search(sErrors, Found, Record));
    EXPECT_EQ(std::stoi(Found.str(1)), CTraced::ToldLine);
    EXPECT_EQ(std::distance(std::sregex_iterator(sErrors.begin(), sErrors.end(), Record), std::sregex_iterator()), 2 * Rounds);
}

} // namespace
