// The logs that all processes of a run share.
#include <algorithm>
#include <filesystem>
#include <map>
#include <memory>
#include <regex>

#include <gmock/gmock.h>

#include "e2e/Program.h"

namespace
{

using ::testing::ElementsAre;
using ::testing::HasSubstr;

// Lines of parent and children would mix, or one of them would not introduce itself.
TEST(ErrorLog, HoldsWholeLinesAndOneBannerForEachOfEightProcesses)
{
    std::string sManifest = "<installchecker><file-infos><directory name='C:\\no such folder'>";
    for (int n = 0; n < 200; ++n)
        sManifest += "<file name='gone'/>";
    const CInstallation installation(sManifest + "</directory></file-infos></installchecker>");
    std::vector<std::unique_ptr<CProgramRun>> Runs;
    Runs.push_back(std::make_unique<CProgramRun>(installation.CommandLine(L"-s")));
    for (const wchar_t* pSwitch :
         { L"velmora", L"system", L"registry", L"application", L"installer", L"hardware", L"asio" })
        Runs.push_back(std::make_unique<CProgramRun>(installation.CommandLine(std::wstring(L"-collect:") + pSwitch)));
    for (const auto& pRun : Runs)
        pRun->Watch(60000);

    std::map<DWORD, std::vector<std::string>> ByProcess;
    for (const CLogLine& rLine : installation.LogLines()) // throws at a torn line
        ByProcess[rLine.dwProcessId].push_back(rLine.sText);
    EXPECT_EQ(ByProcess.size(), Runs.size() + 12) << "the main run's own children write here too";
    const std::string sDashes(79, '-');
    for (const auto& pRun : Runs)
    {
        std::vector<std::string>& rLines = ByProcess[pRun->Id()];
        ASSERT_GT(rLines.size(), 5u);
        EXPECT_EQ(std::vector(rLines.begin(), rLines.begin() + 3),
                  (std::vector{ sDashes, Utf8(installation.Folder() / L"Kelvarin.exe"), sDashes }));
        EXPECT_EQ(std::ranges::count(rLines, sDashes), 2);
        EXPECT_THAT(rLines.back(), HasSubstr("CKelvarinApp::"));
    }
    EXPECT_EQ(
        std::ranges::count(ByProcess[Runs[0]->Id()],
                           "[CFileInfoChecker::CheckFileInfo] Failed: File is not found.\"C:\\no such folder\\gone\""),
        200);
}

// Without its trace nobody finds out what the program did on a customer's PC.
TEST(Trace, ShowsTheScopesOfTheClassThatTheFilterNames)
{
    const CInstallation installation("<installchecker><file-infos><directory name='C:\\windows'><file "
                                     "name='gone'/></directory></file-infos></installchecker>");
    const std::wstring sTrace = installation.Folder() / L"trace";
    installation.Folder().Write(
        L"Kelvarin.log.xml",
        "<log><FACTORY name='IOutputLogSystemFactory' class='opLogSys::File::COutputLogSystemFactory' autoflush='true' "
        "location='" +
            Utf8(sTrace) +
            "'/><FILTERLIST><FILTER subject='CFileInfoChecker' minLevel='0' maxLevel='10'/></FILTERLIST></log>");
    EXPECT_EQ(installation.Run(L"-s").dwExitCode, 0u);

    std::vector<std::string> Scopes;
    for (const auto& rEntry : std::filesystem::directory_iterator(sTrace))
    {
        EXPECT_TRUE(std::regex_match(rEntry.path().filename().string(),
                                     std::regex(R"(Kelvarin-\d{4}-\d\d-\d\d \[\d\d-\d\d-\d\d\](\[\d\d\])?\.log)")));
        for (const std::string& rLine : ReadLines(rEntry.path().wstring()))
        {
            static const std::regex Scope(
                R"(\[[0-9A-F]{8}\]\[\d{4}/\d\d/\d\d\(\d\d:\d\d:\d\d\.\d{3}\)\]\S* (\w+::\w+\(\)(?: : return .*)?))");
            if (std::smatch Match; std::regex_match(rLine, Match, Scope))
                Scopes.push_back(Match[1]);
        }
    }
    EXPECT_THAT(Scopes, ElementsAre("CFileInfoChecker::CheckFileInfos()", "CFileInfoChecker::CheckFileInfo()",
                                    "CFileInfoChecker::CheckFileInfo() : return 0x80004005 [-2147467259]",
                                    "CFileInfoChecker::CheckFileInfos() : return 0x00000000 [0]"));
}

} // namespace
