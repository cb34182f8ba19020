// The collector of the system's information, and those that it calls.
#include "collect/SystemInfoCollector.h"

#include <tlhelp32.h>

#include <regex>
#include <sstream>

#include "collect/CollectorUtil.h"
#include "collect/CollectorUtilFakes.h"
#include "collect/NtServiceCollector.h"
#include "collect/ProcessInfoCollector.h"

namespace
{

// The report of a described PC, and the tools' command lines; a silent run must not open the tool's window. What
// differs from one PC or build to the next is masked: zone, time, DirectX, version. The collectors behind it have tests
// of their own, so here their files need only be there.
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
        return FailedCall(ERROR_FILE_NOT_FOUND);
    });
    for (const bool bSilent : { true, false })
        EXPECT_EQ(CSystemInfoCollector().Collect(folder / L"new\\out", bSilent), S_OK);
    std::string sReport = ReadBytes(folder / L"new\\out\\Windows.txt");
    for (const char* const pMasked : { "Zone : ([^\r]+)", "LocalTime : ([^\n]+)", "DirectX (.*) installed",
                                       "l3codecp.acm : (\\d+\\.\\d+\\.\\d+\\.\\d+)\r" })
    {
        std::smatch match;
        ASSERT_TRUE(std::regex_search(sReport, match, std::regex(pMasked))) << pMasked;
        sReport.replace(match[1].first, match[1].second, "*");
    }
    ExpectGolden(L"collect/Windows.txt", sReport + sTools, folder.Path());
    for (const wchar_t* const pName : { L"NtService.txt", L"RunningProcesses.txt", L"NetworkInfo.txt" })
        EXPECT_TRUE(PathExists(folder / (std::wstring(L"new\\out\\") + pName))) << Utf8(pName);
}

// Without its diagnostics the PC's DirectX is told by the versions of its files: a threshold that is off by one, or a
// row in another's place, names another one. Each line of the document is a PC.
TEST(DirectX, IsToldByTheVersionsOfItsFiles)
{
    const auto diagnostics = FakeImport<decltype(::CoCreateInstance)>("CoCreateInstance",
                                                                      [](auto...) { return REGDB_E_CLASSNOTREG; });
    std::istringstream Lines(Document(L"collect/DirectX.lines"));
    std::string sAll;
    for (std::string sLine; std::getline(Lines, sLine);)
    {
        const CFakeVersions versions([&](const std::wstring& sPath, const std::wstring& sQuery) {
            std::wstring sFixed(sizeof(VS_FIXEDFILEINFO) / 2, L'\0');
            const std::size_t nAt = sLine.find(Utf8(FileNamePart(sPath)) + '=');
            if (nAt == sLine.npos || sQuery != L"\\")
                return std::wstring();
            std::istringstream Numbers(sLine.substr(sLine.find('=', nAt) + 1));
            for (const std::size_t n : { 5u, 4u, 7u, 6u })
            {
                unsigned nNumber = 0;
                Numbers >> nNumber;
                Numbers.ignore();
                sFixed[n] = static_cast<wchar_t>(nNumber);
            }
            return sFixed;
        });
        DWORD dwVersion = 0;
        std::wstring sVersion;
        EXPECT_EQ(CCollectorUtil::GetDXVersion(dwVersion, sVersion), S_OK);
        sAll += sLine + ": " + Utf8(FormatText(L"%08X %s\r\n", dwVersion, sVersion));
    }
    ExpectGolden(L"collect/DirectX.txt", sAll, L"");
}

wchar_t* Text(const wchar_t* pText)
{
    return const_cast<wchar_t*>(pText);
}

const struct
{
    ENUM_SERVICE_STATUSW Status;
    DWORD dwStart;
    const wchar_t* pPath;
} Services[] = {
    { { Text(L"Alpha"), Text(L"The \"first\" one"), { 16, 4, 0, 0, 0, 0, 0 } }, 2, L"\"C:\\Program Files\\a.exe\" -k" },
    { { Text(L"Beta"), Text(L""), { 16 | 256, 7, 0, 0, 0, 0, 0 } }, 4, L"" },
    { { Text(L"Gamma"), Text(L"Number %s"), { 32, 1, 0, 0, 0, 0, 0 } }, 3, nullptr },
    { { Text(L"Delta"), Text(L"Delta"), { 2, 6, 0, 0, 0, 0, 0 } }, 9, L"d" },
};

// The list of a living PC, with services that are installed between the two calls. A service that cannot be opened cuts
// the list, and a support desk must see where.
TEST(NtServiceCollector, ListsTheServicesUpToTheFirstFailure)
{
    std::size_t nHidden = 2; // appear once the size has been told
    std::wstring sLocked;
    // The handle of a service is its number.
    const auto open = FakeImport<decltype(::OpenServiceW)>("OpenServiceW", [&](auto, auto pName, auto) {
        ::SetLastError(ERROR_ACCESS_DENIED);
        const auto Named = [&](const auto& rService) { return std::wstring(rService.Status.lpServiceName) == pName; };
        const auto n = std::ranges::find_if(Services, Named) - std::begin(Services);
        return reinterpret_cast<SC_HANDLE>(sLocked == pName ? 0 : n + 1);
    });
    const auto close = FakeImport<decltype(::CloseServiceHandle)>("CloseServiceHandle", [](auto) { return TRUE; });
    const auto list = FakeImport<decltype(::EnumServicesStatusW)>(
        "EnumServicesStatusW",
        [&](auto, auto nType, auto nState, auto* pRows, auto nSize, auto* pnNeeded, auto* pnCount, auto* pnResume) {
            EXPECT_TRUE(nType == SERVICE_WIN32 && nState == SERVICE_STATE_ALL && *pnResume == 0);
            const std::size_t nVisible = std::size(Services) - std::exchange(nHidden, 0);
            *pnCount = *pnResume = std::min<DWORD>(nVisible, nSize / sizeof *pRows);
            *pnNeeded = (nVisible - *pnCount) * sizeof *pRows;
            std::transform(Services, Services + *pnCount, pRows, [](const auto& rService) { return rService.Status; });
            return *pnNeeded == 0 || FailedCall(ERROR_MORE_DATA);
        });
    const auto config = FakeImport<decltype(::QueryServiceConfigW)>(
        "QueryServiceConfigW", [](auto hService, auto* pConfig, auto nSize, auto* pnNeeded) {
            *pnNeeded = sizeof *pConfig;
            if (nSize < sizeof *pConfig)
                return FailedCall(ERROR_INSUFFICIENT_BUFFER);
            const auto& rService = Services[reinterpret_cast<std::size_t>(hService) - 1];
            *pConfig = {};
            pConfig->dwStartType = rService.dwStart;
            pConfig->lpBinaryPathName = Text(rService.pPath);
            return true;
        });

    const CTestFolder folder;
    const CLogWatch watch;
    EXPECT_EQ(CNtServiceCollector().Collect(folder / L"none"), S_OK);
    sLocked = L"Beta";
    EXPECT_EQ(CNtServiceCollector().Collect(folder / L"Beta"), E_ACCESSDENIED);
    ExpectGolden(L"collect/NtService.txt", Outcome(folder.Path(), watch), folder.Path());
}

BYTE* Address(DWORD dwAddress)
{
    return reinterpret_cast<BYTE*>(dwAddress);
}

const PROCESSENTRY32W Processes[] = {
    { sizeof(PROCESSENTRY32W), 0, 4, 0, 0, 5, 0xF0000004, -2, 0, L"System" },
    { sizeof(PROCESSENTRY32W), 0, 0x1F00, 0, 0, 7937, 0xF0001F00, -2, 0, L"player.exe" },
    { sizeof(PROCESSENTRY32W), 0, 0x10, 0, 0, 17, 0xF0000010, -2, 0, L"gone.exe" },
};
// Of the player.
const MODULEENTRY32W Modules[] = {
    { sizeof(MODULEENTRY32W), 1, 0x1F00, 0, 0, Address(0x400000), 4096, nullptr, L"player.exe", L"C:\\P\\player.exe" },
    { sizeof(MODULEENTRY32W), 1, 0x1F00, 0, 0, Address(0x80000000), 0xFFFFFFFF, nullptr, L"%s.dll", L"C:\\%n" },
};

// Both reports, with a process that may not be looked into and one that has ended: their neighbours must stand. Without
// a snapshot the detail report says why.
TEST(ProcessInfoCollector, ListsProcessesAndModules)
{
    bool bSnapshot = true;
    std::size_t nProcess = 0, nModule = 0; // where the snapshots stand
    const auto snapshot = FakeImport<decltype(::CreateToolhelp32Snapshot)>(
        "CreateToolhelp32Snapshot", [&](DWORD dwFlags, DWORD dwId) {
            const bool bFails = dwFlags == TH32CS_SNAPMODULE ? dwId == 4 : !bSnapshot;
            ::SetLastError(dwFlags == TH32CS_SNAPMODULE ? ERROR_ACCESS_DENIED : ERROR_BAD_LENGTH);
            return bFails ? INVALID_HANDLE_VALUE : ::CreateEventW(nullptr, FALSE, FALSE, nullptr);
        });
    const auto Next = [](const auto& rTable, std::size_t& rnNext, auto* pEntry) {
        EXPECT_EQ(pEntry->dwSize, sizeof *pEntry);
        if (rnNext == std::size(rTable))
            return FailedCall(ERROR_NO_MORE_FILES);
        *pEntry = rTable[rnNext++];
        return true;
    };
    const auto FillProcess = [&](auto, auto* pEntry) { return Next(Processes, nProcess, pEntry); };
    const auto FillModule = [&](auto, auto* pEntry) {
        return nProcess == 2 ? Next(Modules, nModule, pEntry) : FailedCall(ERROR_NO_MORE_FILES);
    };
    const auto firstProcess = FakeImport<decltype(::Process32FirstW)>("Process32FirstW", FillProcess);
    const auto nextProcess = FakeImport<decltype(::Process32NextW)>("Process32NextW", FillProcess);
    const auto firstModule = FakeImport<decltype(::Module32FirstW)>("Module32FirstW", FillModule);
    const auto nextModule = FakeImport<decltype(::Module32NextW)>("Module32NextW", FillModule);

    const CTestFolder folder;
    EXPECT_EQ(CProcessInfoCollector().Collect(folder / L"fine"), S_OK);
    bSnapshot = false;
    EXPECT_EQ(CProcessInfoCollector().Collect(folder / L"no snapshot"), HRESULT_FROM_WIN32(ERROR_BAD_LENGTH));
    ExpectGolden(L"collect/Processes.txt", FilesBelow(folder.Path()), folder.Path());
}

} // namespace
