// The two collectors that list folders of the system.
#include "collect/InstallerInfoCollector.h"

#include <gmock/gmock.h>

#include <shlobj.h>

#include "collect/CollectorUtilFakes.h"
#include "collect/DriverInfoCollector.h"
#include "platform/Path.h"
#include "support/LogWatch.h"
#include "support/TestFolder.h"

using ::testing::HasSubstr;

namespace
{

std::wstring g_sRoot; // holds a folder for each shell folder, named by its id; without it the PC has none
HRESULT WINAPI ShellFolder(HWND, int nCsidl, HANDLE, DWORD, LPWSTR pPath)
{
    ::wsprintfW(pPath, L"%s\\%d", g_sRoot.c_str(), nCsidl);
    return g_sRoot.empty() ? E_ACCESSDENIED : S_OK;
}

// Each list has its own folder and its own view of what a missing one means; one that fails must not cost the next.
TEST(InstallerInfoCollector, ListsTheCachesThatAreThere)
{
    const CTestFolder folder;
    g_sRoot = folder.Path();
    const CImportPatch<decltype(ShellFolder)> patch("SHGetFolderPathW", ShellFolder);
    const std::wstring sOut = folder / L"out";
    const CLogWatch watch;
    EXPECT_EQ(CInstallerInfoCollector().Collect(sOut), S_OK);
    folder.Write(L"36\\Installer\\{x}\\w.msi", "");
    folder.Write(L"38\\InstallShield Installation Information\\s.exe", "");
    folder.Write(L"42\\InstallShield Installation Information\\x86.exe", "");
    EXPECT_EQ(CInstallerInfoCollector().Collect(folder / L"out 2"), S_OK);
    g_sRoot.clear();
    EXPECT_EQ(CInstallerInfoCollector().Collect(sOut), S_OK);
    EXPECT_EQ(CInstallerInfoCollector().Collect(L""), E_INVALIDARG);

    ExpectGolden(watch.Records(), L"InstallerLists.log", folder.Path());
    for (const wchar_t* pFile : { L"WindowsInstaller.csv", L"InstallShield.csv", L"InstallShield(x86).csv" })
        EXPECT_FALSE(FileExists(JoinPath(sOut, pFile)));
    EXPECT_THAT(ReadBytes(folder / L"out 2\\WindowsInstaller.csv"), HasSubstr("\\36\\Installer\\{x}\\w.msi\"\r\n"));
    EXPECT_THAT(ReadBytes(folder / L"out 2\\InstallShield.csv"), HasSubstr("\\38\\InstallShield Installation Information\\s.exe\"\r\n"));
    EXPECT_THAT(ReadBytes(folder / L"out 2\\InstallShield(x86).csv"), HasSubstr("\\42\\InstallShield Installation Information\\x86.exe\"\r\n"));
}

// Here a missing folder is the whole collection's failure.
TEST(DriverInfoCollector, ListsTheDrivers)
{
    const CTestFolder folder;
    g_sRoot = folder.Path();
    const CImportPatch<decltype(ShellFolder)> patch("SHGetFolderPathW", ShellFolder);
    const CLogWatch watch;
    EXPECT_EQ(CDriverInfoCollector().Collect(folder / L"out"), E_FAIL);
    folder.Write(L"37\\drivers\\etc\\d.sys", "");
    EXPECT_EQ(CDriverInfoCollector().Collect(folder / L"out"), S_OK);
    g_sRoot.clear();
    EXPECT_EQ(CDriverInfoCollector().Collect(folder / L"out"), E_ACCESSDENIED);
    EXPECT_EQ(CDriverInfoCollector().Collect(L""), E_INVALIDARG);
    ExpectGolden(watch.Records(), L"Drivers.log", folder.Path());
    EXPECT_THAT(ReadBytes(folder / L"out\\Drivers.csv"), HasSubstr("\\37\\drivers\\etc\\d.sys\"\r\n"));
}

} // namespace
