#include "collect/SystemInfoCollector.h"

#include "app/KelvarinApp.h"
#include "collect/NetworkInfoCollector.h"
#include "collect/NetworkReportText.h"
#include "collect/NtServiceCollector.h"
#include "collect/ProcessInfoCollector.h"
#include "platform/Path.h"
#include "support/ImportPatch.h"
#include "support/LogWatch.h"
#include "support/ScratchKey.h"

namespace
{

using ::testing::Contains;
using ::testing::EndsWith;
using ::testing::StartsWith;

// The parts of the system that the report asks.
struct CFakeSystem
{
    std::wstring sSystemDirPath;
    DWORD dwVersionSize; // of the largest record that the version call takes
    LCID dwLocale;
    std::vector<std::wstring> CommandLines{};
};
CFakeSystem* s_pSystem = nullptr;

UINT WINAPI FakeSystemDir(wchar_t* pPath, UINT nSize)
{
    const std::wstring& rsPath = s_pSystem->sSystemDirPath;
    ::lstrcpynW(pPath, rsPath.c_str(), static_cast<int>(nSize));
    return static_cast<UINT>(rsPath.size());
}
BOOL WINAPI FakeVersion(OSVERSIONINFOW* pVersion)
{
    if (pVersion->dwOSVersionInfoSize > s_pSystem->dwVersionSize)
        return FALSE;
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
    return s_pSystem->dwLocale;
}
BOOL WINAPI FakeProcess(const wchar_t*, wchar_t* pLine, SECURITY_ATTRIBUTES*, SECURITY_ATTRIBUTES*, BOOL, DWORD, void*, const wchar_t*, STARTUPINFOW*,
                        PROCESS_INFORMATION*)
{
    s_pSystem->CommandLines.push_back(pLine);
    ::SetLastError(ERROR_FILE_NOT_FOUND);
    return FALSE;
}

struct CRun
{
    HRESULT hr;
    std::string sReport;
    std::vector<std::string> Records;
};

// What differs from one PC to the next is masked: zone, time, DirectX.
CRun Collect(CFakeSystem& rSystem, const std::wstring& sOutDirPath, bool bSilent)
{
    s_pSystem = &rSystem;
    const CImportPatch systemDir("GetSystemDirectoryW", &FakeSystemDir);
    const CImportPatch version("GetVersionExW", &FakeVersion);
    const CImportPatch locale("GetUserDefaultLCID", &FakeLocale);
    const CImportPatch process("CreateProcessW", &FakeProcess);
    const CLogWatch watch;
    CKelvarinApp::GetApp().m_ProgressDlg.ResetClients();
    const HRESULT hr = CSystemInfoCollector().Collect(sOutDirPath, bSilent);
    std::string sReport = ReportBody(sOutDirPath + L"\\Windows.txt");
    sReport = std::regex_replace(sReport, std::regex("Time Zone : [^\n]+"), "Time Zone : *");
    sReport = std::regex_replace(sReport, std::regex("\\d{4}/\\d\\d/\\d\\d, \\d\\d:\\d\\d:\\d\\d<LF>"), "*<LF>");
    sReport = std::regex_replace(sReport, std::regex("DirectX \\d\\.\\d\\w installed"), "DirectX * installed");
    return { hr, sReport, watch.Records() };
}

// The report of a described PC, the tools' command lines, and the collectors behind it.
TEST(SystemInfoCollector, WritesTheReport)
{
    const CTestFolder folder;
    // Of the files of the report the one that Wine has no version of its own for.
    ASSERT_TRUE(::CopyFileW(ModulePath().c_str(), (folder / L"l3codecp.acm").c_str(), TRUE));
    const CScratchKey updates(L"Microsoft\\Updates"), update(L"Microsoft\\Updates\\Media"), fix(L"Microsoft\\Updates\\Media\\KB1");
    updates.SetText(L"", L"all");
    fix.SetText(L"Installed", L"1");
    fix.SetDword(L"Kind", 0xAB);
    CFakeSystem system{ folder.Path(), sizeof(OSVERSIONINFOEXW), 0x411 };
    const std::wstring sOut = folder / L"new\\out";
    const CRun run = Collect(system, sOut, false);
    EXPECT_EQ(run.hr, S_OK);
    EXPECT_EQ(run.sReport, Golden(L"Windows.txt"));
    ASSERT_EQ(system.CommandLines.size(), 2u);
    EXPECT_THAT(Utf8(system.CommandLines[0]), EndsWith("\\cmd.exe\" /c systeminfo > \"" + Utf8(sOut) + "\\systeminfo.txt\""));
    EXPECT_THAT(Utf8(system.CommandLines[1]), EndsWith("Shared\\MSInfo\\msinfo32.exe\" /nfo \"" + Utf8(sOut) + "\\msinfo32.nfo\""));
    for (const wchar_t* const pName : { L"\\NtService.txt", L"\\RunningProcesses.txt", L"\\RunningProcessesDetail.txt", L"\\NetworkInfo.txt" })
        EXPECT_NE(ReportBody(sOut + pName), "") << Utf8(pName);
}

// What is missing costs its own lines and no others; the silent run leaves the tool with the window out.
TEST(SystemInfoCollector, GoesOnWithoutWhatIsMissing)
{
    const std::string sLine = std::string(48, '_') + '\n';
    const CTestFolder folder;
    const struct
    {
        DWORD dwVersionSize;
        LCID dwLocale;
        const char* pSystem;
        const char* pLocale;
    } aCases[] = {
        { sizeof(OSVERSIONINFOW), 0x9, "Version     : 6.1\nBuildNumber : 7601\nPlatformId  : 2\nCSDVersion  : Service Pack 1 %s\n",
          "English(0x  9)" },
        { 0, 0x10411, "OutputOSVersion failed.\n", "Unknown(0x10411)" },
    };
    for (const auto& rCase : aCases)
    {
        CFakeSystem system{ folder.Path(), rCase.dwVersionSize, rCase.dwLocale };
        const CRun run = Collect(system, folder / L"out", true);
        EXPECT_EQ(run.hr, S_OK);
        EXPECT_THAT(run.sReport, StartsWith(sLine + "[Windows]\n\n" + rCase.pSystem + "OS Locale : " + rCase.pLocale + "\nTime Zone : *\n"));
        EXPECT_THAT(run.sReport, EndsWith(sLine + "[Microsoft Hotfix]\n\n"));
        EXPECT_EQ(system.CommandLines.size(), 1u);
        EXPECT_THAT(run.Records,
                    Contains("[CSystemInfoCollector::OutputMicrosoftHotfix] CRegKey::Open( \"HKLM\\SOFTWARE\\Microsoft\\Updates\" ) failed. [2]"));
    }
}

// An empty folder would mean the current one, which belongs to somebody else.
TEST(SystemInfoCollector, RefusesWhatIsNoFolder)
{
    const CTestFolder folder;
    const std::wstring sFile = folder.Write(L"file", "x");
    EXPECT_EQ(CSystemInfoCollector().Collect(L"", true), E_INVALIDARG);
    EXPECT_EQ(CNtServiceCollector().Collect(L""), E_INVALIDARG);
    EXPECT_EQ(CProcessInfoCollector().Collect(L""), E_INVALIDARG);
    EXPECT_EQ(CNetworkInfoCollector().Collect(L""), E_INVALIDARG);
    EXPECT_EQ(CSystemInfoCollector().Collect(sFile, true), E_UNEXPECTED);
    EXPECT_EQ(CNtServiceCollector().Collect(sFile), E_UNEXPECTED);
    EXPECT_EQ(CProcessInfoCollector().Collect(sFile), E_UNEXPECTED);
    EXPECT_EQ(CNetworkInfoCollector().Collect(sFile), E_UNEXPECTED);
}

} // namespace
