// The two collectors that list folders of the system.
#include "collect/InstallerInfoCollector.h"

#include <gmock/gmock.h>

#include "collect/DriverInfoCollector.h"
#include "collect/FakeProduct.h"
#include "platform/Path.h"
#include "support/LogWatch.h"
#include "support/TestFolder.h"

namespace
{

// Each list has its own folder of the system; one that is missing must not cost the next.
TEST(FolderListCollectors, ListTheFoldersThatAreThere)
{
    const CTestFolder folder;
    const CFakeShellFolders shell({ { CSIDL_WINDOWS, folder / L"win" },
                                    { CSIDL_PROGRAM_FILESX86, folder / L"x86" },
                                    { CSIDL_SYSTEM, folder / L"sys" } });
    const std::pair<const wchar_t*, const wchar_t*> aLists[] = {
        { L"WindowsInstaller.csv", L"win\\Installer\\{x}\\w.msi" },
        { L"InstallShield(x86).csv", L"x86\\InstallShield Installation Information\\s.exe" },
        { L"Drivers.csv", L"sys\\drivers\\etc\\d.sys" },
    };
    EXPECT_EQ(CDriverInfoCollector().Collect(folder / L"out"), E_FAIL)
        << "without its folder the whole collection fails";
    for (const auto& [pCsv, pFile] : aLists)
        folder.Write(pFile, "");
    const CLogWatch watch;
    EXPECT_EQ(CInstallerInfoCollector().Collect(folder / L"out"), S_OK);
    EXPECT_EQ(CDriverInfoCollector().Collect(folder / L"out"), S_OK);
    for (const auto& [pCsv, pFile] : aLists)
        EXPECT_THAT(ReadBytes(folder / L"out\\" + pCsv), ::testing::HasSubstr(Utf8(folder / pFile) + "\"\r\n"));
    EXPECT_FALSE(FileExists(folder / L"out\\InstallShield.csv"));
    EXPECT_EQ(watch.Records().front(), "[CInstallerInfoCollector::OutputInstallShieldFileList] ::SHGetFolderPath( "
                                       "CSIDL_PROGRAM_FILES ) failed. [0x80070003]");
}

} // namespace
