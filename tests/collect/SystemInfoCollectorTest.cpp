#include "collect/SystemInfoCollector.h"

#include "collect/NetworkReportText.h"
#include "platform/Path.h"
#include "support/ImportPatch.h"
#include "support/ScratchKey.h"

namespace
{

using ::testing::EndsWith;

std::wstring g_sSystemDirPath;
std::vector<std::wstring> g_CommandLines;

UINT WINAPI FakeSystemDir(wchar_t* pPath, UINT nSize)
{
    ::lstrcpynW(pPath, g_sSystemDirPath.c_str(), static_cast<int>(nSize));
    return static_cast<UINT>(g_sSystemDirPath.size());
}
BOOL WINAPI FakeVersion(OSVERSIONINFOW* pVersion)
{
    pVersion->dwMajorVersion = 6;
    pVersion->dwMinorVersion = 1;
    pVersion->dwBuildNumber = 7601;
    pVersion->dwPlatformId = 2;
    ::lstrcpynW(pVersion->szCSDVersion, L"Service Pack 1 %s", 128);
    if (pVersion->dwOSVersionInfoSize < sizeof(OSVERSIONINFOEXW))
        return TRUE;
    auto* const pExtended = reinterpret_cast<OSVERSIONINFOEXW*>(pVersion);
    pExtended->wServicePackMajor = 1;
    pExtended->wServicePackMinor = 0;
    pExtended->wSuiteMask = 0x300;
    pExtended->wProductType = 1;
    return TRUE;
}
LCID WINAPI FakeLocale()
{
    return 0x411;
}
BOOL WINAPI FakeProcess(const wchar_t*, wchar_t* pLine, SECURITY_ATTRIBUTES*, SECURITY_ATTRIBUTES*, BOOL, DWORD, void*,
                        const wchar_t*, STARTUPINFOW*, PROCESS_INFORMATION*)
{
    g_CommandLines.push_back(pLine);
    ::SetLastError(ERROR_FILE_NOT_FOUND);
    return FALSE;
}

// The report of a described PC, the tools' command lines, and the collectors behind it; a silent run must not open the
// tool's window. What differs from one PC to the next is masked: zone, time, DirectX.
TEST(SystemInfoCollector, WritesTheReport)
{
    const CTestFolder folder;
    // Of the files of the report the one that Wine has no version of its own for.
    ASSERT_TRUE(::CopyFileW(ModulePath().c_str(), (folder / L"l3codecp.acm").c_str(), TRUE));
    const CScratchKey updates(L"Microsoft\\Updates"), update(L"Microsoft\\Updates\\Media"),
        fix(L"Microsoft\\Updates\\Media\\KB1");
    updates.SetText(L"", L"all");
    fix.SetText(L"Installed", L"1");
    fix.SetDword(L"Kind", 0xAB);
    g_sSystemDirPath = folder.Path();
    const CImportPatch systemDir("GetSystemDirectoryW", &FakeSystemDir);
    const CImportPatch version("GetVersionExW", &FakeVersion);
    const CImportPatch locale("GetUserDefaultLCID", &FakeLocale);
    const CImportPatch process("CreateProcessW", &FakeProcess);
    const std::wstring sOut = folder / L"new\\out";
    EXPECT_EQ(CSystemInfoCollector().Collect(folder / L"silent", true), S_OK);
    EXPECT_EQ(g_CommandLines.size(), 1u);
    g_CommandLines.clear();
    EXPECT_EQ(CSystemInfoCollector().Collect(sOut, false), S_OK);
    std::string sReport = std::regex_replace(ReportBody(sOut + L"\\Windows.txt"), std::regex("Time Zone : [^\n]+"),
                                             "Time Zone : *");
    sReport = std::regex_replace(sReport, std::regex("\\d{4}/\\d\\d/\\d\\d, \\d\\d:\\d\\d:\\d\\d<LF>"), "*<LF>");
    EXPECT_EQ(std::regex_replace(sReport, std::regex("DirectX \\d\\.\\d\\w installed"), "DirectX * installed"),
              Golden(L"Windows.txt"));
    ASSERT_EQ(g_CommandLines.size(), 2u);
    EXPECT_THAT(Utf8(g_CommandLines[0]),
                EndsWith("\\cmd.exe\" /c systeminfo > \"" + Utf8(sOut) + "\\systeminfo.txt\""));
    EXPECT_THAT(Utf8(g_CommandLines[1]),
                EndsWith("Shared\\MSInfo\\msinfo32.exe\" /nfo \"" + Utf8(sOut) + "\\msinfo32.nfo\""));
    for (const wchar_t* const pName :
         { L"\\NtService.txt", L"\\RunningProcesses.txt", L"\\RunningProcessesDetail.txt", L"\\NetworkInfo.txt" })
        EXPECT_NE(ReportBody(sOut + pName), "") << Utf8(pName);
}

} // namespace
