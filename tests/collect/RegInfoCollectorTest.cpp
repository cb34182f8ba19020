#include "collect/RegInfoCollector.h"

#include <gmock/gmock.h>

#include "collect/CollectorUtilFakes.h"
#include "platform/Path.h"
#include "support/LogWatch.h"
#include "support/TestFolder.h"

using ::testing::ElementsAre;

namespace
{

std::vector<std::string> g_Saved; // "mark of the key > file"
LSTATUS WINAPI WatchedSave(HKEY hKey, LPCWSTR pPath, LPSECURITY_ATTRIBUTES pSecurity)
{
    wchar_t aMark[16] = L"?";
    DWORD dwBytes = sizeof aMark;
    ::RegQueryValueExW(hKey, L"mark", nullptr, nullptr, reinterpret_cast<BYTE*>(aMark), &dwBytes);
    g_Saved.push_back(Utf8(aMark) + " > " + Utf8(pPath));
    return pSecurity == nullptr && ::wcsstr(pPath, L"HKLM_Policies") == nullptr ? ERROR_SUCCESS : ERROR_ALREADY_EXISTS;
}
BOOL WINAPI NoToken(HANDLE, DWORD, PHANDLE) { return FALSE; }
BOOL WINAPI NoPrivilege(LPCWSTR, LPCWSTR, PLUID) { return FALSE; }
BOOL WINAPI NoAdjusting(HANDLE, BOOL, PTOKEN_PRIVILEGES, DWORD, PTOKEN_PRIVILEGES, PDWORD) { return FALSE; }

// A wrong pair of key and file sends the wrong part of the registry; one row must not cost another.
TEST(RegInfoCollector, SavesEachTreeThatIsThere)
{
    const CTestFolder folder;
    CFakeRoots roots;
    const std::wstring sWindows = L"Software\\Microsoft\\Windows\\CurrentVersion";
    roots.User(L"Software\\Microsoft\\Windows NT\\CurrentVersion\\AppCompatFlags").SetText(L"mark", L"1");
    roots.User(L"Software\\Classes\\VirtualStore\\MACHINE\\Software\\Tolvane Corporation").SetText(L"mark", L"2");
    roots.Machine(L"Software\\Microsoft\\Windows NT\\CurrentVersion\\AppCompatFlags").SetText(L"mark", L"3");
    roots.Machine(sWindows + L"\\Policies").SetText(L"mark", L"4");
    roots.Machine(sWindows + L"\\Uninstall").SetText(L"mark", L"5");
    roots.Machine(sWindows + L"\\Installer").SetText(L"mark", L"6");
    roots.Machine(L"SYSTEM\\CurrentControlSet\\Enum\\STORAGE\\Volume").SetText(L"mark", L"8");
    roots.Machine(L"SYSTEM\\CurrentControlSet\\Enum\\USB").SetText(L"mark", L"9");
    roots.Machine(L"SYSTEM\\CurrentControlSet\\Enum\\USBSTOR").SetText(L"mark", L"10");
    roots.Machine(L"Software\\ASIO").SetText(L"mark", L"12");
    roots.Enter();
    const CImportPatch<decltype(WatchedSave)> patch("RegSaveKeyW", WatchedSave);
    g_Saved.clear();
    const CLogWatch watch;
    EXPECT_EQ(CRegInfoCollector().Collect(folder / L"new\\dir"), S_OK);
    ExpectGolden(g_Saved, L"Hives.txt", folder.Path());
    ExpectGolden(watch.Records(), L"Hives.log", L"");
}

// The platform's own saving needs the privilege: without it there would be no hive at all.
TEST(RegInfoCollector, HasTheRightToSave)
{
    const CTestFolder folder;
    CFakeRoots roots;
    roots.Machine(L"Software\\ASIO").SetText(L"mark", L"found");
    roots.Enter();
    EXPECT_EQ(CRegInfoCollector().Collect(folder.Path()), S_OK);
    EXPECT_THAT(ReadBytes(folder / L"HKLM_ASIO.dat"), ::testing::HasSubstr("found"));
    EXPECT_FALSE(FileExists(folder / L"HKLM_Policies.dat"));
}

// What comes before the first hive ends the collection with its own code and text.
TEST(RegInfoCollector, NeedsItsFolderAndItsRight)
{
    const CTestFolder folder;
    const std::wstring sFile = folder.Write(L"file", "");
    const CImportPatch<decltype(WatchedSave)> patch("RegSaveKeyW", WatchedSave);
    g_Saved.clear();
    const CLogWatch watch;
    EXPECT_EQ(CRegInfoCollector().Collect(L""), E_INVALIDARG);
    EXPECT_EQ(CRegInfoCollector().Collect(sFile), E_UNEXPECTED);
    {
        const CImportPatch<decltype(NoToken)> step("OpenProcessToken", NoToken);
        EXPECT_EQ(CRegInfoCollector().Collect(folder.Path()), E_FAIL);
    }
    {
        const CImportPatch<decltype(NoPrivilege)> step("LookupPrivilegeValueW", NoPrivilege);
        EXPECT_EQ(CRegInfoCollector().Collect(folder.Path()), E_FAIL);
    }
    const CImportPatch<decltype(NoAdjusting)> step("AdjustTokenPrivileges", NoAdjusting);
    EXPECT_EQ(CRegInfoCollector().Collect(folder.Path()), E_FAIL);
    EXPECT_THAT(g_Saved, ElementsAre());
    auto Records = watch.Records();
    ASSERT_EQ(Records.size(), 5u);
    for (std::size_t n = 2; n < 5; ++n) // the last errors here are nobody's
        Records[n].resize(Records[n].size() - 9);
    ExpectGolden(Records, L"HivesRefused.log", folder.Path());
}

} // namespace
