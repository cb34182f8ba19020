#include "collect/ProcessInfoCollector.h"

#include <tlhelp32.h>

#include "collect/CollectorUtilFakes.h"

namespace
{

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
// the privilege the walk goes on, and it is not given back; without a snapshot the detail report says why.
TEST(ProcessInfoCollector, ListsProcessesAndModules)
{
    enum
    {
        Fine,
        NoPrivilege,
        NoSnapshot
    } eState;
    std::string sPrivileges;
    std::size_t nProcess = 0, nModule = 0; // where the snapshots stand
    const auto token = WrapImport<decltype(::OpenProcessToken)>(
        "OpenProcessToken", [&](auto original, auto... arguments) {
            return eState == NoPrivilege ? FailWith(ERROR_ACCESS_DENIED) : original(arguments...);
        });
    const auto adjust = FakeImport<decltype(::AdjustTokenPrivileges)>(
        "AdjustTokenPrivileges", [&](auto, auto bDisableAll, auto pNew, auto...) {
            EXPECT_TRUE(!bDisableAll && pNew->PrivilegeCount == 1);
            sPrivileges += "privilege " + std::to_string(pNew->Privileges[0].Attributes) + "\r\n";
            return TRUE;
        });
    const auto snapshot = FakeImport<decltype(::CreateToolhelp32Snapshot)>(
        "CreateToolhelp32Snapshot", [&](DWORD dwFlags, DWORD dwId) {
            const bool bFails = dwFlags == TH32CS_SNAPMODULE ? dwId == 4 : eState == NoSnapshot;
            ::SetLastError(dwFlags == TH32CS_SNAPMODULE ? ERROR_ACCESS_DENIED : ERROR_BAD_LENGTH);
            (dwFlags == TH32CS_SNAPMODULE ? nModule : nProcess) = 0;
            return bFails ? INVALID_HANDLE_VALUE : ::CreateEventW(nullptr, FALSE, FALSE, nullptr);
        });
    const auto FillProcess = [&](auto, PROCESSENTRY32W* pEntry) {
        EXPECT_EQ(pEntry->dwSize, sizeof *pEntry);
        if (nProcess == std::size(Processes) || eState == NoPrivilege)
            return FailWith(ERROR_NO_MORE_FILES);
        *pEntry = Processes[nProcess++];
        return TRUE;
    };
    const auto FillModule = [&](auto, MODULEENTRY32W* pEntry) {
        EXPECT_EQ(pEntry->dwSize, sizeof *pEntry);
        if (nProcess != 2 || nModule == std::size(Modules))
            return FailWith(ERROR_NO_MORE_FILES);
        *pEntry = Modules[nModule++];
        return TRUE;
    };
    const auto firstProcess = FakeImport<decltype(::Process32FirstW)>("Process32FirstW", FillProcess);
    const auto nextProcess = FakeImport<decltype(::Process32NextW)>("Process32NextW", FillProcess);
    const auto firstModule = FakeImport<decltype(::Module32FirstW)>("Module32FirstW", FillModule);
    const auto nextModule = FakeImport<decltype(::Module32NextW)>("Module32NextW", FillModule);

    const CTestFolder folder;
    const CLogWatch watch;
    eState = Fine;
    EXPECT_EQ(CProcessInfoCollector().Collect(folder / L"fine"), S_OK);
    eState = NoPrivilege;
    EXPECT_EQ(CProcessInfoCollector().Collect(folder / L"no privilege"), HRESULT_FROM_WIN32(ERROR_NO_MORE_FILES));
    eState = NoSnapshot;
    EXPECT_EQ(CProcessInfoCollector().Collect(folder / L"no snapshot"), HRESULT_FROM_WIN32(ERROR_BAD_LENGTH));
    ExpectGolden(L"collect/Processes.txt", Outcome(folder.Path(), watch) + sPrivileges, folder.Path());
}

} // namespace
