#include "collect/RegInfoCollector.h"

#include <gtest/gtest.h>

#include "collect/CollectorUtilFakes.h"
#include "support/LogWatch.h"
#include "support/TestFolder.h"

namespace
{

using namespace std::string_literals;

std::vector<std::string> g_Saved; // "mark of the key > file"
LSTATUS WINAPI WatchedSave(HKEY hKey, LPCWSTR pPath, LPSECURITY_ATTRIBUTES pSecurity)
{
    wchar_t aMark[16] = L"?";
    DWORD dwBytes = sizeof aMark;
    ::RegQueryValueExW(hKey, L"mark", nullptr, nullptr, reinterpret_cast<BYTE*>(aMark), &dwBytes);
    g_Saved.push_back(Utf8(aMark) + " > " + Utf8(pPath));
    return pSecurity == nullptr && ::wcsstr(pPath, L"HKLM_Policies") == nullptr ? ERROR_SUCCESS : ERROR_ALREADY_EXISTS;
}

// A wrong pair of key and file sends the wrong part of the registry; one row must not cost another.
TEST(RegInfoCollector, SavesEachTreeThatIsThere)
{
    const CTestFolder folder;
    CFakeRoots roots;
    const std::wstring sWindows = L"Software\\Microsoft\\Windows\\CurrentVersion";
    int nMark = 0;
    const std::wstring sMicrosoft = L"Software\\Microsoft\\", sEnum = L"SYSTEM\\CurrentControlSet\\Enum\\";
    for (const std::wstring& sPath : { sMicrosoft + L"Windows NT\\CurrentVersion\\AppCompatFlags",
                                       L"Software\\Classes\\VirtualStore\\MACHINE\\Software\\Tolvane Corporation"s })
        roots.User(sPath).SetText(L"mark", std::to_wstring(++nMark));
    for (const std::wstring& sPath :
         { sMicrosoft + L"Windows NT\\CurrentVersion\\AppCompatFlags", sWindows + L"\\Policies",
           sWindows + L"\\Uninstall", sWindows + L"\\Installer", sEnum + L"STORAGE\\Volume", sEnum + L"USB",
           sEnum + L"USBSTOR", L"Software\\ASIO"s })
        roots.Machine(sPath).SetText(L"mark", std::to_wstring(++nMark));
    roots.Enter();
    const CImportPatch<decltype(WatchedSave)> patch("RegSaveKeyW", WatchedSave);
    g_Saved.clear();
    const CLogWatch watch;
    EXPECT_EQ(CRegInfoCollector().Collect(folder / L"new\\dir"), S_OK);
    ExpectGolden(g_Saved, L"Hives.txt", folder.Path());
    ExpectGolden(watch.Records(), L"Hives.log", L"");
}

} // namespace
