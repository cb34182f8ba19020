#include "collect/ApplicationInfoCollector.h"

#include <gmock/gmock.h>

#include "collect/CollectorUtilFakes.h"
#include "collect/FakeProduct.h"
#include "support/LogWatch.h"
#include "support/TestFolder.h"

namespace
{

const std::wstring WindowsKey = L"Software\\Microsoft\\Windows\\CurrentVersion\\";

// The 7th of a month of 2013, at 15:04; of a key named "undated" no time at all.
const CImportPatch<decltype(::RegEnumKeyExW)>* g_pEnum;
LSTATUS WINAPI FixedKeyTime(HKEY hKey, DWORD nIndex, LPWSTR pName, LPDWORD pnName, LPDWORD pReserved, LPWSTR pClass,
                            LPDWORD pnClass, PFILETIME pTime)
{
    const LSTATUS nStatus = g_pEnum->Original()(hKey, nIndex, pName, pnName, pReserved, pClass, pnClass, pTime);
    if (nStatus == ERROR_SUCCESS && pTime != nullptr)
        *pTime = ::wcscmp(pName, L"undated") == 0 ? FILETIME{ 0xFFFFFFFF, 0xFFFFFFFF }
                                                  : FileTimeOf({ 2013, 11, 0, 7, 15, 4, 0, 0 });
    return nStatus;
}

// Support reads all four files: a damaged value must cost its own line only, a program without a name has a block but
// no row, nothing is escaped, and a user without products must not hide the next one's.
TEST(ApplicationInfoCollector, ListsWhatStartsAndWhatIsInstalled)
{
    const CTestFolder folder;
    const CFakeShellFolders shell({ { CSIDL_STARTUP, folder / L"startup" } });
    const CImportPatch<decltype(::RegEnumKeyExW)> patch("RegEnumKeyExW", FixedKeyTime);
    g_pEnum = &patch;
    CFakeRoots roots;
    const CScratchKey& user = roots.User(WindowsKey + L"Run");
    user.SetText(L"a", L"\"C:\\a b.exe\" /x");
    user.SetText(L"b", L"%ProgramFiles%\\b.exe", REG_EXPAND_SZ);
    user.SetText(L"c", std::wstring(511, L'c'));
    user.SetText(L"d", std::wstring(512, L'd')); // with its end more than 1,024 bytes
    user.SetText(L"e", L"hidden");
    const BYTE aUnterminated[] = { 'x', 0, 'y', 0 };
    roots.Machine(WindowsKey + L"Run").Set(L"", REG_SZ, aUnterminated);

    const std::wstring sUninstall = WindowsKey + L"Uninstall\\";
    const CScratchKey& full = roots.Machine(sUninstall + L"{full}");
    for (const wchar_t* pName :
         { L"DisplayName", L"DisplayVersion", L"Publisher", L"UninstallString", L"InstallLocation", L"InstallSource" })
        full.SetText(pName, std::wstring(L"the \"") + pName + L"\"");
    full.SetText(L"InstallDate", L"20121231");
    full.SetDword(L"EstimatedSize", 1536);
    for (const wchar_t* pName : { L"Version", L"VersionMajor", L"VersionMinor", L"WindowsInstaller" })
        full.SetDword(pName, 0x8000000A);
    const CScratchKey& cut = roots.Machine(sUninstall + L"cut");
    cut.SetText(L"DisplayName", L"");
    cut.SetText(L"DisplayVersion", std::wstring(1024, L'v')); // one character too long
    cut.SetText(L"InstallDate", L"12/31/2012");
    cut.SetDword(L"EstimatedSize", 0);
    const CScratchKey& number = roots.Machine(sUninstall + L"number");
    number.SetText(L"DisplayName", L"n");
    number.SetText(L"InstallDate", L"201");
    number.SetText(L"Publisher", L"%s", REG_EXPAND_SZ);
    number.SetText(L"EstimatedSize", L"text");
    roots.Machine(sUninstall + L"nameless").SetDword(L"EstimatedSize", 0xFFFFFFFF);
    const CScratchKey& undated = roots.Machine(sUninstall + L"undated");
    undated.SetText(L"DisplayName", L"u");
    undated.SetText(L"InstallDate", L"");
    undated.SetDword(L"EstimatedSize", 0xFFFFFFFF);
    const CScratchKey& zoned = roots.Machine(sUninstall + std::wstring(255, L'z'));
    zoned.SetText(L"DisplayName", L"z");

    const std::wstring sUserData = WindowsKey + L"Installer\\UserData\\";
    roots.Machine(sUserData + L"S-1-1");
    roots.Machine(sUserData + L"S-1-2\\Products\\bare");
    const CScratchKey& product = roots.Machine(sUserData + L"S-1-2\\Products\\full\\InstallProperties");
    product.SetText(L"LocalPackage", L"C:\\x.msi");
    product.SetText(L"UninstallString", L"not shown");
    product.SetDword(L"WindowsInstaller", 1);
    roots.Enter();
    const CLogWatch watch;
    EXPECT_EQ(CApplicationInfoCollector().Collect(folder / L"out"), S_OK);
    for (const wchar_t* const pFile :
         { L"StartupPrograms.txt", L"InstalledPrograms.csv", L"InstalledPrograms.txt", L"MsiInstallProperties.txt" })
        ExpectGolden(ReadBytes(folder / L"out\\" + pFile), pFile, folder / L"startup");
    const std::string sStartup = "[CApplicationInfoCollector::OutputStartupPrograms] ";
    const std::string sRun =
        sStartup + "::RegEnumValue( \"HKEY_CURRENT_USER\\Software\\Microsoft\\Windows\\CurrentVersion\\Run\", ";
    EXPECT_THAT(watch.Records(),
                ::testing::IsSupersetOf({ sRun + "1 ) failed. [RegType:2]", sRun + "3 ) failed. [0x800700EA]",
                                          sStartup + "::SHGetFolderPath( CSIDL_ALTSTARTUP ) failed. [0x80070003]" }));
}

} // namespace
