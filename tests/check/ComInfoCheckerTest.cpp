// What the check of COM objects loads, and the lists of it.
#include <gtest/gtest.h>

#include <filesystem>
#include <regex>

#include "check/ComTestClasses.h"
#include "support/Golden.h"
#include "support/ImportPatch.h"

#include <psapi.h>

namespace
{

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
    // The record of an object that leaves a library of this place below C:\Program Files loaded.
    CComObjectInfo AddLoader(const std::wstring& sFolder)
    {
        std::filesystem::create_directories(L"C:\\Program Files" + sFolder);
        m_Modules.push_back(L"C:\\Program Files" + sFolder + L"\\resident.dll");
        ::CopyFileW(ServerPath().c_str(), m_Modules.back().c_str(), FALSE);
        return AddFilter(L"Loader", L"load-module", m_Modules.back());
    }

    CTestFolder m_Folder;
    std::vector<std::wstring> m_Modules;
};

// A module that an object leaves loaded has to be in the list, and counts where an installation for all programs must
// not be touched; the folder's name needs no end, as in "VelmoraX". A file in the way of the list must not cost that.
TEST_F(ComInfoChecker, ListsModulesAndCountsThoseOfTheInstallation)
{
    const ComInfos Infos{ AddLoader(L" (x86)\\Common Files\\Tolvane Shared\\Velmora"),
                          AddLoader(L"\\Common Files\\Tolvane Shared\\Velmora"),
                          AddLoader(L"\\Common Files\\Tolvane Shared\\nuvexX\\deep") };
    ExpectRun("Modules", Infos, false, m_Folder.Path());
    // Without the platform's own modules.
    const std::regex Others("[A-Z]:\\\\(?![^\r]*resident)[^\r]*\r\n");
    ExpectGolden(L"check/ModuleLists.txt", std::regex_replace(FilesBelow(m_Folder.Path()), Others, ""), L"");
    ::DeleteFileW((m_Folder / L"LoadedComModules.txt").c_str());
    m_Folder.Write(L"LoadedComModules.txt\\a folder is in the way", "");
    ExpectRun("Modules, side by side", Infos, true, m_Folder.Path());
}

// The list is for people at the maker. One driver without a name must not hide the others, drivers that come or go
// between the calls must not crash, and none at all must not cost the stage.
TEST_F(ComInfoChecker, ListsTheDriversThatHaveNames)
{
    DWORD aBytes[2]{}; // that the first and the second call tell
    const auto drivers = FakeImport<decltype(::EnumDeviceDrivers)>(
        "K32EnumDeviceDrivers", [&](auto pAddresses, DWORD dwCapacity, auto pdwNeeded) {
            *pdwNeeded = aBytes[pAddresses == nullptr ? 0 : 1];
            for (DWORD n = 0; pAddresses != nullptr && n < std::min(dwCapacity, *pdwNeeded) / 4; ++n)
                pAddresses[n] = reinterpret_cast<void*>(n);
            return *pdwNeeded != 99;
        });
    // The names of drivers 1 and 2 fail.
    const auto fileName = FakeImport<decltype(::GetDeviceDriverFileNameW)>(
        "K32GetDeviceDriverFileNameW", [](auto pAddress, auto pName, auto) {
            const auto n = reinterpret_cast<DWORD>(pAddress);
            return n == 1 ? 0 : ::wsprintfW(pName, L"\\??\\C:\\d%u.sys", n);
        });
    const auto baseName = FakeImport<decltype(::GetDeviceDriverBaseNameW)>(
        "K32GetDeviceDriverBaseNameW", [](auto pAddress, auto pName, auto) {
            const auto n = reinterpret_cast<DWORD>(pAddress);
            return n == 2 ? 0 : ::wsprintfW(pName, L"d%u.sys", n);
        });
    const CLogWatch watch;
    std::string sLists;
    for (const auto& rBytes : { std::pair(16u, 16u), { 4u, 16u }, { 16u, 4u }, { 0u, 0u }, { 8u, 99u } })
    {
        std::tie(aBytes[0], aBytes[1]) = rBytes;
        RunComCheck({}, false, m_Folder.Path());
        sLists += ReadBytes(m_Folder / L"LoadedDeviceDrivers.txt");
    }
    ExpectGolden(L"check/DriverLists.txt", sLists + Joined(watch.Records()), L"");
}

} // namespace
