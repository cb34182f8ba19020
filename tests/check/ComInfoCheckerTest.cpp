#include <windows.h>

#include <algorithm>
#include <filesystem>

#include "check/ComTestClasses.h"

namespace
{

using ::testing::ElementsAre;
using ::testing::ElementsAreArray;
using ::testing::IsSupersetOf;
using ::testing::MatchesRegex;

// The lines of a list file behind its head, which is compared here.
Lines ReadList(const std::wstring& sPath, const std::string& sTitle)
{
    const std::string sText = ReadBytes(sPath), sUnderscores(48, '_');
    Lines all;
    std::size_t nStart = 0;
    for (std::size_t nEnd; (nEnd = sText.find("\r\n", nStart)) != sText.npos; nStart = nEnd + 2)
        all.push_back(sText.substr(nStart, nEnd - nStart));
    all.resize(std::max<std::size_t>(all.size(), 5));
    EXPECT_THAT(
        Lines(all.begin(), all.begin() + 5),
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
        std::filesystem::copy_file(CComTestClasses::ServerPath(), m_sPath,
                                   std::filesystem::copy_options::overwrite_existing);
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
        Infos.push_back(m_Classes.Add(L"Loader", L"Both", L"load-module", m_Classes.ServerPath(), pModule->Path()));
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

} // namespace
