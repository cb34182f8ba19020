#include "collect/ApplicationInfoCollector.h"

#include <gmock/gmock.h>

#include <shlobj.h>

#include "collect/CollectorUtilFakes.h"
#include "platform/Path.h"
#include "support/LogWatch.h"
#include "support/TestFolder.h"

namespace
{

const std::wstring WindowsKey = L"Software\\Microsoft\\Windows\\CurrentVersion\\";

// The 7th of a month of 2013, at 15:04; of a key named "undated" no time at all.
const CImportPatch<decltype(::RegEnumKeyExW)>* g_pEnum;
LSTATUS WINAPI FixedKeyTime(HKEY hKey, DWORD nIndex, LPWSTR pName, LPDWORD pnName, LPDWORD pReserved, LPWSTR pClass, LPDWORD pnClass, PFILETIME pTime)
{
    const LSTATUS nStatus = g_pEnum->Original()(hKey, nIndex, pName, pnName, pReserved, pClass, pnClass, pTime);
    const SYSTEMTIME Local{ 2013, 11, 0, 7, 15, 4, 0, 0 };
    FILETIME LocalTime;
    ::SystemTimeToFileTime(&Local, &LocalTime);
    if (nStatus == ERROR_SUCCESS && pTime != nullptr)
        ::LocalFileTimeToFileTime(&LocalTime, pTime);
    if (nStatus == ERROR_SUCCESS && ::wcscmp(pName, L"undated") == 0)
        *pTime = { 0xFFFFFFFF, 0xFFFFFFFF };
    return nStatus;
}
LSTATUS WINAPI NoMemory(HKEY, DWORD, LPWSTR, LPDWORD, LPDWORD, LPWSTR, LPDWORD, PFILETIME)
{
    return ERROR_NOT_ENOUGH_MEMORY;
}
// One folder there, one missing, one that the PC does not have.
std::wstring g_sStartup;
HRESULT WINAPI StartupFolder(HWND, int nCsidl, HANDLE, DWORD, LPWSTR pPath)
{
    ::lstrcpyW(pPath, nCsidl == CSIDL_STARTUP ? g_sStartup.c_str() : L"");
    return nCsidl == CSIDL_STARTUP ? S_OK : nCsidl == CSIDL_ALTSTARTUP ? HRESULT_FROM_WIN32(ERROR_FILE_NOT_FOUND) : S_FALSE;
}

class ApplicationInfoCollector : public ::testing::Test
{
protected:
    ApplicationInfoCollector()
    {
        g_pEnum = &m_Enum;
        g_sStartup = m_Folder / L"startup";
    }
    HRESULT Collect() { return CApplicationInfoCollector().Collect(m_Folder / L"out"); }
    std::string Text(const wchar_t* pFile) const { return ReadBytes(m_Folder / L"out\\" + pFile); }

    const CTestFolder m_Folder;
    CFakeRoots m_Roots;

private:
    const CImportPatch<decltype(::RegEnumKeyExW)> m_Enum{ "RegEnumKeyExW", FixedKeyTime };
    const CImportPatch<decltype(StartupFolder)> m_Shell{ "SHGetFolderPathW", StartupFolder };
};

// What starts with the PC: other types are told in the log only, and a value too long ends its key's list.
TEST_F(ApplicationInfoCollector, ListsWhatStartsWithThePc)
{
    const CScratchKey& user = m_Roots.User(WindowsKey + L"Run");
    user.SetText(L"a", L"\"C:\\a b.exe\" /x");
    user.SetText(L"b", L"%ProgramFiles%\\b.exe", REG_EXPAND_SZ);
    user.SetText(L"c", std::wstring(511, L'c'));
    user.SetText(L"d", std::wstring(512, L'd')); // with its end more than 1,024 bytes
    user.SetText(L"e", L"hidden");
    const BYTE aUnterminated[] = { 'x', 0, 'y', 0 };
    m_Roots.Machine(WindowsKey + L"Run").Set(L"", REG_SZ, aUnterminated);
    m_Roots.Enter();
    const CLogWatch watch;
    EXPECT_EQ(Collect(), S_OK);
    ExpectGolden(Text(L"StartupPrograms.txt"), L"StartupPrograms.txt", g_sStartup);
    ExpectGolden(watch.Records(), L"StartupPrograms.log", L"");
}

// Both files of the installed programs: a program without a name has no row but a block, and nothing is escaped.
TEST_F(ApplicationInfoCollector, ListsInstalledPrograms)
{
    const std::wstring sUninstall = WindowsKey + L"Uninstall\\";
    const CScratchKey& full = m_Roots.Machine(sUninstall + L"{full}");
    for (const wchar_t* pName : { L"DisplayName", L"DisplayVersion", L"Publisher", L"UninstallString", L"InstallLocation", L"InstallSource" })
        full.SetText(pName, std::wstring(L"the \"") + pName + L"\"");
    full.SetText(L"InstallDate", L"20121231");
    full.SetDword(L"EstimatedSize", 1536);
    for (const wchar_t* pName : { L"Version", L"VersionMajor", L"VersionMinor", L"WindowsInstaller" })
        full.SetDword(pName, 0x8000000A);
    const CScratchKey& cut = m_Roots.Machine(sUninstall + L"cut");
    cut.SetText(L"DisplayName", L"");
    cut.SetText(L"DisplayVersion", std::wstring(1024, L'v')); // one character too long
    cut.SetText(L"InstallDate", L"12/31/2012");
    cut.SetDword(L"EstimatedSize", 0);
    const CScratchKey& number = m_Roots.Machine(sUninstall + L"number");
    number.SetText(L"DisplayName", L"n");
    number.SetText(L"InstallDate", L"201");
    number.SetText(L"Publisher", L"%s", REG_EXPAND_SZ);
    number.SetText(L"EstimatedSize", L"text");
    m_Roots.Machine(sUninstall + L"nameless").SetDword(L"EstimatedSize", 0xFFFFFFFF);
    const CScratchKey& undated = m_Roots.Machine(sUninstall + L"undated");
    undated.SetText(L"DisplayName", L"u");
    undated.SetText(L"InstallDate", L"");
    undated.SetDword(L"EstimatedSize", 0xFFFFFFFF);
    const CScratchKey& zoned = m_Roots.Machine(sUninstall + std::wstring(255, L'z'));
    zoned.SetText(L"DisplayName", L"z");
    m_Roots.Enter();
    const CLogWatch watch;
    EXPECT_EQ(Collect(), S_OK);
    ExpectGolden(Text(L"InstalledPrograms.csv"), L"InstalledPrograms.csv", L"");
    ExpectGolden(Text(L"InstalledPrograms.txt"), L"InstalledPrograms.txt", L"");
    EXPECT_THAT(watch.Records(), ::testing::Contains("[CApplicationInfoCollector::OutputProgramInfo] CApplicationInfoCollector::GetStringProperty( "
                                                     "DisplayName ) failed. [0x80070002]"));
}

// The installer's records lie two keys deep; a user without products must not hide the next one's.
TEST_F(ApplicationInfoCollector, ListsTheInstallersProperties)
{
    const std::wstring sUserData = WindowsKey + L"Installer\\UserData\\";
    m_Roots.Machine(sUserData + L"S-1-1");
    m_Roots.Machine(sUserData + L"S-1-2\\Products\\bare");
    const CScratchKey& product = m_Roots.Machine(sUserData + L"S-1-2\\Products\\full\\InstallProperties");
    product.SetText(L"LocalPackage", L"C:\\x.msi");
    product.SetText(L"UninstallString", L"not shown");
    product.SetDword(L"WindowsInstaller", 1);
    m_Roots.Enter();
    const CLogWatch watch;
    EXPECT_EQ(Collect(), S_OK);
    ExpectGolden(Text(L"MsiInstallProperties.txt"), L"MsiInstallProperties.txt", L"");
    EXPECT_EQ(Text(L"StartupPrograms.txt"), "") << "a missing key ends the step";
    // A second run into the same folder, on a PC that is out of memory.
    const CImportPatch<decltype(NoMemory)> patch("RegEnumKeyExW", NoMemory);
    EXPECT_EQ(Collect(), S_OK);
    EXPECT_EQ(Text(L"MsiInstallProperties.txt"), "");
    ExpectGolden(watch.Records(), L"MsiInstallProperties.log", L"");
}

// A file that is held open ends the collection there, and the files behind it are not touched.
TEST_F(ApplicationInfoCollector, EndsAtAFileThatCannotBeMade)
{
    m_Roots.Enter();
    const std::wstring sCsv = m_Folder.Write(L"out\\InstalledPrograms.csv", "");
    const CFileHandle hHeld(::CreateFileW(sCsv.c_str(), GENERIC_READ, 0, nullptr, OPEN_EXISTING, 0, nullptr));
    const CLogWatch watch;
    EXPECT_EQ(Collect(), static_cast<HRESULT>(0x80070020));
    EXPECT_THAT(watch.Records().back(), ::testing::EndsWith("\\out\\InstalledPrograms.csv\" ) failed. [0x80070020]"));
    EXPECT_FALSE(FileExists(m_Folder / L"out\\InstalledPrograms.txt"));
    EXPECT_EQ(CApplicationInfoCollector().Collect(L""), E_INVALIDARG);
}

} // namespace
