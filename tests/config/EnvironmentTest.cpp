// Where the product lies, and what the tokens and filters of a manifest make of it.
#include <gmock/gmock.h>

#include "config/ConfigFile.h"
#include "config/FakeSystem.h"
#include "platform/Path.h"
#include "support/ScratchKey.h"
#include "support/TestFolder.h"

namespace
{

using ::testing::HasSubstr;

// A manifest of a root without content.
HRESULT LoadRoot(CConfigFile& rConfig, const std::string& sAttributes = "")
{
    const CTestFolder folder;
    return rConfig.Load(folder.Write(L"Kelvarin.xml", "<installchecker " + sAttributes + "/>"));
}

// "repository|shared library|installer" as the tokens expand to them.
std::string Locations(const std::string& sAttributes = "")
{
    CConfigFile config;
    EXPECT_EQ(LoadRoot(config, sAttributes), S_OK);
    return Utf8(config.m_sRepositoryDirPath + L'|' + config.m_sNuvexDirPath + L'|' + config.m_sInstallerDirPath);
}

// A PC without the product's keys, or with odd ones, must still be checked: at the product's usual places.
TEST(Environment, FindsTheProductWithAndWithoutItsRegistryValues)
{
    const CFakeSystem system;
    const std::string sFallback = "C:\\Common\\Tolvane Shared\\Velmora|C:\\Common\\Tolvane Shared\\Nuvex|";
    const CScratchKey maker(L"Tolvane Corporation"), maker64(L"Tolvane Corporation", KEY_WOW64_64KEY);
    const CScratchKey key64(L"Tolvane Corporation\\Velmora", KEY_WOW64_64KEY);
    key64.SetText(L"repository", L"C:\\OtherView");
    EXPECT_EQ(Locations(), sFallback) << "no key in the 32-bit view";

    const CScratchKey key(L"Tolvane Corporation\\Velmora");
    EXPECT_EQ(Locations(), sFallback);
    key.SetText(L"repository", L"D:\\R");
    key.SetText(L"Nuvex", L"%N%", REG_EXPAND_SZ);
    EXPECT_EQ(Locations("sxs-id='__NONE__'"), "D:\\R|%N%|") << "the installer's value is missing";
    key.SetText(L"InstallerGUID", L"{G}");
    EXPECT_EQ(Locations(), "D:\\R|%N%|C:\\Programs\\InstallShield Installation Information\\{G}");
    key.SetText(L"repository", L"");
    key.SetText(L"Nuvex", std::wstring(1023, L'n'));
    EXPECT_THAT(Locations(), HasSubstr("|" + std::string(1023, 'n') + "|")) << "an empty value gets no fallback";
    EXPECT_EQ(Locations()[0], '|');
    key.SetDword(L"repository", 1);
    key.SetText(L"Nuvex", std::wstring(1024, L'n'));
    EXPECT_EQ(Locations(), sFallback + "C:\\Programs\\InstallShield Installation Information\\{G}");

    const std::string sHere = Utf8(ModuleDirPath());
    EXPECT_EQ(Locations("sxs-id='portable'"), sHere + '|' + sHere + '|');
}

// An empty identity would pass every filter or none; the path goes to a child, which adds its own root.
TEST(Environment, ReadsTheRootAttributes)
{
    const struct
    {
        const char* pAttributes;
        const wchar_t *pSxsId, *pRegistryPath;
        bool bSxS;
        // clang-format off
    } aCases[] = {
        { "", L"__none__", L"SOFTWARE\\Tolvane Corporation\\Velmora", false },
        { "sxs-id='__None__' registry-path='HKEY_LOCAL_MACHINE\\A\\HKEY_LOCAL_MACHINE\\B' other='x'", L"__None__", L"A\\B", false },
        { "sxs-id='a b' registry-path=''", L"a b", L"", true },
        { "registry-path='HKEY_LOCAL_MACHINE'", L"__none__", L"HKEY_LOCAL_MACHINE", false },
    };
    // clang-format on
    const CFakeSystem system;
    for (const auto& rCase : aCases)
    {
        CConfigFile config;
        EXPECT_EQ(LoadRoot(config, rCase.pAttributes), S_OK);
        EXPECT_EQ(config.m_sSxsId, rCase.pSxsId);
        EXPECT_EQ(config.m_sRegistryPath, rCase.pRegistryPath);
        EXPECT_EQ(config.IsSxS(), rCase.bSxS);
    }
    CConfigFile config;
    EXPECT_EQ(LoadRoot(config, "sxs-id=''"), E_FAIL);
}

} // namespace
