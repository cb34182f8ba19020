#include "app/CmdLineParam.h"

#include <shellapi.h>
#include <shlobj.h>

#include <gmock/gmock.h>

#include <sstream>

#include "platform/CodePage.h"
#include "platform/Format.h"
#include "platform/Path.h"
#include "support/Golden.h"
#include "support/ImportPatch.h"

namespace
{

// A switch read otherwise sends a child process to the wrong mode or folder; support scripts rely on the oddities. Each
// line of the document is a command line.
TEST(CmdLineParam, ReadsEverySwitchAndIgnoresTheRest)
{
    std::istringstream Lines(Document(L"app/CommandLines.txt"));
    std::string sRead;
    for (std::string sLine; std::getline(Lines, sLine);)
    {
        int nArguments = 0;
        // The program's own name is no switch.
        wchar_t** const ppArguments = ::CommandLineToArgvW((L"-s " + ToWide(sLine)).c_str(), &nArguments);
        CCmdLineParam param;
        EXPECT_EQ(param.Parse(ppArguments, nArguments), S_OK);
        ::LocalFree(ppArguments);
        sRead += sLine + "\r\n  " +
                 Utf8(FormatText(L"%u%s%s out=%s repository=%s nuvex=%s registry=%s\r\n", param.m_nExecMode,
                                 param.m_bSilent ? L" s" : L"", param.m_bSxS ? L" x" : L"", param.GetOutDirPath(),
                                 param.GetRepositoryDirPath(), param.GetNuvexDirPath(), param.GetRegistryPath()));
    }
    ExpectGolden(L"app/CommandLinesRead.txt", sRead, L"");
}

// Two calls that disagree about the time would spread one run over two folders.
TEST(CmdLineParam, KeepsToOneDatedFolderOnTheDesktop)
{
    const CTestFolder folder;
    const auto desktop = FakeImport<decltype(::SHGetSpecialFolderPathW)>(
        "SHGetSpecialFolderPathW", [&](auto, auto pPath, int nCsidl, BOOL bCreate) {
            ::lstrcpyW(pPath, folder.Path().c_str());
            return nCsidl == CSIDL_DESKTOPDIRECTORY && !bCreate;
        });
    std::wstring sLog, sResult;
    EXPECT_EQ(CCmdLineParam().GetResultDirPath(sResult), S_OK);
    const auto later = FakeImport<decltype(::GetLocalTime)>(
        "GetLocalTime", [](auto pTime) { *pTime = { 2099, 12, 4, 31, 23, 59, 58, 0 }; });
    EXPECT_EQ(CCmdLineParam().GetLogDirPath(sLog), S_OK);
    EXPECT_EQ(sResult, sLog + L"\\Log");
    EXPECT_TRUE(PathExists(sResult));
    EXPECT_EQ(DirectoryPart(sLog), folder / L"Velmora_Install_Status_log");
    EXPECT_THAT(Utf8(FileNamePart(sLog)), ::testing::MatchesRegex("20\\d\\d-\\d\\d-\\d\\d-\\d\\d\\d\\d\\d\\d"));
}

} // namespace
