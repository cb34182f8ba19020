#include <windows.h>

#include <algorithm>
#include <filesystem>

#include "check/ComTestClasses.h"
#include "support/ImportPatch.h"
#include "support/LogWatch.h"

namespace
{

using ::testing::EndsWith;
using ::testing::IsSupersetOf;
using ::testing::MatchesRegex;

// What a list file holds behind its head, which is compared here.
std::string ReadList(const std::wstring& sPath, const std::string& sTitle)
{
    const std::string sText = ReadBytes(sPath), sUnderscores(48, '_');
    const std::size_t nTitle = std::min(sText.find(sTitle + "\r\n\r\n"), sText.size() - sTitle.size() - 4);
    EXPECT_THAT(
        sText.substr(0, nTitle),
        MatchesRegex(sUnderscores + "\r\n\\[....\\/..\\/.. ..:..:..\\] Version .*\r\n" + sUnderscores + "\r\n"));
    return sText.substr(nTitle + sTitle.size() + 4);
}

DWORD g_nDrivers;
BOOL WINAPI Drivers(void**, DWORD, DWORD* pdwNeeded)
{
    *pdwNeeded = g_nDrivers * sizeof(void*);
    return TRUE;
}
// The n-th name that is asked for.
int g_nNames;
DWORD WINAPI DriverName(void*, wchar_t* pText, DWORD)
{
    return static_cast<DWORD>(::wsprintfW(pText, L"name%d", ++g_nNames));
}

class ComInfoChecker : public CComTest
{
protected:
    ~ComInfoChecker() override
    {
        for (const std::wstring& rModule : m_Modules)
        {
            while (const HMODULE hModule = ::GetModuleHandleW(rModule.c_str()))
                ::FreeLibrary(hModule);
            ::DeleteFileW(rModule.c_str());
        }
    }
    // The record of an object that leaves a library of this place loaded.
    CComObjectInfo AddLoader(const std::wstring& sFolder)
    {
        std::filesystem::create_directories(sFolder);
        m_Modules.push_back(sFolder + L"\\resident.dll");
        ::CopyFileW(ServerPath().c_str(), m_Modules.back().c_str(), FALSE);
        return AddFilter(L"Loader", L"load-module", m_Modules.back());
    }
    void Run(const std::vector<CComObjectInfo>& rInfos, bool bSxS, const char* pSection)
    {
        const CImportPatch<decltype(Drivers)> drivers("K32EnumDeviceDrivers", Drivers);
        const CImportPatch<decltype(DriverName)> files("K32GetDeviceDriverFileNameW", DriverName);
        const CImportPatch<decltype(DriverName)> bases("K32GetDeviceDriverBaseNameW", DriverName);
        ExpectRun(RunComCheck(rInfos, bSxS, m_Folder.Path()), pSection);
    }
    std::string DriverList() const { return ReadList(m_Folder / L"LoadedDeviceDrivers.txt", "Loaded Device Drivers"); }

    CTestFolder m_Folder;
    std::vector<std::wstring> m_Modules;
};

// A module that an object leaves loaded has to be in the list, and counts where an installation for all programs must
// not be touched; the folder's name needs no end, as in "VelmoraX". The second list is for people at the maker.
TEST_F(ComInfoChecker, ListsModulesAndDriversAndCountsModulesOfTheInstallation)
{
    std::vector<CComObjectInfo> Infos;
    for (const wchar_t* const pFolder :
         { L" (x86)\\Common Files\\Tolvane Shared\\Velmora", L"\\Common Files\\Tolvane Shared\\Velmora",
           L"\\Common Files\\Tolvane Shared\\nuvexX\\deep" })
        Infos.push_back(AddLoader(std::wstring(L"C:\\Program Files") + pFolder));
    g_nDrivers = 2;
    g_nNames = 0;
    Run(Infos, false, "Modules");
    EXPECT_EQ(DriverList(), "BaseName, FileName\r\nname2, name1\r\nname4, name3\r\n");
    Run(Infos, true, "Modules, side by side");
    const std::string sList = "\r\n" + ReadList(m_Folder / L"LoadedComModules.txt", "Loaded COM Modules");
    std::size_t nModule = 0;
    for (const std::wstring& rModule : m_Modules) // in the order of the characters, capitals first
    {
        nModule = sList.find("\r\n" + Utf8(rModule) + "\r\n", nModule);
        ASSERT_NE(nModule, sList.npos) << Utf8(rModule);
    }
}

// A file in the way must not cost the test for modules, and a platform that knows no drivers not the stage.
TEST_F(ComInfoChecker, GoesOnWithoutAList)
{
    const CComObjectInfo loader = AddLoader(L"C:\\Program Files\\Common Files\\Tolvane Shared\\Velmora");
    m_Folder.Write(L"LoadedComModules.txt\\a folder is in the way", "");
    g_nDrivers = 0;
    const CLogWatch watch;
    Run({ loader }, true, "List in the way");
    EXPECT_EQ(DriverList(), "BaseName, FileName\r\n");
    EXPECT_THAT(watch.Records(),
                IsSupersetOf({ EndsWith("] CResultLog::Open( \"" + Utf8(m_Folder / L"LoadedComModules.txt") +
                                        "\" ) failed. [0x80070005]"),
                               EndsWith("] COpdDriverInfo::GetLoadedDeviceDrivers() failed. [0x80004005]") }));
}

} // namespace
