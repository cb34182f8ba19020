#include <gmock/gmock.h>

#include "opdutility/OpdDriverInfo.h"
#include "opdutility/OpdExecFile.h"
#include "opdutility/OpdWow64.h"
#include "support/ImportPatch.h"
#include "support/LogWatch.h"
#include "support/TestFolder.h"

using testing::ElementsAre;

namespace
{

// A lost quote starts another program; a child's own code must come through as it is.
TEST(ExecFile, RunsAProgramAndGivesItsExitCode)
{
    const CTestFolder folder;
    const std::wstring sProgram = folder.Write(L"a b\\c d.exe", ReadBytes(L"C:\\windows\\system32\\cmd.exe"));
    DWORD dwExitCode = 99;
    EXPECT_EQ(COpdExecFile::Execute(sProgram, L"/c exit 259", &dwExitCode), S_OK);
    EXPECT_EQ(dwExitCode, 259u);

    const CLogWatch watch;
    EXPECT_EQ(COpdExecFile::Execute(folder / L"no such.exe", L"", &dwExitCode), static_cast<HRESULT>(0x80070002));
    EXPECT_EQ(COpdExecFile::Execute(L"", L"/c", &dwExitCode), E_INVALIDARG);
    EXPECT_EQ(dwExitCode, 259u);
    EXPECT_THAT(watch.Records(), ElementsAre("[COpdExecFile::Execute] ::CreateProcess( \"" +
                                                 Utf8(folder / L"no such.exe") + "\"  ) failed. [0x80070002]",
                                             "[COpdExecFile::Execute] rcsFileName == empty"));
}

// The wrong answer reads the wrong half of the registry.
TEST(Wow64, TellsEmulationApartFromNone)
{
    SYSTEM_INFO Info;
    ::GetNativeSystemInfo(&Info);
    bool bWow64 = false;
    EXPECT_EQ(COpdWow64::IsWow64(&bWow64), S_OK);
    EXPECT_EQ(bWow64, Info.wProcessorArchitecture != PROCESSOR_ARCHITECTURE_INTEL);
}

// The drivers of a described PC: bytes for the first and for the second call, and the addresses whose names fail.
DWORD s_aDriverBytes[2];
bool s_bSecondFails;

BOOL WINAPI FakeDrivers(LPVOID* pAddresses, DWORD dwCapacity, LPDWORD pdwNeeded)
{
    *pdwNeeded = s_aDriverBytes[pAddresses == nullptr ? 0 : 1];
    for (DWORD n = 0; pAddresses != nullptr && n < std::min(dwCapacity, *pdwNeeded) / 4; ++n)
        pAddresses[n] = reinterpret_cast<LPVOID>(0x80000000u + n);
    ::SetLastError(ERROR_PARTIAL_COPY);
    return pAddresses == nullptr || !s_bSecondFails;
}
DWORD NameOf(const wchar_t* pPrefix, LPVOID pAddress, DWORD dwNameless, LPWSTR pName)
{
    const DWORD n = reinterpret_cast<DWORD>(pAddress) - 0x80000000u;
    ::SetLastError(ERROR_INVALID_HANDLE);
    return n == dwNameless ? 0 : static_cast<DWORD>(::wsprintfW(pName, L"%s%u.sys", pPrefix, n));
}
DWORD WINAPI FakeFileName(LPVOID pAddress, LPWSTR pName, DWORD)
{
    return NameOf(L"\\??\\C:\\d", pAddress, 1, pName);
}
DWORD WINAPI FakeBaseName(LPVOID pAddress, LPWSTR pName, DWORD)
{
    return NameOf(L"d", pAddress, 2, pName);
}

// One driver without a name must not hide the others, and drivers that come or go between the calls must not crash.
TEST(DriverInfo, ListsTheDriversThatHaveNames)
{
    const CImportPatch<decltype(FakeDrivers)> drivers("K32EnumDeviceDrivers", FakeDrivers);
    const CImportPatch<decltype(FakeFileName)> fileName("K32GetDeviceDriverFileNameW", FakeFileName);
    const CImportPatch<decltype(FakeBaseName)> baseName("K32GetDeviceDriverBaseNameW", FakeBaseName);
    const struct
    {
        DWORD dwFirst, dwSecond;
        bool bFails;
        HRESULT hr;
        std::size_t nListed;
    } aCases[] = { { 16, 16, false, S_OK, 2 },
                   { 4, 16, false, S_OK, 1 },
                   { 16, 4, false, S_OK, 1 },
                   { 0, 0, false, E_FAIL, 0 },
                   { 8, 8, true, E_FAIL, 0 } };
    for (const auto& rCase : aCases)
    {
        s_aDriverBytes[0] = rCase.dwFirst;
        s_aDriverBytes[1] = rCase.dwSecond;
        s_bSecondFails = rCase.bFails;
        std::vector<COpdDriverInfo::CDriver> List{ { L"old", L"" } };
        EXPECT_EQ(COpdDriverInfo::GetLoadedDeviceDrivers(List), rCase.hr);
        ASSERT_EQ(List.size(), rCase.nListed + 1);
        EXPECT_EQ(List.back().sBaseName, rCase.nListed == 2 ? L"d3.sys" : rCase.nListed == 1 ? L"d0.sys" : L"old");
    }
}

} // namespace
