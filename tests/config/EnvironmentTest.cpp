// Where the product lies, and what the tokens and filters of a manifest make of it.
#include <gmock/gmock.h>

#include "config/ConfigFile.h"
#include "config/FakeSystem.h"
#include "platform/Path.h"
#include "support/ScratchKey.h"
#include "support/TestFolder.h"

namespace
{

// "repository|shared library|installer" as the tokens expand to them.
std::string Locations(const std::string& sAttributes = "")
{
    const CTestFolder folder;
    CConfigFile config;
    EXPECT_EQ(config.Load(folder.Write(L"Kelvarin.xml", "<installchecker " + sAttributes + "/>")), S_OK);
    return Utf8(config.m_sRepositoryDirPath + L'|' + config.m_sNuvexDirPath + L'|' + config.m_sInstallerDirPath);
}

// A PC without the product's keys, or with odd ones, must still be checked: at the product's usual places.
TEST(Environment, FindsTheProductWithAndWithoutItsRegistryValues)
{
    const CFakeSystem system;
    const std::string sFallback = "C:\\Common\\Tolvane Shared\\Velmora|C:\\Common\\Tolvane Shared\\Nuvex";
    const CScratchKey maker(L"Tolvane Corporation"), maker64(L"Tolvane Corporation", KEY_WOW64_64KEY);
    const CScratchKey key64(L"Tolvane Corporation\\Velmora", KEY_WOW64_64KEY);
    key64.SetText(L"repository", L"C:\\OtherView");
    EXPECT_EQ(Locations(), sFallback + "|") << "no key in the 32-bit view";

    const CScratchKey key(L"Tolvane Corporation\\Velmora");
    EXPECT_EQ(Locations(), sFallback + "|");
    key.SetText(L"repository", L"D:\\R");
    key.SetText(L"Nuvex", L"%N%", REG_EXPAND_SZ);
    EXPECT_EQ(Locations("sxs-id='__NONE__'"), "D:\\R|%N%|") << "the installer's value is missing";
    key.SetText(L"InstallerGUID", L"{G}");
    const std::string sInstaller = "|C:\\Programs\\InstallShield Installation Information\\{G}";
    EXPECT_EQ(Locations(), "D:\\R|%N%" + sInstaller);
    key.SetText(L"repository", L"");
    key.SetText(L"Nuvex", std::wstring(1023, L'n'));
    EXPECT_EQ(Locations(), "|" + std::string(1023, 'n') + sInstaller) << "an empty value gets no fallback";
    key.SetDword(L"repository", 1);
    key.SetText(L"Nuvex", std::wstring(1024, L'n'));
    EXPECT_EQ(Locations(), sFallback + sInstaller);

    const std::string sHere = Utf8(ModuleDirPath());
    EXPECT_EQ(Locations("sxs-id='portable'"), sHere + '|' + sHere + '|');
}

} // namespace
