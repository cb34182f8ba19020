// Manifests that are broken, huge or made to do harm: a result code and a line, never a crash.
#include <algorithm>

#include <gmock/gmock.h>

#include "e2e/Program.h"

namespace
{

using ::testing::Contains;
using ::testing::HasSubstr;

constexpr DWORD Fail = static_cast<DWORD>(E_FAIL);
const std::string Head = "<installchecker><file-infos><directory name='C:\\windows'>";
const std::string Tail = "</directory></file-infos></installchecker>";

// Each entity is ten of the one before it: a billion at the end.
std::string EntityBomb()
{
    std::string sText = "<!DOCTYPE installchecker [<!ENTITY e0 'lol'>";
    for (int n = 1; n < 10; ++n)
    {
        sText += "<!ENTITY e" + std::to_string(n) + " '";
        for (int nTimes = 0; nTimes < 10; ++nTimes)
            sText += "&e" + std::to_string(n - 1) + ";";
        sText += "'>";
    }
    return sText + "]>" + Head + "<file name='&e9;'/>" + Tail;
}

const struct
{
    const char* pTitle;
    std::string sManifest;
    DWORD dwExitCode;
    const char* pLog;                 // part of a line of the log
    std::vector<std::string> Results; // the lines behind the head
} Cases[] = {
    { "empty", "", Fail, "pXmlDoc->load( \"", {} },
    { "no XML", std::string("\0\x01MZ\xff", 5), Fail, "pXmlDoc->load( \"", {} },
    { "truncated", Head + "<file name='win.ini'/><file na", Fail, "pXmlDoc->load( \"", {} },
    { "another root", "<kelvarin><file-infos/></kelvarin>", Fail, "pXmlDoc->selectSingleNode() failed.", {} },
    { "entity bomb", EntityBomb(), Fail, "pXmlDoc->load( \"", {} },
    { "unknown elements and attributes",
      "<installchecker s='%s' x='%n'><other/><file-infos x=''><file name='a'/><directory name='C:\\windows' y=''><file "
      "z='' name='gone'><b/></file></directory></file-infos></installchecker>",
      0,
      "=> *** exec: main ***",
      { "Failed: File is not found.\"C:\\windows\\gone\"" } },
    { "signs of formats and quotes in names",
      Head + "<file name='%s%n%d&quot;&lt;'/><file name='%s%n' version='%s' size='%n'/>" + Tail,
      0,
      "[CFileInfoChecker::CheckFileInfos] CheckFileInfo( \"C:\\windows\\%s%n\" ) failed. [0x80004005]",
      { "Failed: File is not found.\"C:\\windows\\%s%n%d\"<\"", "Failed: File is not found.\"C:\\windows\\%s%n\"" } },
    { "an attribute of 64 KiB, and a line too long for the result file",
      Head + "<file name='" + std::string(65536, 'a') + "'/><file name='after'/>" + Tail,
      0,
      "::_vsntprintf_s() failed. [-1]",
      { "Failed: File is not found.\"C:\\windows\\after\"" } },
};

// A manifest comes with a download or from a customer; one bad file must not crash the tool or read memory.
TEST(Manifest, GivesAResultAndALogLineWhateverItHolds)
{
    for (const auto& rCase : Cases)
    {
        SCOPED_TRACE(rCase.pTitle);
        const CInstallation installation(rCase.sManifest);
        EXPECT_EQ(installation.Run(L"-s").dwExitCode, rCase.dwExitCode);
        std::vector<std::string> Lines = installation.ResultLines();
        ASSERT_GE(Lines.size(), 2u);
        EXPECT_EQ(std::vector(Lines.begin() + 2, Lines.end()), rCase.Results);
        EXPECT_THAT(installation.LogLines(), Contains(::testing::Field(&CLogLine::sText, HasSubstr(rCase.pLog))));
    }
}

// Work that grows with the square of the entries would take hours here.
TEST(Manifest, IsCheckedInTimeWithAHundredThousandEntries)
{
    constexpr int Count = 100000;
    std::string sManifest = Head;
    for (int n = 0; n < Count; ++n)
        sManifest += "<file name='win.ini'/>";
    const CInstallation installation(sManifest + Tail);
    EXPECT_EQ(installation.Run(L"-s", 60000).dwExitCode, 0u);
    EXPECT_EQ(std::ranges::count(installation.ResultLines(), "Succeeded: Check File Info \"C:\\windows\\win.ini\""),
              Count);
}

} // namespace
