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
    return Utf8(FormatText(L"%u%s%s out=%s repository=%s nuvex=%s registry=%s", rParam.m_nExecMode, rParam.m_bSilent ? L" s" : L"",
                           rParam.m_bSxS ? L" x" : L"", rParam.GetOutDirPath(), rParam.GetRepositoryDirPath(), rParam.GetNuvexDirPath(),
                           rParam.GetRegistryPath()));
}

std::wstring g_sDesktop; // empty: there is none

BOOL WINAPI FakeSpecialFolder(HWND, wchar_t* pPath, int nCsidl, BOOL bCreate)
{
    if (g_sDesktop.empty() || nCsidl != CSIDL_DESKTOPDIRECTORY || bCreate)
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
    const struct
    {
        std::vector<const wchar_t*> Arguments;
        std::string sExpected;
    } aCases[] = {
        { {}, "0" + sNone },
        { { L"-s" }, "0 s" + sNone },
        { { L"/s" }, "0 s" + sNone },
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
        { { L"-collect:velmora" }, "1" + sNone },
        { { L"-collect:system" }, "2" + sNone },
        { { L"-collect:registry" }, "3" + sNone },
        { { L"-collect:application" }, "4" + sNone },
        { { L"-collect:installer" }, "5" + sNone },
        { { L"-collect:hardware" }, "6" + sNone },
        { { L"/collect=driverfoo" }, "7" + sNone },
        { { L"collect:license" }, "8" + sNone },
        { { L"-collect:logging" }, "9" + sNone },
        { { L"-collect:asio" }, "10" + sNone },
        { { L"-collect:asiofoo" }, "0" + sNone },
        { { L"-collect", L"-collect:", L"-collectsystem", L"-collect:nothing", L"-create", L"-create:", L"-create:back" }, "0" + sNone },
        { { L"-create:backup" }, "11" + sNone },
        { { L"-create-hwinfo2", L"-collect:nothing" }, "12" + sNone },
        { { L"-create:hwinfo", L"-collect:log" }, "9" + sNone },
    };
    for (const auto& rCase : aCases)
        EXPECT_EQ(Described(Parsed(rCase.Arguments)), rCase.sExpected) << (rCase.Arguments.empty() ? "" : Utf8(rCase.Arguments[0]));
}

// A start without arguments must fall back to the defaults and not read the vector.
TEST(CmdLineParam, RefusesAMissingVectorAndABadCount)
{
    const wchar_t* const aArguments[] = { L"name", L"-s" };
    CCmdLineParam param;
    EXPECT_EQ(param.Parse(nullptr, 2), E_POINTER);
    EXPECT_EQ(param.Parse(aArguments, 0), E_INVALIDARG);
    EXPECT_EQ(param.Parse(aArguments, -1), E_INVALIDARG);
    EXPECT_FALSE(param.m_bSilent);
}

// The result file has no place to go when a folder is not made; a file in the way must be told.
TEST(CmdLineParam, MakesTheFoldersThatItGives)
{
    const CTestFolder folder;
    std::wstring sPath;
    const std::wstring sLog = folder / L"new\\log", sResult = folder / L"deep\\er\\result";
    const CCmdLineParam both = Parsed({ (L"-l" + sLog).c_str(), L"-path:resultC:\\unused", (L"-pathXresult" + sResult).c_str() });
    EXPECT_EQ(both.GetLogDirPath(sPath), S_OK);
    EXPECT_EQ(sPath, sLog);
    EXPECT_EQ(both.GetResultDirPath(sPath), S_OK);
    EXPECT_EQ(sPath, sResult);
    EXPECT_TRUE(::PathIsDirectoryW(sLog.c_str()) && ::PathIsDirectoryW(sResult.c_str()));
    EXPECT_FALSE(::PathIsDirectoryW(L"C:\\unused"));

    EXPECT_EQ(Parsed({ (L"-l" + sLog).c_str(), L"-path:result" }).GetResultDirPath(sPath), S_OK);
    EXPECT_EQ(sPath, sLog + L"\\Log");
    EXPECT_TRUE(::PathIsDirectoryW(sPath.c_str()));

    const std::wstring sFile = folder.Write(L"file", "");
    for (const std::wstring& sBad : { sFile, sFile + L"\\below" })
    {
        EXPECT_EQ(Parsed({ (L"-l" + sBad).c_str() }).GetLogDirPath(sPath), E_UNEXPECTED);
        EXPECT_EQ(Parsed({ (L"-path:result" + sBad).c_str() }).GetResultDirPath(sPath), E_UNEXPECTED);
    }
}

// Two calls that disagree about the time would spread one run over two folders.
TEST(CmdLineParam, KeepsToOneDatedFolderOnTheDesktop)
{
    const CTestFolder folder;
    const CImportPatch<decltype(::SHGetSpecialFolderPathW)> patch("SHGetSpecialFolderPathW", FakeSpecialFolder);
    g_sDesktop = folder.Path();
    std::wstring sLog, sResult;
    EXPECT_EQ(CCmdLineParam().GetResultDirPath(sResult), S_OK);
    {
        const CImportPatch<decltype(::GetLocalTime)> later("GetLocalTime", FakeLocalTime);
        EXPECT_EQ(CCmdLineParam().GetLogDirPath(sLog), S_OK);
    }
    EXPECT_EQ(sResult, sLog + L"\\Log");
    EXPECT_TRUE(::PathIsDirectoryW(sResult.c_str()));
    ASSERT_TRUE(sLog.starts_with(folder / L"Velmora_Install_Status_log\\"));
    EXPECT_THAT(Utf8(sLog.substr(sLog.rfind(L'\\') + 1)), ::testing::MatchesRegex("20\\d\\d-\\d\\d-\\d\\d-\\d\\d\\d\\d\\d\\d"));

    g_sDesktop.clear();
    EXPECT_EQ(CCmdLineParam().GetLogDirPath(sLog), E_UNEXPECTED);
    EXPECT_EQ(CCmdLineParam().GetResultDirPath(sLog), E_UNEXPECTED);
}

} // namespace
