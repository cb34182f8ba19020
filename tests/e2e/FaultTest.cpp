// Every collector when something around it goes wrong: it ends in time, says in the log what was lost, and leaves its
// other files as they always are.
#include <filesystem>
#include <fstream>
#include <map>
#include <regex>
#include <set>

#include <gmock/gmock.h>

#include "e2e/Program.h"
#include "platform/Format.h"
#include "support/ScratchKey.h"

namespace
{

namespace fs = std::filesystem;

constexpr int Many = 300; // files of each folder that vanishes while it is read

// A folder in which nobody may make a file, not even root.
const std::wstring NoRights = L"Z:\\sys\\kernel";

// Folders of the PC that collectors list.
const std::wstring Startup = std::wstring(::_wgetenv(L"USERPROFILE")) +
                             L"\\AppData\\Roaming\\Microsoft\\Windows\\Start Menu\\Programs\\StartUp";
const std::wstring Installers = L"C:\\Program Files (x86)\\InstallShield Installation Information";
const std::wstring Drivers = L"C:\\windows\\system32\\drivers";

const struct CMode
{
    std::wstring sSwitch, sTarget; // a file that no other one waits for
    std::wstring sInput = {};      // a folder that it reads file by file; without a root one of the installation
    std::wstring sFirst = sTarget; // shows that it is reading
    bool bTells = true;            // Wine's shell, which copies for one mode, keeps to itself what it gave up
} Modes[] = {
    { L"-collect:velmora", L"Velmora.csv", L"repository" },
    { L"-s -collect:system", L"NtService.txt" },
    { L"-collect:registry", L"HKLM_Uninstall.dat" },
    { L"-collect:application", L"MsiInstallProperties.txt", Startup, L"StartupPrograms.txt" },
    { L"-collect:installer", L"InstallShield(x86).csv", Installers },
    { L"-collect:hardware", L"DeviceList-All.txt" },
    { L"-collect:driver", L"Drivers.csv", Drivers },
    { L"-collect:license", L"procfile", L"repository", L"tarnlist-many1.dat", false },
    { L"-collect:log", L"vlmlog.txt" }, // a log that vanishes leaves no record, by design
    { L"-collect:asio", L"ASIO.csv", L"nuvex" },
    { L"-create:backup", L"license.vbk" },
    { L"-create:hwinfo", L"hwinfo.dat" },
};

// What a run has left, without what differs from run to run.
struct CRemains
{
    std::map<std::wstring, std::string> Files;
    std::multiset<std::string> Log;
};

std::string Steady(const std::wstring& sName, const std::string& sText)
{
    static const std::regex Numbers("[0-9A-F]+");
    return sName.starts_with(L"RunningProcesses") ? "" : std::regex_replace(sText, Numbers, "#");
}

// A PC with something to find for every collector.
class CPc
{
public:
    CPc()
    {
        m_Backup.SetText(nullptr, SAMPLE_OBJECTS);
        m_Driver.SetText(nullptr, Path(L"nuvex\\many1.log"));
        for (const wchar_t* pName : { L"vlmkey", L"procfile", L"vlmlog.txt" })
            Write(Path(L"repository\\") + pName);
        for (int n = 0; n < Many; ++n)
        {
            for (const std::wstring& sFolder : { Startup, Installers, Drivers })
                Write(FormatText(L"%s\\many%d.txt", sFolder, n));
            Write(Path(FormatText(L"repository\\tarnlist-many%d.dat", n)));
            Write(Path(FormatText(L"nuvex\\many%d.log", n)));
            ::RegSetKeyValueW(m_Asio.Get(), FormatText(L"Device%d", n).c_str(), L"CLSID", REG_SZ, DriverClass,
                              sizeof DriverClass);
        }
    }
    ~CPc()
    {
        for (const std::wstring& sFolder : { Startup, Installers, Drivers })
        {
            fs::remove_all(sFolder);
            if (sFolder == Startup) // this PC has no other one
                fs::create_directory(sFolder);
        }
    }
    CPc(const CPc&) = delete;
    CPc& operator=(const CPc&) = delete;

    static void Write(const fs::path& rPath)
    {
        fs::create_directories(rPath.parent_path());
        std::ofstream(rPath) << rPath;
    }
    // The path of what has no root of its own.
    std::wstring Path(const std::wstring& sName) const { return fs::path(m_Installation.Folder().Path()) / sName; }
    // Runs a mode; sVanishing is a folder that goes away once the mode reads it.
    CRemains Run(const CMode& rMode, const std::wstring& sOut, const std::wstring& sVanishing = L"") const
    {
        fs::remove_all(m_Installation.ResultFolder());
        const CProgramRun run(
            m_Installation.CommandLine(FormatText(L"%s \"-path:repository%s\" \"-path:nuvex%s\" \"-l%s\"",
                                                  rMode.sSwitch, Path(L"repository"), Path(L"nuvex"), sOut)));
        if (!sVanishing.empty())
            TakeAway(fs::path(sOut) / rMode.sFirst, sVanishing);
        const CRunReport Report = run.Watch();
        EXPECT_FALSE(Report.bWindowShown);
        EXPECT_TRUE(Report.dwExitCode == 0 || Report.dwExitCode >> 28 == 8) << Report.dwExitCode; // no crash
        if (!sVanishing.empty())
            fs::rename(sVanishing + L".gone", sVanishing);
        CRemains remains;
        for (const CLogLine& rLine : m_Installation.LogLines())
            remains.Log.insert(rLine.sText);
        for (const auto& rEntry : fs::recursive_directory_iterator(sOut == NoRights ? Path(L"result") : sOut))
        {
            const std::wstring sName = rEntry.path().filename();
            if (rEntry.is_regular_file() && sName != rMode.sTarget)
                remains.Files[sName] = Steady(sName, ReadBytes(rEntry.path()));
        }
        return remains;
    }

private:
    static constexpr wchar_t DriverClass[] = L"{22E3D7E2-3AD5-11D5-831A-0060970300FF}";

    static void TakeAway(const fs::path& rFirst, const std::wstring& sFolder)
    {
        const bool bCopied = rFirst.filename().wstring().find(L"many") != std::wstring::npos;
        std::error_code none;
        for (int n = 0; n < 10000; ++n, ::Sleep(1))
        {
            const std::uintmax_t nSize = fs::file_size(rFirst, none);
            // A folder that is just being enumerated cannot be renamed.
            if (!none && nSize > (bCopied ? 0 : 3000) && ::MoveFileW(sFolder.c_str(), (sFolder + L".gone").c_str()))
                return;
        }
        throw std::runtime_error("cannot take " + Utf8(sFolder) + " away");
    }

    CInstallation m_Installation;
    CScratchKey m_Backup{ L"Classes\\CLSID\\{22E3D7E2-3AD5-11D5-831A-00609703EECF}\\InprocServer32" };
    CScratchKey m_Driver{ std::wstring(L"Classes\\CLSID\\") + DriverClass + L"\\InprocServer32" };
    CScratchKey m_Asio{ L"ASIO" };
};

// A record of a failure with one of these codes, which the undisturbed run does not have. The product's backup tells no
// cause.
void ExpectRecord(const CMode& rMode, const CRemains& rRemains, const CRemains& rUsual, const std::string& sCodes)
{
    const std::regex Codes(sCodes + "|createBackupImage");
    std::vector<std::string> New;
    std::ranges::set_difference(rRemains.Log, rUsual.Log, std::back_inserter(New));
    EXPECT_EQ(std::ranges::any_of(New, [&](const std::string& s) { return std::regex_search(s, Codes); }), rMode.bTells)
        << sCodes;
}

// One program that holds a file, or one folder too few, and the desk's picture of the PC would be torn or missing, or
// would be wrong without a word.
TEST(Collector, LosesNothingButWhatAFaultHits)
{
    const CPc pc;
    const std::wstring sOut = pc.Path(L"out");
    const wchar_t* const pFullDisk = ::_wgetenv(L"KELVARIN_FULL_DISK");
    for (const CMode& rMode : Modes)
    {
        SCOPED_TRACE(Utf8(rMode.sSwitch));
        const CRemains usual = pc.Run(rMode, sOut);
        const fs::path Target = sOut + L'\\' + rMode.sTarget;
        ASSERT_TRUE(fs::exists(Target));
        fs::remove_all(sOut);

        ExpectRecord(rMode, pc.Run(rMode, NoRights), usual, "80070005|\\(5\\)");

        pc.Write(Target);
        CFileHandle hHeld(::CreateFileW(Target.c_str(), GENERIC_READ, 0, nullptr, OPEN_EXISTING, 0, nullptr));
        CRemains remains = pc.Run(rMode, sOut);
        hHeld.Close();
        ExpectRecord(rMode, remains, usual, "80070020|\\(32\\)");
        EXPECT_EQ(remains.Files, usual.Files);
        fs::remove_all(sOut);

        if (pFullDisk != nullptr)
        {
            const std::wstring sFull = std::wstring(pFullDisk) + L"\\out";
            remains = pc.Run(rMode, sFull);
            ExpectRecord(rMode, remains, usual, "80070070|\\(112\\)");
            for (const auto& [sName, sText] : remains.Files)
                EXPECT_TRUE(sText.empty() || sText == usual.Files.at(sName)) << Utf8(sName);
            fs::remove_all(sFull);
        }
        if (rMode.sInput.empty())
            continue;
        remains = pc.Run(rMode, sOut, pc.Path(rMode.sInput));
        ExpectRecord(rMode, remains, usual, "80070003");
        for (const auto& [sName, sText] : usual.Files)
        {
            const bool bOfInput = sName.find(L"many") != sName.npos || sName == rMode.sFirst;
            EXPECT_TRUE(bOfInput || remains.Files.at(sName) == sText) << Utf8(sName);
        }
        fs::remove_all(sOut);
    }
    if (pFullDisk == nullptr)
        GTEST_SKIP() << "no small disk could be mounted, so that none was full";
}

} // namespace
