#include <gmock/gmock.h>

#include <shlobj.h>

#include <map>
#include <regex>
#include <thread>

#include "log/FileIO.h"
#include "log/FunctionLog.h"
#include "opdutility/OpdExecFile.h"
#include "opdutility/OpdFileHelper.h"
#include "platform/AnsiText.h"
#include "platform/Path.h"
#include "support/TestFolder.h"

using namespace opLogSys;

namespace
{

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
        { L"", sProgram },
        { L"current", sProgram },
        { L".\\trace-%DATE%", sProgram + L"trace-20240203\\" },
        { folder / L"there", folder / L"there\\" },
        { folder / L"there\\file.txt", folder / L"there\\" },
        { folder / L"new\\%DATE%-%TIME%", folder / L"new\\20240203-040506\\" },
        { std::wstring(65536, L'l'), sProgram },
    };
    for (const auto& rCase : aCases)
    {
        EXPECT_EQ(Utf8(File::ResolveTraceFolder(rCase.sLocation, { 2024, 2, 0, 3, 4, 5, 6, 7 })), Utf8(rCase.sFolder));
        EXPECT_TRUE(FileExists(rCase.sFolder)) << Utf8(rCase.sFolder);
    }
    ::RemoveDirectoryW((sProgram + L"trace-20240203").c_str());
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
    folder.Write(L"Kelvarin.log.xml",
                 "<LOG><FACTORY name='IOutputLogSystemFactory' class='opLogSys::File::COutputLogSystemFactory' "
                 "autoflush='true' location='.\\trace'/>"
                 "<FILTERLIST><FILTER subject='CTraced' minLevel='10' maxLevel='10'/><FILTER subject='CUntraced' "
                 "minLevel='0' maxLevel='9'/></FILTERLIST></LOG>");
    ::SetEnvironmentVariableW(Mark, L"1");
    DWORD dwExitCode = 99;
    EXPECT_EQ(COpdExecFile::Execute(sProgram,
                                    L"-l" + folder.Path() + L" -path:result" + folder.Path() +
                                        L" --gtest_filter=Trace.HoldsTheScopesThatPassAndAllRecords",
                                    &dwExitCode),
              S_OK);
    ::SetEnvironmentVariableW(Mark, nullptr);
    EXPECT_EQ(dwExitCode, 0u);

    std::vector<std::wstring> Names;
    ASSERT_EQ(COpdFileHelper::FindFiles(folder / L"trace\\Kelvarin-*.log", Names), S_OK);
    ASSERT_EQ(Names.size(), 1u);
    const std::string sTrace = ReadBytes(folder / (L"trace\\" + Names[0]));
    const std::regex Line(
        "\\[([0-9A-F]{8})\\]\\[\\d{4}/\\d\\d/\\d\\d\\(\\d\\d:\\d\\d:\\d\\d\\.\\d{3}\\)\\]([^\r]*)\r\n");
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
        sExpected += L"┌ CTraced::Outer()\n│ at 7\n│┌ CTraced::Inner()\n││ told\n│└ CTraced::Inner()\n└ "
                     L"CTraced::Outer() : return 0x80004004 [-2147467260]\n│ at the end\n";
    for (const auto& rThread : Threads)
        EXPECT_EQ(rThread.second, ToNarrow(sExpected, CP_ACP));

    const std::string sErrors = ReadBytes(folder / L"Kelvarin.log");
    const std::regex Record("\\] (\\d{5}):\\[CTraced::Inner\\] told\r\n");
    std::smatch Found;
    ASSERT_TRUE(std::regex_search(sErrors, Found, Record));
    EXPECT_EQ(std::stoi(Found.str(1)), CTraced::ToldLine);
    EXPECT_EQ(std::distance(std::sregex_iterator(sErrors.begin(), sErrors.end(), Record), std::sregex_iterator()),
              2 * Rounds);
}

} // namespace
