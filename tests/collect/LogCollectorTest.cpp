#include "collect/LogCollector.h"

#include <gmock/gmock.h>

#include <filesystem>
#include <map>

#include "collect/FakeProduct.h"
#include "platform/Handle.h"
#include "support/LogWatch.h"
#include "support/TestFolder.h"

namespace
{

using ::testing::ElementsAre;
using ::testing::StartsWith;

// Empty: the platform has no such folder.
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

struct CProductLogs
{
    CProductLogs()
    {
        g_sTemp = Folder / L"temp\\";
        for (const auto& [sSource, sCopy] : Logs)
            Folder.Write(std::wstring(sSource.begin(), sSource.end()), sSource);
    }
    // Name and content of the files in the output folder.
    std::map<std::string, std::string> Copied() const
    {
        std::map<std::string, std::string> Files;
        for (const auto& rEntry : std::filesystem::recursive_directory_iterator(Folder / L"out"))
        {
            const std::wstring sPath = rEntry.path().wstring();
            if (!rEntry.is_directory())
                Files[Utf8(sPath.substr((Folder / L"out\\").size()))] = ReadBytes(sPath);
        }
        return Files;
    }

    CTestFolder Folder;
    CFakeShellFolders Shell{ { { CSIDL_COMMON_APPDATA, Folder / L"common" }, { CSIDL_DESKTOP, Folder / L"desktop" } } };
    CImportPatch<decltype(::GetTempPathW)> Temp{ "GetTempPathW", FakeTempPath };
};

// A file of one name in two places must not be lost; folders and foreign files stay where they are.
TEST(LogCollector, CopiesTheLogsOfEveryPlace)
{
    const CProductLogs logs;
    const CTestFolder& rFolder = logs.Folder;
    const CLogWatch watch;
    for (const bool bSxS : { true, false })
    {
        std::map<std::string, std::string> Expected;
        for (const auto& [sSource, sCopy] : Logs)
        {
            if (!sCopy.empty() && !(bSxS && sCopy.starts_with("installer")))
                Expected[sCopy] = sSource;
        }
        rFolder.Write(L"out\\x.log", "of the run before");
        EXPECT_EQ(CLogCollector().Collect(rFolder / L"repository", rFolder / L"nuvex", bSxS, rFolder / L"out"), S_OK);
        EXPECT_EQ(logs.Copied(), Expected);
        EXPECT_EQ(std::filesystem::exists(rFolder / L"out\\installer"), !bSxS);
    }
    EXPECT_THAT(watch.Records(), ElementsAre());
}

// Each step costs its own files only: a folder without a path, a file that another program holds, places that are missing.
TEST(LogCollector, GoesOnAfterEachFailure)
{
    const CProductLogs logs;
    const CTestFolder& rFolder = logs.Folder;
    const CFakeShellFolders shell({ { CSIDL_COMMON_APPDATA, rFolder / L"common" } });
    g_sTemp.clear();
    const CFileHandle hHeld(::CreateFileW((rFolder / L"nuvex\\x.bak").c_str(), GENERIC_WRITE, 0, nullptr, OPEN_EXISTING, 0, nullptr));
    const CLogWatch watch;
    EXPECT_EQ(CLogCollector().Collect(L"", rFolder / L"nuvex", false, rFolder / L"out"), S_OK);
    EXPECT_EQ(logs.Copied().size(), 5u);
    const std::string sOut = Utf8(rFolder / L"out"), sHeld = Utf8(rFolder / L"nuvex\\x.bak");
    EXPECT_THAT(watch.Records(),
                ElementsAre("[CLogCollector::CopyFiles] sSourceDirPath == empty",
                            "[CLogCollector::Collect] CLogCollector::CollectLogFileFromRepository( \"\", \"" + sOut + "\" ) failed. [0x80070057]",
                            "[CLogCollector::CopyFiles] CopyFile( \"" + sHeld + "\", \"" + sOut + "\\x.bak\" ) failed.[0x80070020]",
                            StartsWith("[CLogCollector::CollectInstallerLog] ::GetTempPath() failed. [0x8"),
                            "[CLogCollector::CollectLogFileFromDesktop] ::SHGetFolderPath( CSIDL_DESKTOP ) failed. [0x80070003]",
                            "[CLogCollector::Collect] CLogCollector::CollectLogFileFromDesktop( \"" + sOut + "\" ) failed.[0x80070003]"));
    EXPECT_EQ(CLogCollector().Collect(rFolder.Path(), rFolder.Path(), false, L""), E_INVALIDARG);
    EXPECT_EQ(CLogCollector().Collect(rFolder.Path(), rFolder.Path(), false, rFolder.Write(L"file", "")), E_UNEXPECTED);
}

} // namespace
