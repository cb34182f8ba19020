#include "collect/SystemInfoCollector.h"

#include <regex>

#include "collect/CollectorUtilFakes.h"
#include "platform/Path.h"

namespace
{

// The report of a described PC, and the tools' command lines; a silent run must not open the tool's window. What
// differs from one PC to the next is masked: zone, time, DirectX. The collectors behind it have tests of their own, so
// here their files need only be there.
TEST(SystemInfoCollector, WritesTheReport)
{
    const CTestFolder folder;
    // Of the files of the report the one that Wine has no version of its own for.
    ASSERT_TRUE(::CopyFileW(ModulePath().c_str(), (folder / L"l3codecp.acm").c_str(), TRUE));
    const CScratchKey updates(L"Microsoft\\Updates"), fix(L"Microsoft\\Updates\\Media\\KB1");
    updates.SetText(L"", L"all");
    fix.SetText(L"Installed", L"1");
    fix.SetDword(L"Kind", 0xAB);
    const auto systemDir = FakeImport<decltype(::GetSystemDirectoryW)>("GetSystemDirectoryW", [&](auto pPath, auto) {
        ::lstrcpyW(pPath, folder.Path().c_str());
        return static_cast<UINT>(folder.Path().size());
    });
    const auto version = FakeImport<decltype(::GetVersionExW)>("GetVersionExW", [](auto pVersion) {
        const OSVERSIONINFOEXW Version{ 0, 6, 1, 7601, 2, L"Service Pack 1 %s", 1, 0, 0x300, 1, 0 };
        std::memcpy(pVersion, &Version, pVersion->dwOSVersionInfoSize);
        return TRUE;
    });
    const auto locale = FakeImport<decltype(::GetUserDefaultLCID)>("GetUserDefaultLCID", [] { return 0x411; });
    std::string sTools;
    const auto process = FakeImport<decltype(::CreateProcessW)>("CreateProcessW", [&](auto, auto pLine, auto...) {
        sTools += "> " + Utf8(pLine) + "\r\n";
        return FailWith(ERROR_FILE_NOT_FOUND);
    });
    for (const bool bSilent : { true, false })
        EXPECT_EQ(CSystemInfoCollector().Collect(folder / L"new\\out", bSilent), S_OK);
    std::string sReport = ReadBytes(folder / L"new\\out\\Windows.txt");
    for (const char* const pMasked : { "Zone : ([^\r]+)", "LocalTime : ([^\n]+)", "DirectX (.*) installed" })
    {
        std::smatch match;
        ASSERT_TRUE(std::regex_search(sReport, match, std::regex(pMasked))) << pMasked;
        sReport.replace(match[1].first, match[1].second, "*");
    }
    ExpectGolden(L"collect/Windows.txt", sReport + sTools, folder.Path());
    for (const wchar_t* const pName : { L"NtService.txt", L"RunningProcesses.txt", L"NetworkInfo.txt" })
        EXPECT_TRUE(FileExists(folder / (std::wstring(L"new\\out\\") + pName))) << Utf8(pName);
}

} // namespace
