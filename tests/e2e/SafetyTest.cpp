// What a main run takes from the PC and what it leaves there: no library from beside the program, no trace but its own
// folders.
#include <algorithm>
#include <filesystem>
#include <map>
#include <regex>
#include <sstream>

#include <gmock/gmock.h>

#include "collect/BackupPrivilege.h"
#include "e2e/Program.h"
#include "log/FunctionLog.h"
#include "support/ScratchKey.h"

namespace
{

namespace fs = std::filesystem;
using ::testing::ElementsAre;

// A library of the sample product that needs another one beside it, one of its objects, and one whose server tells that
// it was loaded.
const std::string Manifest =
    "<installchecker><file-infos><directory name='" + Utf8(SAMPLE_FOLDER) +
    "'><file name='VlmAtlMfcMsvcBridge.dll'/></directory></file-infos><com-infos>"
    "<coclass name='Backup' clsid='{22E3D7E2-3AD5-11D5-831A-00609703EECF}' reg-type='normal' file-path='ANYWHERE'/>"
    "<coclass name='Control' clsid='{22E3D7E2-3AD5-11D5-831A-006097030C01}' reg-type='normal' file-path='ANYWHERE'/>"
    "</com-infos></installchecker>";

using CState = std::map<std::string, std::string>;

void AddHive(CState& rState, HKEY hRoot, const wchar_t* pPath, const std::wstring& sFile)
{
    CRegKeyHandle hKey;
    ::RegOpenKeyExW(hRoot, pPath, 0, KEY_READ | KEY_WOW64_64KEY, hKey.Put());
    ASSERT_EQ(::RegSaveKeyW(hKey.Get(), sFile.c_str(), nullptr), ERROR_SUCCESS) << Utf8(pPath);
    std::istringstream Text(ReadBytes(sFile));
    ::DeleteFileW(sFile.c_str());
    std::string sLine, sKey;
    while (std::getline(Text, sLine))
    {
        if (sLine.starts_with('['))
            sKey = Utf8(pPath) + sLine.substr(0, sLine.rfind(']')); // without its time
        else if (!sLine.starts_with('#'))
            rState[sKey] += sLine;
    }
}

// The files of the PC with sizes and times, and its registry; not the run's own folders.
CState StateOfPc(const CInstallation& rInstallation)
{
    CFunctionLog log;
    EnableBackupPrivilege(log);
    CState State;
    AddHive(State, HKEY_LOCAL_MACHINE, L"Software", rInstallation.Folder() / L"hive");
    AddHive(State, HKEY_LOCAL_MACHINE, L"System", rInstallation.Folder() / L"hive");
    AddHive(State, HKEY_USERS, L".Default", rInstallation.Folder() / L"hive");
    AddHive(State, HKEY_CURRENT_USER, L"", rInstallation.Folder() / L"hive");
    for (auto it = fs::recursive_directory_iterator(L"C:\\"); it != fs::recursive_directory_iterator(); ++it)
    {
        if (it->path() == rInstallation.Folder() / L"out" || it->path() == rInstallation.ResultFolder())
            it.disable_recursion_pending();
        else if (it->is_directory())
            State[it->path().string()];
        else
            State[it->path().string()] = std::to_string(it->file_size()) + ' ' +
                                         std::to_string(it->last_write_time().time_since_epoch().count());
    }
    return State;
}

// Names of files and keys that are new, gone or changed.
std::vector<std::string> Changes(CState Before, const CState& rAfter)
{
    std::vector<std::string> Names;
    for (const auto& [sName, sContent] : rAfter)
    {
        if (const auto it = Before.find(sName); it == Before.end() || it->second != sContent)
            Names.push_back(sName);
        Before.erase(sName);
    }
    for (const auto& [sName, sContent] : Before)
        Names.push_back("gone: " + sName);
    // What the system itself notes down the first time that somebody asks for its media devices.
    static const std::regex Noted(R"(\\(MMDevices|ActiveMovie\\\\devenum|Drivers\\\\winealsa\.drv))");
    std::erase_if(Names, [](const std::string& s) { return std::regex_search(s, Noted); });
    return Names;
}

// Puts a library beside the program under each name that the system has one of, and lets Wine take it before its own.
void Plant(const CTestFolder& rFolder, HKEY hOverrides)
{
    std::vector<std::wstring> Names{ L"vlmtext.dll" };
    for (const auto& rEntry : fs::directory_iterator(L"C:\\windows\\system32"))
    {
        const std::wstring sName = rEntry.path().filename().wstring();
        // Windows takes these from where it keeps its own; Wine would look beside the program.
        const bool bKnown = std::regex_match(sName, std::wregex(L"(kernel32|kernelbase|ntdll|msvcrt)\\.dll"));
        if (!bKnown && (sName.ends_with(L".dll") || sName.ends_with(L".drv")))
            Names.push_back(sName);
    }
    ASSERT_GT(Names.size(), 100u);
    for (const std::wstring& sName : Names)
    {
        ::CopyFileW(TEST_PLANTED, (rFolder / sName).c_str(), TRUE);
        const std::wstring sModule = sName.ends_with(L".dll") ? sName.substr(0, sName.size() - 4) : sName;
        ::RegSetValueExW(hOverrides, sModule.c_str(), 0, REG_SZ, reinterpret_cast<const BYTE*>(L"native,builtin"), 30);
    }
}

// The program lies in a folder of downloads: whoever can put a library there would own the PC.
TEST(MainRunBesidePlantedLibraries, LoadsNoneOfThemAndLeavesNoTraceButItsOwnFolders)
{
    const CInstallation installation(Manifest);
    CScratchKey backup(L"Classes\\CLSID\\{22E3D7E2-3AD5-11D5-831A-00609703EECF}\\InprocServer32");
    backup.SetText(nullptr, SAMPLE_FOLDER L"\\VlmObjects.dll");
    CScratchKey control(L"Classes\\CLSID\\{22E3D7E2-3AD5-11D5-831A-006097030C01}\\InprocServer32");
    control.SetText(nullptr, installation.Folder().Write(L"control\\control.dll", ReadBytes(TEST_PLANTED)));
    constexpr wchar_t aOverrides[] = L"Software\\Wine\\AppDefaults\\Kelvarin.exe";
    CRegKeyHandle hOverrides;
    ::RegCreateKeyW(HKEY_CURRENT_USER, (std::wstring(aOverrides) + L"\\DllOverrides").c_str(), hOverrides.Put());
    Plant(installation.Folder(), hOverrides.Get());

    const CState Before = StateOfPc(installation);
    EXPECT_EQ(installation.Run(L"", 60000).dwExitCode, 0u);
    EXPECT_THAT(Changes(Before, StateOfPc(installation)),
                ElementsAre(Utf8(installation.Folder() / L"control\\control.dll.loaded")));
    ::RegDeleteTreeW(HKEY_CURRENT_USER, aOverrides);

    std::vector<std::string> Lines = installation.ResultLines();
    std::erase_if(Lines, [](const std::string& s) { return !s.starts_with("Succeeded: "); });
    EXPECT_THAT(Lines,
                ElementsAre("Succeeded: Check File Info \"" + Utf8(SAMPLE_FOLDER) + "\\VlmAtlMfcMsvcBridge.dll\"",
                            "Succeeded: Check COM Object Info. [MTA][name:\"Backup\"]",
                            "Succeeded: Check COM Object Info. [STA][name:\"Backup\"]"));
}

} // namespace
