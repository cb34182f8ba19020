// The whole folder that a run leaves on a PC without the product, and what its log says about it.
#include <algorithm>
#include <filesystem>
#include <map>
#include <regex>

#include <gmock/gmock.h>

#include "e2e/Program.h"
#include "platform/Handle.h"

namespace
{

using ::testing::EndsWith;
using ::testing::IsEmpty;
using ::testing::Not;

enum class Form
{
    Lines,
    Banner,
    Empty,
    Other
};

const std::map<std::string, Form> Files = {
    { "Application\\InstalledPrograms.csv", Form::Lines },
    { "Application\\InstalledPrograms.txt", Form::Empty },
    { "Application\\MsiInstallProperties.txt", Form::Empty },
    { "Application\\StartupPrograms.txt", Form::Lines },
    { "BackupImage\\hwinfo.dat", Form::Lines },
    { "Hardware\\DeviceList-All.txt", Form::Lines },
    { "Hardware\\DeviceList-Present.txt", Form::Lines },
    { "Hardware\\DeviceTree-Detail.txt", Form::Empty },
    { "Hardware\\DeviceTree.txt", Form::Empty },
    { "Hardware\\HardwareInfo.txt", Form::Banner },
    { "Hardware\\UsbDeviceTree-Detail.txt", Form::Empty },
    { "Hardware\\UsbDeviceTree.txt", Form::Empty },
    { "LoadedComModules.txt", Form::Banner },
    { "LoadedDeviceDrivers.txt", Form::Banner },
    { "Registry\\HKLM_Installer.dat", Form::Other },
    { "Registry\\HKLM_Policies.dat", Form::Other },
    { "Registry\\HKLM_Uninstall.dat", Form::Other },
    { "System\\NetworkInfo.txt", Form::Banner },
    { "System\\NtService.txt", Form::Banner },
    { "System\\RunningProcesses.txt", Form::Banner },
    { "System\\RunningProcessesDetail.txt", Form::Banner },
    { "System\\Windows.txt", Form::Banner },
    { "System\\systeminfo.txt", Form::Empty },
    { "Velmora\\Velmora.txt", Form::Banner },
};

// Parts of the failure records that such a PC must leave; whatever else says "failed" is a fault.
// clang-format off
constexpr const char* Explained[] = {
    // the product is not installed
    "CoCreateInstance(VlmSxs) failed: 0x80040154", "Tolvane Corporation", "::OutputVlmRegion] ", "OutputVlmRegion() failed. [0x80040154]",
    "HKCR\\AppID\\", "__uuidof(VlmBackup) ) failed.[0x80040154]", "CKelvarinApp::CrateBackupImage() failed. [0x80040154]", "-create:backup",
    "Tolvane Shared\\Velmora\\",
    // Wine lacks these keys, folders and tools
    "SOFTWARE\\Microsoft\\Updates\" ) failed. [2]", "OutputMicrosoftHotfix() failed.[0x80070002]", "CRegInfoCollector::Collect] CRegKey::Open(",
    "ALTSTARTUP ) failed. [0x80070002]", "Installer\\UserData", "OutputMsiInstallProperties() failed. [0x80070002]", "OutputWindowsInstallerFileList(",
    "CKelvarinApp::CollectDriverInfo() failed. [0x80004005]", "-collect:driver", "msinfo32.exe", "ExecuteMsInfo32(",
    "SystemInformation\\\" ) failed. [2]", "OutputPcModelName() failed.[0x80004005]", "OemInfo\\\" ) failed. [2]", "OutputPcModelNumber() failed.[0x80004005]",
    // and these calls
    "failed.[0x80004001]", "failed. [0x80004001]", "EnumDeviceDrivers( NULL )", "GetLoadedDeviceDrivers() failed. [0x80004005]", "CONFIGRET:0x00000013",
    "SetupDiEnumDeviceInterfaces(", "GUID_DEVINTERFACE_USB_HOST_CONTROLLER, 0 ) failed. [0x80070103]", "EnumerateUsbHostControllers() failed. [0x80070103]",
    // a drive that is a folder of the host
    "\\\\.\\Z:", "GetDriveInfo( Z: ) failed.",
};
// clang-format on

void CheckForm(const std::wstring& sPath, Form eForm)
{
    const std::string sBytes = ReadBytes(sPath);
    EXPECT_EQ(sBytes.empty(), eForm == Form::Empty);
    if (eForm == Form::Lines || eForm == Form::Banner)
    {
        EXPECT_THAT(sBytes, EndsWith("\r\n"));
        EXPECT_EQ(sBytes.find('\0'), sBytes.npos);
    }
    if (eForm == Form::Banner)
    {
        static const std::regex Banner(
            "^_{48}\r\n\\[\\d{4}/\\d\\d/\\d\\d \\d\\d:\\d\\d:\\d\\d\\] Version 1\\.0\\.0\\.0\r\n");
        EXPECT_TRUE(std::regex_search(sBytes, Banner));
    }
}

// A report that is missing, or empty, or without its head, and a failure that nobody can explain.
TEST(Collection, LeavesTheWholeFolderAndNoUnexplainedRecord)
{
    // The log of a run that found no folder lies here, and the program would rightly collect it.
    std::filesystem::remove_all(L"C:\\ProgramData\\Tolvane Corporation");
    for (const wchar_t* pSwitches : { L"-s", L"" })
    {
        SCOPED_TRACE(Utf8(pSwitches));
        const CInstallation installation("<installchecker/>");
        EXPECT_EQ(installation.Run(pSwitches, 60000).dwExitCode, 0u);

        const std::filesystem::path Out = installation.Folder() / L"out";
        std::vector<std::string> Found, Expected;
        for (const auto& rEntry : std::filesystem::recursive_directory_iterator(Out))
        {
            if (rEntry.is_regular_file())
                Found.push_back(std::filesystem::relative(rEntry.path(), Out).string());
        }
        for (const auto& [sName, eForm] : Files)
        {
            Expected.push_back(sName);
            SCOPED_TRACE(sName);
            CheckForm((Out / sName).wstring(), eForm);
        }
        EXPECT_THAT(Found, ::testing::UnorderedElementsAreArray(Expected));
        for (const CLogLine& rLine : installation.LogLines())
        {
            const bool bExplained = std::ranges::any_of(
                Explained, [&](const char* pPart) { return rLine.sText.find(pPart) != std::string::npos; });
            EXPECT_TRUE(bExplained || rLine.sText.find("failed") == std::string::npos) << rLine.sText;
        }
    }
}

// An old system has the older firewall interface, and the report must say which system it is.
TEST(Collection, AsksAnOldSystemInItsOwnWay)
{
    CRegKeyHandle hKey;
    ASSERT_EQ(::RegCreateKeyExW(HKEY_CURRENT_USER, L"Software\\Wine", 0, nullptr, 0, KEY_ALL_ACCESS, nullptr,
                                hKey.Put(), nullptr),
              ERROR_SUCCESS);
    constexpr wchar_t aVersion[] = L"winxp";
    ::RegSetValueExW(hKey.Get(), L"Version", 0, REG_SZ, reinterpret_cast<const BYTE*>(aVersion), sizeof aVersion);
    const CInstallation installation;
    EXPECT_EQ(installation.Run(L"-s -collect:system", 60000).dwExitCode, 0u);
    ::RegDeleteValueW(hKey.Get(), L"Version");

    EXPECT_THAT(installation.Messages("CNetworkInfoCollector::collectFirewallInfoForXP"), Not(IsEmpty()));
    EXPECT_THAT(installation.Messages("CNetworkInfoCollector::collectFirewallInfoForVistaOrLater"), IsEmpty());
    EXPECT_NE(ReadBytes(installation.Folder() / L"out\\Windows.txt").find("Version     : 5."), std::string::npos);
}

} // namespace
