// The whole folder that a run leaves on a PC without the product, and what its log says about it.
#include <filesystem>
#include <regex>

#include <gmock/gmock.h>

#include "e2e/Program.h"
#include "platform/Handle.h"

namespace
{

using ::testing::IsEmpty;
using ::testing::Not;

// The lines of a file of tests/data/e2e that are no comments.
std::vector<std::string> DataLines(const std::wstring& sName)
{
    std::istringstream Text(ReadBytes(TEST_DATA L"\\e2e\\" + sName));
    std::vector<std::string> Lines;
    for (std::string sLine; std::getline(Text, sLine);)
    {
        if (!sLine.empty() && sLine[0] != '#')
            Lines.push_back(sLine);
    }
    return Lines;
}

void CheckFiles(const std::filesystem::path& rFolder)
{
    std::vector<std::string> Found, Expected;
    for (const auto& rEntry : std::filesystem::recursive_directory_iterator(rFolder))
    {
        if (rEntry.is_regular_file())
            Found.push_back(std::filesystem::relative(rEntry.path(), rFolder).string());
    }
    for (const std::string& rLine : DataLines(L"Folder.txt"))
    {
        const std::size_t nTab = rLine.find('\t');
        Expected.push_back(rLine.substr(0, nTab));
        const std::string sText = ReadBytes(rFolder / Expected.back());
        EXPECT_TRUE(
            std::regex_search(sText, std::regex(rLine.substr(nTab + 1)), std::regex_constants::match_continuous))
            << rLine << '\n'
            << sText;
        EXPECT_TRUE(sText.empty() || sText.ends_with('\n')) << rLine;
        EXPECT_EQ(sText.find('\0'), sText.npos) << rLine;
    }
    EXPECT_THAT(Found, ::testing::UnorderedElementsAreArray(Expected));
}

void CheckRecords(const CInstallation& rInstallation, const std::string& sKind, const std::string& sOtherKind)
{
    const std::string sFolder = Utf8(rInstallation.Folder().Path()), sDashes(79, '-');
    std::vector<std::string> Found, Expected;
    for (const std::string& rLine : DataLines(L"Records.txt"))
    {
        if (!rLine.starts_with(sOtherKind))
            Expected.push_back(rLine.starts_with(sKind) ? rLine.substr(sKind.size()) : rLine);
    }
    static const std::regex OfHostFolder(R"((Z:.* failed\. \[0x8007).{4})");
    for (const CLogLine& rLine : rInstallation.LogLines())
    {
        std::string sText = std::regex_replace(rLine.sText, OfHostFolder, "$1....");
        for (std::size_t n; (n = sText.find(sFolder)) != sText.npos;)
            sText.replace(n, sFolder.size(), "%FOLDER%");
        if (sText != sDashes && sText != "%FOLDER%\\Kelvarin.exe") // the banner
            Found.push_back(sText);
    }
    EXPECT_EQ(Found, Expected);
}

// A child that is not started, or does something else than its switch says; a report that is missing, or without its
// head; a failure that nobody can explain.
TEST(Collection, LeavesTheWholeFolderAndNoUnexplainedRecord)
{
    // The log of a run that found no folder lies here, and the program would rightly collect it.
    std::filesystem::remove_all(L"C:\\ProgramData\\Tolvane Corporation");
    for (const bool bShown : { false, true })
    {
        SCOPED_TRACE(bShown);
        const CInstallation installation("<installchecker/>");
        EXPECT_EQ(installation.Run(bShown ? L"" : L"-s", 60000).dwExitCode, 0u);
        CheckFiles(installation.Folder() / L"out");
        CheckRecords(installation, bShown ? "shown " : "silent ", bShown ? "silent " : "shown ");
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
