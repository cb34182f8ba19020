#include <gtest/gtest.h>

#include <shlobj.h>

#include <map>
#include <regex>
#include <thread>

#include "log/FileIO.h"
#include "log/FunctionLog.h"
#include "opdutility/OpdExecFile.h"
#include "platform/CodePage.h"
#include "platform/Path.h"
#include "support/Golden.h"

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
    const std::pair<std::wstring, std::wstring> aCases[] = {
        { L"desktop", sDesktop + L"\\" },
        { L"current", sProgram },
        { folder / L"there\\file.txt", folder / L"there\\" },
        { folder / L"new\\%DATE%-%TIME%", folder / L"new\\20240203-040506\\" },
        { std::wstring(65536, L'l'), sProgram },
    };
    for (const auto& [sLocation, sFolder] : aCases)
    {
        EXPECT_EQ(Utf8(File::ResolveTraceFolder(sLocation, { 2024, 2, 0, 3, 4, 5, 6, 7 })), Utf8(sFolder));
        EXPECT_TRUE(PathExists(sFolder)) << Utf8(sFolder);
    }
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
// both streams. The error log of before is all but full, and makes room. The test runs a copy of its own program; the
// variable tells the child what it is.
TEST(Trace, HoldsTheScopesThatPassAndAllRecords)
{
    constexpr const wchar_t* Mark = L"KELVARIN_TEST_TRACE";
    if (::GetEnvironmentVariableW(Mark, nullptr, 0) != 0)
    {
        const auto Run = [] {
            for (int n = 0; n < Rounds; ++n)
                CUntraced::Call();
        };
        std::thread other(Run);
        Run();
        other.join();
        return;
    }

    const CTestFolder folder;
    const std::wstring sProgram = folder / L"traced.exe";
    ASSERT_TRUE(::CopyFileW(ModulePath().c_str(), sProgram.c_str(), TRUE));
    folder.Write(L"Kelvarin.log.xml", Document(L"log/Trace.xml"));
    folder.Write(L"Kelvarin.log", std::string(0x200000, '-'));
    ::SetEnvironmentVariableW(Mark, L"1");
    const std::wstring sSwitches = L"-l" + folder.Path() + L" -path:result" + folder.Path() +
                                   L" --gtest_filter=Trace.HoldsTheScopesThatPassAndAllRecords";
    DWORD dwExitCode = 99;
    EXPECT_EQ(COpdExecFile::Execute(sProgram, sSwitches, &dwExitCode), S_OK);
    ::SetEnvironmentVariableW(Mark, nullptr);
    EXPECT_EQ(dwExitCode, 0u);

    std::string sTrace = FilesBelow(folder / L"trace");
    static const std::regex Name(R"(== Kelvarin-\d{4}-\d\d-\d\d \[\d\d-\d\d-\d\d\](\[\d\d\])?\.log\r\n)");
    sTrace = std::regex_replace(sTrace, Name, "", std::regex_constants::format_first_only);
    static const std::regex Line(R"(\[([0-9A-F]{8})\]\[\d{4}/\d\d/\d\d\(\d\d:\d\d:\d\d\.\d{3}\)\](.*)\r\n)");
    std::map<std::string, std::string> Threads;
    for (std::sregex_iterator it(sTrace.begin(), sTrace.end(), Line), itEnd; it != itEnd; ++it)
        Threads[it->str(1)] += it->str(2) + '\n';
    EXPECT_EQ(std::regex_replace(sTrace, Line, ""), "") << "torn lines";
    EXPECT_EQ(Threads.size(), 2u);
    for (const auto& [sThread, sText] : Threads)
        EXPECT_EQ(sText, ToNarrow(ToWide(Document(L"log/Trace.txt"), CP_UTF8), CP_ACP));

    EXPECT_GT(ReadBytes(folder / L"Kelvarin.log.bak").size(), 0x200000u);
    const std::string sErrors = ReadBytes(folder / L"Kelvarin.log");
    const std::regex Record("\\] 000" + std::to_string(CTraced::ToldLine) + ":\\[CTraced::Inner\\] told\r\n");
    EXPECT_EQ(std::distance(std::sregex_iterator(sErrors.begin(), sErrors.end(), Record), std::sregex_iterator()),
              2 * Rounds);
}

} // namespace
