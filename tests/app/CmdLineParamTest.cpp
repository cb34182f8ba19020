#include "app/CmdLineParam.h"

#include <shlobj.h>
#include <shlwapi.h>

#include <gmock/gmock.h>

#include "platform/Format.h"
#include "support/ImportPatch.h"
#include "support/TestFolder.h"

namespace
{

CCmdLineParam Parsed(std::vector<const wchar_t*> Arguments)
{
    Arguments.insert(Arguments.begin(), L"-s"); // the program's own name is no switch
    CCmdLineParam param;
    EXPECT_EQ(param.Parse(Arguments.data(), static_cast<int>(Arguments.size())), S_OK);
    return param;
}

std::string Described(const CCmdLineParam& rParam)
{
    return Utf8(FormatText(L"%u%s%s out=%s repository=%s nuvex=%s registry=%s", rParam.m_nExecMode,
                           rParam.m_bSilent ? L" s" : L"", rParam.m_bSxS ? L" x" : L"", rParam.GetOutDirPath(),
                           rParam.GetRepositoryDirPath(), rParam.GetNuvexDirPath(), rParam.GetRegistryPath()));
}

std::wstring g_sDesktop;

BOOL WINAPI FakeSpecialFolder(HWND, wchar_t* pPath, int nCsidl, BOOL bCreate)
{
    if (nCsidl != CSIDL_DESKTOPDIRECTORY || bCreate)
        return FALSE;
    g_sDesktop.copy(pPath, MAX_PATH);
    pPath[g_sDesktop.size()] = L'\0';
    return TRUE;
}

void WINAPI FakeLocalTime(SYSTEMTIME* pTime)
{
    *pTime = { 2099, 12, 4, 31, 23, 59, 58, 0 };
}

// A switch read otherwise sends a child process to the wrong mode or folder; support scripts rely on the oddities.
TEST(CmdLineParam, ReadsEverySwitchAndIgnoresTheRest)
{
    const std::string sNone = " out= repository= nuvex= registry=";
    // clang-format off
    const std::pair<std::vector<const wchar_t*>, std::string> aCases[] = {
        { {}, "0" + sNone },
        { { L"-s" }, "0 s" + sNone },
        { { L"s" }, "0 s" + sNone },
        { { L"-system" }, "0 s" + sNone },
        { { L"-S", L"--s", L"", L"-", L"/" }, "0" + sNone },
        { { L"/xyz" }, "0 x" + sNone },
        { { L"-lC:\\a b\\-s" }, "0 out=C:\\a b\\-s repository= nuvex= registry=" },
        { { L"-log" }, "0 out=og repository= nuvex= registry=" },
        { { L"-license", L"-lb" }, "0 out=b repository= nuvex= registry=" },
        { { L"-la", L"-l" }, "0" + sNone },
        { { L"-path:repositoryC:\\r", L"-path-nuvexN", L"/pathXregistryA\\B" }, "0 out= repository=C:\\r nuvex=N registry=A\\B" },
        { { L"-path:nuvexN", L"-path:nuvexM" }, "0 out= repository= nuvex=M registry=" },
        { { L"-path", L"-path:", L"-path:repo", L"-PATH:nuvexN", L"-path:fileF", L"-path:Nuvex" }, "0" + sNone },
        { { L"/collect=driverfoo" }, "7" + sNone },
        { { L"collect:license" }, "8" + sNone },
        { { L"-collect:logging" }, "9" + sNone },
        { { L"-collect:asiofoo" }, "0" + sNone },
        { { L"-collect", L"-collect:", L"-collectsystem", L"-collect:nothing", L"-create", L"-create:", L"-create:back" }, "0" + sNone },
        { { L"-create-hwinfo2", L"-collect:nothing" }, "12" + sNone },
        { { L"-create:hwinfo", L"-collect:log" }, "9" + sNone },
    };
    // clang-format on
    for (const auto& [Arguments, sExpected] : aCases)
        EXPECT_EQ(Described(Parsed(Arguments)), sExpected) << (Arguments.empty() ? "" : Utf8(Arguments[0]));
}

// Two calls that disagree about the time would spread one run over two folders.
TEST(CmdLineParam, KeepsToOneDatedFolderOnTheDesktop)
{
    const CTestFolder folder;
    const CImportPatch<decltype(::SHGetSpecialFolderPathW)> patch("SHGetSpecialFolderPathW", FakeSpecialFolder);
    g_sDesktop = folder.Path();
    std::wstring sLog, sResult;
    EXPECT_EQ(CCmdLineParam().GetResultDirPath(sResult), S_OK);
    const CImportPatch<decltype(::GetLocalTime)> later("GetLocalTime", FakeLocalTime);
    EXPECT_EQ(CCmdLineParam().GetLogDirPath(sLog), S_OK);
    EXPECT_EQ(sResult, sLog + L"\\Log");
    EXPECT_TRUE(::PathIsDirectoryW(sResult.c_str()));
    ASSERT_TRUE(sLog.starts_with(folder / L"Velmora_Install_Status_log\\"));
    EXPECT_THAT(Utf8(sLog.substr(sLog.rfind(L'\\') + 1)),
                ::testing::MatchesRegex("20\\d\\d-\\d\\d-\\d\\d-\\d\\d\\d\\d\\d\\d"));
}

} // namespace
