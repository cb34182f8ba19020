#include "collect/LogCollector.h"

#include <gmock/gmock.h>

#include <filesystem>
#include <map>

#include "collect/FakeProduct.h"
#include "support/LogWatch.h"
#include "support/TestFolder.h"

namespace
{

std::wstring g_sTemp;

DWORD WINAPI FakeTempPath(DWORD nCapacity, LPWSTR pPath)
{
    pPath[g_sTemp.copy(pPath, nCapacity - 1)] = L'\0';
    return static_cast<DWORD>(g_sTemp.size());
}

// Where the product writes, and the name that the copy gets; files without one are no logs.
const std::string Common = "common\\Tolvane Corporation\\Velmora\\";
const std::pair<std::string, std::string> Logs[] = {
    { "repository\\vlmlog.txt", "vlmlog.txt" },
    { "repository\\vlmlog.bak", "vlmlog.bak" },
    { "repository\\other.txt", "" },
    { "nuvex\\x.log", "x.log" },
    { "nuvex\\x.bak", "x.bak" },
    { "nuvex\\x.dll", "" },
    { "nuvex\\sub.log\\y.log", "" },
    { Common + "x.log", "appdata-x.log" },
    { Common + "c.txt", "appdata-c.txt" },
    { Common + "d.mdmp", "appdata-d.mdmp" },
    { "desktop\\letter.txt", "" },
    { "desktop\\vlm-emergency-log.txt", "vlm-emergency-log.txt" },
    { Common + "installer\\i.mdmp", "" },
    { Common + "installer\\i.log", "installer\\appdata-i.log" },
    { "temp\\VlmInstall\\vlminstlog.txt", "installer\\vlminstlog.txt" },
};

// A file of one name in two places must not be lost; folders and foreign files stay where they are.
TEST(LogCollector, CopiesTheLogsOfEveryPlace)
{
    const CTestFolder folder;
    const CFakeShellFolders shell(
        { { CSIDL_COMMON_APPDATA, folder / L"common" }, { CSIDL_DESKTOP, folder / L"desktop" } });
    const CImportPatch<decltype(::GetTempPathW)> temp("GetTempPathW", FakeTempPath);
    g_sTemp = folder / L"temp\\";
    for (const auto& [sSource, sCopy] : Logs)
        folder.Write(std::wstring(sSource.begin(), sSource.end()), sSource);
    const CLogWatch watch;
    for (const bool bSxS : { true, false })
    {
        std::map<std::string, std::string> Expected;
        for (const auto& [sSource, sCopy] : Logs)
        {
            if (!sCopy.empty() && !(bSxS && sCopy.starts_with("installer")))
                Expected[sCopy] = sSource;
        }
        folder.Write(L"out\\x.log", "of the run before");
        EXPECT_EQ(CLogCollector().Collect(folder / L"repository", folder / L"nuvex", bSxS, folder / L"out"), S_OK);
        std::map<std::string, std::string> Copied;
        for (const auto& rEntry : std::filesystem::recursive_directory_iterator(folder / L"out"))
        {
            if (!rEntry.is_directory())
                Copied[Utf8(rEntry.path().wstring().substr((folder / L"out\\").size()))] = ReadBytes(
                    rEntry.path().wstring());
        }
        EXPECT_EQ(Copied, Expected);
        EXPECT_EQ(std::filesystem::exists(folder / L"out\\installer"), !bSxS);
    }
    EXPECT_THAT(watch.Records(), ::testing::IsEmpty());
}

} // namespace
