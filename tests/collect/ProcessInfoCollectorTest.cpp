#include "collect/ProcessInfoCollector.h"

#include <map>

#include "collect/NetworkReportText.h"
#include "platform/Handle.h"
#include "support/ImportPatch.h"
#include "support/LogWatch.h"

namespace
{

using ::testing::ElementsAre;

struct CModule
{
    const wchar_t* pName;
    const wchar_t* pPath;
    DWORD dwSize;
    DWORD dwBase;
};
struct CProcess
{
    DWORD dwId;
    const wchar_t* pName;
    DWORD dwSnapshotError; // of the modules
    std::vector<CModule> Modules;
};
struct CFakeSystem
{
    std::vector<CProcess> Processes;
    DWORD dwSnapshotError = ERROR_SUCCESS;
    std::vector<DWORD> Privileges{};
    std::map<HANDLE, std::pair<DWORD, std::size_t>> Snapshots{}; // process, place in its list
};
CFakeSystem* s_pSystem = nullptr;

BOOL Fail(DWORD dwError)
{
    ::SetLastError(dwError);
    return FALSE;
}

HANDLE WINAPI FakeSnapshot(DWORD dwFlags, DWORD dwProcess)
{
    DWORD dwError = s_pSystem->dwSnapshotError;
    for (const CProcess& rProcess : s_pSystem->Processes)
        dwError = dwFlags == TH32CS_SNAPMODULE && rProcess.dwId == dwProcess ? rProcess.dwSnapshotError : dwError;
    if (dwError != ERROR_SUCCESS)
        return Fail(dwError), INVALID_HANDLE_VALUE;
    const HANDLE hSnapshot = ::CreateEventW(nullptr, FALSE, FALSE, nullptr);
    s_pSystem->Snapshots[hSnapshot] = { dwProcess, 0 };
    return hSnapshot;
}
BOOL WINAPI FakeNextProcess(HANDLE hSnapshot, PROCESSENTRY32W* pEntry)
{
    EXPECT_EQ(pEntry->dwSize, sizeof *pEntry);
    std::size_t& rnPlace = s_pSystem->Snapshots[hSnapshot].second;
    if (rnPlace == s_pSystem->Processes.size())
        return Fail(ERROR_NO_MORE_FILES);
    const CProcess& rProcess = s_pSystem->Processes[rnPlace++];
    pEntry->th32ProcessID = rProcess.dwId;
    pEntry->th32ParentProcessID = rProcess.dwId + 0xF0000000;
    pEntry->cntThreads = rProcess.dwId + 1;
    pEntry->pcPriClassBase = -2;
    ::lstrcpynW(pEntry->szExeFile, rProcess.pName, MAX_PATH);
    return TRUE;
}
BOOL WINAPI FakeNextModule(HANDLE hSnapshot, MODULEENTRY32W* pEntry)
{
    EXPECT_EQ(pEntry->dwSize, sizeof *pEntry);
    auto& [dwProcess, nPlace] = s_pSystem->Snapshots[hSnapshot];
    for (const CProcess& rProcess : s_pSystem->Processes)
    {
        if (rProcess.dwId != dwProcess || nPlace == rProcess.Modules.size())
            continue;
        const CModule& rModule = rProcess.Modules[nPlace++];
        pEntry->th32ModuleID = 1;
        pEntry->th32ProcessID = dwProcess;
        pEntry->modBaseAddr = reinterpret_cast<BYTE*>(rModule.dwBase);
        pEntry->modBaseSize = rModule.dwSize;
        ::lstrcpynW(pEntry->szModule, rModule.pName, static_cast<int>(std::size(pEntry->szModule)));
        ::lstrcpynW(pEntry->szExePath, rModule.pPath, MAX_PATH);
        return TRUE;
    }
    return Fail(ERROR_NO_MORE_FILES);
}
BOOL WINAPI FakeAdjust(HANDLE, BOOL bDisableAll, TOKEN_PRIVILEGES* pNew, DWORD, TOKEN_PRIVILEGES*, DWORD*)
{
    EXPECT_FALSE(bDisableAll);
    EXPECT_EQ(pNew->PrivilegeCount, 1u);
    s_pSystem->Privileges.push_back(pNew->Privileges[0].Attributes);
    return TRUE;
}
BOOL WINAPI FakeOpenToken(HANDLE, DWORD, HANDLE*)
{
    return Fail(ERROR_ACCESS_DENIED);
}

HRESULT Collect(CFakeSystem& rSystem, const std::wstring& sPath)
{
    s_pSystem = &rSystem;
    const CImportPatch snapshot("CreateToolhelp32Snapshot", &FakeSnapshot);
    const CImportPatch firstProcess("Process32FirstW", &FakeNextProcess);
    const CImportPatch nextProcess("Process32NextW", &FakeNextProcess);
    const CImportPatch firstModule("Module32FirstW", &FakeNextModule);
    const CImportPatch nextModule("Module32NextW", &FakeNextModule);
    const CImportPatch adjust("AdjustTokenPrivileges", &FakeAdjust);
    return CProcessInfoCollector().Collect(sPath);
}

// Both reports, with a process that may not be looked into and one that has ended: their neighbours must stand.
TEST(ProcessInfoCollector, ListsProcessesAndModules)
{
    CFakeSystem system{ { { 4, L"System", ERROR_ACCESS_DENIED, {} },
                          { 0x1F00,
                            L"player.exe",
                            ERROR_SUCCESS,
                            { { L"player.exe", L"C:\\P\\player.exe", 4096, 0x400000 },
                              { L"%s.dll", L"C:\\%n", 0xFFFFFFFF, 0x80000000 } } },
                          { 0x10, L"gone.exe", ERROR_SUCCESS, {} } } };
    const CTestFolder folder;
    const CLogWatch watch;
    EXPECT_EQ(Collect(system, folder / L"new"), S_OK);
    for (const wchar_t* const pName : { L"RunningProcesses.txt", L"RunningProcessesDetail.txt" })
        EXPECT_EQ(ReportBody(folder / L"new\\" + pName), Golden(pName));
    EXPECT_THAT(system.Privileges, ElementsAre(2u, 0u));
    EXPECT_THAT(watch.Records(), ElementsAre());
}

// Without the privilege the walk goes on, and it is not given back; without a snapshot the detail report says why.
TEST(ProcessInfoCollector, ReportsWhatFails)
{
    const CImportPatch openToken("OpenProcessToken", &FakeOpenToken);
    const CTestFolder folder;
    const CLogWatch watch;
    CFakeSystem system{ {}, ERROR_BAD_LENGTH };
    EXPECT_EQ(Collect(system, folder.Path()), HRESULT_FROM_WIN32(ERROR_BAD_LENGTH));
    EXPECT_EQ(ReportBody(folder / L"RunningProcessesDetail.txt"),
              "::CreateToolhelp32Snapshot( TH32CS_SNAPPROCESS ) failed. [0x80070018]\n");
    EXPECT_EQ(ReportBody(folder / L"RunningProcesses.txt"), "");
    CFakeSystem empty;
    EXPECT_EQ(Collect(empty, folder.Path()), HRESULT_FROM_WIN32(ERROR_NO_MORE_FILES));
    EXPECT_THAT(empty.Privileges, ElementsAre());
    const std::string sNoToken =
        "[CProcessInfoCollector::EnableDebugPrivilege] OpenProcessToken( TOKEN_ADJUST_PRIVILEGES ) failed.[0x80070005]";
    EXPECT_THAT(
        watch.Records(),
        ElementsAre(sNoToken, sNoToken, "[CProcessInfoCollector::Collect] ::Process32First() failed.[0x80070012]"));
}

} // namespace
