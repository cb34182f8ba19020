#include <windows.h>

#include <tlhelp32.h>

#include <algorithm>
#include <cwchar>
#include <filesystem>

#include "check/ComTestClasses.h"
#include "support/ImportPatch.h"
#include "support/LogWatch.h"

namespace
{

using ::testing::Contains;
using ::testing::ElementsAre;
using ::testing::ElementsAreArray;
using ::testing::EndsWith;
using ::testing::IsSupersetOf;
using ::testing::MatchesRegex;
using ::testing::Not;

// The lines of a list file behind its head, which is compared here.
Lines ReadList(const std::wstring& sPath, const std::string& sTitle)
{
    const std::string sText = ReadBytes(sPath), sUnderscores(48, '_');
    Lines all;
    std::size_t nStart = 0;
    for (std::size_t nEnd; (nEnd = sText.find("\r\n", nStart)) != sText.npos; nStart = nEnd + 2)
        all.push_back(sText.substr(nStart, nEnd - nStart));
    all.resize(std::max<std::size_t>(all.size(), 5));
    EXPECT_THAT(Lines(all.begin(), all.begin() + 5),
                ElementsAre(sUnderscores, MatchesRegex("\\[....\\/..\\/.. ..:..:..\\] Version .*"), sUnderscores, sTitle, ""));
    return { all.begin() + 5, all.end() };
}

// A library in one of the folders that belong to an installation for all programs.
class CInstalledModule
{
public:
    explicit CInstalledModule(const std::wstring& sFolder) : m_sPath(sFolder + L"\\resident.dll")
    {
        std::filesystem::create_directories(sFolder);
        std::filesystem::copy_file(CComTestClasses::ServerPath(), m_sPath, std::filesystem::copy_options::overwrite_existing);
    }
    ~CInstalledModule()
    {
        while (const HMODULE hModule = ::GetModuleHandleW(m_sPath.c_str()))
            ::FreeLibrary(hModule);
        ::DeleteFileW(m_sPath.c_str());
    }
    const std::wstring& Path() const { return m_sPath; }

private:
    std::wstring m_sPath;
};

class ComInfoChecker : public ::testing::Test
{
protected:
    CComTestClasses m_Classes;
    CTestFolder m_Folder;
};

// A module that an object leaves loaded has to be in the list, and counts where an installation for all programs must
// not be touched; the folder's name needs no end, as in "VelmoraX".
TEST_F(ComInfoChecker, ListsTheLoadedModulesAndCountsThoseOfTheInstallation)
{
    const std::wstring sShared = L"C:\\Program Files\\Common Files\\Tolvane Shared\\";
    const CInstalledModule velmora(sShared + L"Velmora"), nuvex(sShared + L"nuvexX\\deep");
    const CInstalledModule other(L"C:\\Program Files (x86)\\Common Files\\Tolvane Shared\\Velmora");
    std::vector<CComObjectInfo> Infos;
    Lines expected;
    for (const CInstalledModule* const pModule : { &nuvex, &velmora, &other })
    {
        Infos.push_back(m_Classes.AddFilter(L"Loader", L"load-module"));
        Infos.back() = m_Classes.Add(L"Loader", L"Both", L"load-module", m_Classes.ServerPath(), pModule->Path());
        Infos.back().bAllApartments = false;
        Infos.back().nApartment = CComObjectInfo::Apartment_Sta;
        expected.push_back(Worked("STA", Infos.back()));
    }
    CCheckRun run = RunComCheck(Infos, false, m_Folder.Path());
    EXPECT_EQ(run.nFailed, 0u);
    EXPECT_THAT(run.Lines, ElementsAreArray(expected));
    run = RunComCheck(Infos, true, m_Folder.Path());
    expected.push_back("Failed: Non-SxS module loaded.[\"" + Utf8(velmora.Path()) + "\"]");
    expected.push_back("Failed: Non-SxS module loaded.[\"" + Utf8(nuvex.Path()) + "\"]");
    EXPECT_EQ(run.nFailed, 2u);
    EXPECT_THAT(run.Lines, ElementsAreArray(expected));

    const Lines Modules = ReadList(m_Folder / L"LoadedComModules.txt", "Loaded COM Modules");
    EXPECT_THAT(Modules, IsSupersetOf({ Utf8(velmora.Path()), Utf8(nuvex.Path()), Utf8(other.Path()) }));
    EXPECT_TRUE(std::ranges::is_sorted(Modules));
    EXPECT_EQ(std::ranges::adjacent_find(Modules), Modules.end());
}

HANDLE WINAPI NoSnapshot(DWORD, DWORD)
{
    ::SetLastError(ERROR_PARTIAL_COPY);
    return INVALID_HANDLE_VALUE;
}
BOOL WINAPI NoModule(HANDLE, MODULEENTRY32W*)
{
    ::SetLastError(ERROR_NO_MORE_FILES);
    return FALSE;
}

// A scan that fails is told, and the object is as good as before.
TEST_F(ComInfoChecker, TellsAFailedModuleScanWithoutCountingIt)
{
    CComObjectInfo info = m_Classes.AddFilter(L"Filter");
    {
        const CImportPatch<decltype(NoSnapshot)> patch("CreateToolhelp32Snapshot", NoSnapshot);
        const CCheckRun run = RunComCheck({ info }, true, m_Folder.Path());
        EXPECT_EQ(run.nFailed, 0u);
        EXPECT_THAT(run.Lines, ElementsAre(Worked("STA", info), "CreateToolhelp32Snapshot() failed.[0x8007012B]"));
    }
    const CImportPatch<decltype(NoModule)> patch("Module32FirstW", NoModule);
    const CCheckRun run = RunComCheck({ info }, true, m_Folder.Path());
    EXPECT_THAT(run.Lines, ElementsAre(Worked("STA", info), "Module32First() failed.[0x80070012]"));
    EXPECT_THAT(ReadList(m_Folder / L"LoadedComModules.txt", "Loaded COM Modules"), ElementsAre());
    // A dummy leaves no scan, so its run cannot tell of one.
    info.nRegType = CComObjectInfo::RegType_SxsDummy;
    info.clsid = {};
    EXPECT_THAT(RunComCheck({ info }).Lines, ElementsAre());
}

BOOL WINAPI TwoDrivers(void** ppAddresses, DWORD dwCapacity, DWORD* pdwNeeded)
{
    *pdwNeeded = 2 * sizeof(void*);
    for (ULONG_PTR n = 0; n < dwCapacity / sizeof(void*); ++n)
        ppAddresses[n] = reinterpret_cast<void*>(n + 1);
    return TRUE;
}
BOOL WINAPI NoDrivers(void**, DWORD, DWORD* pdwNeeded)
{
    *pdwNeeded = 0;
    ::SetLastError(ERROR_ACCESS_DENIED);
    return FALSE;
}
DWORD WINAPI DriverFile(void* pAddress, wchar_t* pText, DWORD)
{
    std::wcscpy(pText, pAddress == reinterpret_cast<void*>(1) ? L"\\SystemRoot\\a.sys" : L"C:\\b, c.sys");
    return static_cast<DWORD>(std::wcslen(pText));
}
DWORD WINAPI DriverBase(void* pAddress, wchar_t* pText, DWORD)
{
    std::wcscpy(pText, pAddress == reinterpret_cast<void*>(1) ? L"a.sys" : L"b, c.sys");
    return static_cast<DWORD>(std::wcslen(pText));
}

// Both lists are for people at the maker: a list that the platform does not give leaves its head, and the stage goes on.
TEST_F(ComInfoChecker, ListsTheLoadedDrivers)
{
    const std::wstring sList = m_Folder / L"LoadedDeviceDrivers.txt";
    {
        const CImportPatch<decltype(TwoDrivers)> drivers("K32EnumDeviceDrivers", TwoDrivers);
        const CImportPatch<decltype(DriverFile)> files("K32GetDeviceDriverFileNameW", DriverFile);
        const CImportPatch<decltype(DriverBase)> bases("K32GetDeviceDriverBaseNameW", DriverBase);
        RunComCheck({}, false, m_Folder.Path());
        EXPECT_THAT(ReadList(sList, "Loaded Device Drivers"), ElementsAre("BaseName, FileName", "a.sys, \\SystemRoot\\a.sys", "b, c.sys, C:\\b, c.sys"));
    }
    const CImportPatch<decltype(NoDrivers)> patch("K32EnumDeviceDrivers", NoDrivers);
    const CLogWatch watch;
    EXPECT_EQ(RunComCheck({}, false, m_Folder.Path()).hr, S_OK);
    EXPECT_THAT(ReadList(sList, "Loaded Device Drivers"), ElementsAre("BaseName, FileName"));
    EXPECT_THAT(watch.Records(), Contains(EndsWith("] COpdDriverInfo::GetLoadedDeviceDrivers() failed. [0x80004005]")));
}

// Without its list the test for modules of the installation still happens, and so does the second list.
TEST_F(ComInfoChecker, GoesOnWhenAListCannotBeOpened)
{
    const CInstalledModule module(L"C:\\Program Files\\Common Files\\Tolvane Shared\\Velmora");
    CComObjectInfo info = m_Classes.Add(L"Loader", L"Both", L"load-module", m_Classes.ServerPath(), module.Path());
    info.bAllApartments = false;
    m_Folder.Write(L"LoadedComModules.txt\\a folder is in the way", "");
    const CLogWatch watch;
    const CCheckRun run = RunComCheck({ info }, true, m_Folder.Path());
    EXPECT_EQ(run.hr, S_OK);
    EXPECT_EQ(run.nFailed, 1u);
    EXPECT_THAT(run.Lines, ElementsAre(Worked("MTA", info), Worked("STA", info), "Failed: Non-SxS module loaded.[\"" + Utf8(module.Path()) + "\"]"));
    EXPECT_THAT(watch.Records(), Contains(EndsWith("] CResultLog::Open( \"" + Utf8(m_Folder / L"LoadedComModules.txt") + "\" ) failed. [0x80070005]")));
    EXPECT_EQ(ReadList(m_Folder / L"LoadedDeviceDrivers.txt", "Loaded Device Drivers").front(), "BaseName, FileName");
}

} // namespace
