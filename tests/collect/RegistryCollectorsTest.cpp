// The collectors of what stands in the registry.
#include <fstream>

#include "collect/ApplicationInfoCollector.h"
#include "collect/AsioInfoCollector.h"
#include "collect/CollectorUtilFakes.h"
#include "collect/RegInfoCollector.h"

namespace
{

// Support reads all four files: a damaged value must cost its own line only, a program without a name has a block but
// no row, nothing is escaped, and a user without products must not hide the next one's.
TEST(ApplicationInfoCollector, ListsWhatStartsAndWhatIsInstalled)
{
    const CTestFolder folder;
    const auto shell = FakeShellFolders({ { CSIDL_STARTUP, folder / L"startup" } });
    // Keys are of the 7th of a month of 2013, at 15:04; one named "undated" is of no time at all.
    const auto keys = WrapImport<decltype(::RegEnumKeyExW)>(
        "RegEnumKeyExW", [](auto original, auto hKey, auto nIndex, auto pName, auto... others) {
            const LSTATUS nStatus = original(hKey, nIndex, pName, others...);
            FILETIME* const pTime = std::get<4>(std::tuple(others...));
            if (nStatus == ERROR_SUCCESS && pTime != nullptr)
                *pTime = ::wcscmp(pName, L"undated") == 0 ? FILETIME{ 0xFFFFFFFF, 0xFFFFFFFF }
                                                          : FileTimeOf({ 2013, 11, 0, 7, 15, 4, 0, 0 });
            return nStatus;
        });
    const CFakeRoots roots(L"collect/Application.reg");
    const CLogWatch watch;
    EXPECT_EQ(CApplicationInfoCollector().Collect(folder / L"out"), S_OK);
    ExpectGolden(L"collect/Application.txt", Outcome(folder / L"out", watch), folder.Path());
}

// A driver has a row only when its whole registration holds; a damaged one must not cost the next.
TEST(AsioInfoCollector, ListsTheDriversThatCanBeFound)
{
    const CTestFolder folder;
    folder.Write(L"lib.dll", "12345");
    const auto times = FakeFileTimes();
    const CFakeVersions versions(LibraryVersion);
    const CFakeRoots roots(L"collect/Asio.reg", folder.Path());
    const CLogWatch watch;
    EXPECT_EQ(CAsioInfoCollector().Collect(folder / L"out"), S_OK);
    ExpectGolden(L"collect/Asio.txt", Outcome(folder / L"out", watch), folder.Path());
}

// A wrong pair of key and file sends the wrong part of the registry; one row must not cost another.
TEST(RegInfoCollector, SavesEachTreeThatIsThere)
{
    const CTestFolder folder;
    const CFakeRoots roots(L"collect/Hives.reg");
    // A file has the mark of its key; one is there already.
    const auto save = FakeImport<decltype(::RegSaveKeyW)>("RegSaveKeyW", [](auto hKey, auto pPath, auto pSecurity) {
        wchar_t aMark[16] = L"?";
        DWORD dwBytes = sizeof aMark;
        ::RegQueryValueExW(hKey, L"mark", nullptr, nullptr, reinterpret_cast<BYTE*>(aMark), &dwBytes);
        std::ofstream(std::filesystem::path(pPath)) << Utf8(aMark) << '\n';
        const bool bFree = ::wcsstr(pPath, L"HKLM_Policies") == nullptr;
        return pSecurity == nullptr && bFree ? ERROR_SUCCESS : ERROR_ALREADY_EXISTS;
    });
    const CLogWatch watch;
    EXPECT_EQ(CRegInfoCollector().Collect(folder / L"new\\dir"), S_OK);
    ExpectGolden(L"collect/Hives.txt", Outcome(folder / L"new\\dir", watch), folder.Path());
}

} // namespace
