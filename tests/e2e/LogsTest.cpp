// The logs that all processes of a run share.
#include <algorithm>
#include <map>
#include <memory>

#include <gmock/gmock.h>

#include "e2e/Program.h"

namespace
{

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

} // namespace
