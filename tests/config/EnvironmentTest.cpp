// Where the product lies, and what the tokens and filters of a manifest make of it.
#include <gmock/gmock.h>

#include "config/ConfigFile.h"
#include "config/FakeSystem.h"
#include "platform/Path.h"
#include "support/LogWatch.h"
#include "support/ScratchKey.h"
#include "support/TestFolder.h"

namespace
{

using ::testing::Contains;
using ::testing::ElementsAre;
using ::testing::HasSubstr;
using ::testing::Not;

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
    CFakeSystem system;
    const std::string sFallback = "C:\\Common\\Tolvane Shared\\Velmora|C:\\Common\\Tolvane Shared\\Nuvex|";
    const CScratchKey maker(L"Tolvane Corporation"), maker64(L"Tolvane Corporation", KEY_WOW64_64KEY);
    const CScratchKey key64(L"Tolvane Corporation\\Velmora", KEY_WOW64_64KEY);
    key64.SetText(L"repository", L"C:\\OtherView");
    const CLogWatch watch;
    EXPECT_EQ(Locations(), sFallback) << "no key in the 32-bit view";
    EXPECT_THAT(watch.Records(), ElementsAre("[CConfigFile::LoadEnvironment] reg.Open( \"SOFTWARE\\Tolvane Corporation\\Velmora\" ) failed.[0x80070002]",
                                             "[CConfigFile::LoadEnvironment] repository path : C:\\Common\\Tolvane Shared\\Velmora",
                                             "[CConfigFile::LoadEnvironment] reg.Open( \"SOFTWARE\\Tolvane Corporation\\Velmora\" ) failed.[0x80070002]",
                                             "[CConfigFile::LoadEnvironment] Nuvex path : C:\\Common\\Tolvane Shared\\Nuvex",
                                             "[CConfigFile::LoadEnvironment] reg.Open( \"SOFTWARE\\Tolvane Corporation\\Velmora\" ) failed.[0x80070002]",
                                             "[CConfigFile::LoadEnvironment] SystemInfo.wProcessorArchitecture = 9"));

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

    system.m_nMissingFolder = CSIDL_PROGRAM_FILES_COMMON;
    EXPECT_THAT(Locations(), HasSubstr("\\Tolvane Shared\\Velmora|\\Tolvane Shared\\Nuvex|"));
    EXPECT_THAT(watch.Records(), Contains("[CConfigFile::LoadEnvironment] ::SHGetFolderPath( CSIDL_PROGRAM_FILES_COMMON ) failed. [0x80070057]"));
    system.m_nMissingFolder = CSIDL_PROGRAM_FILES;
    EXPECT_EQ(Locations(), sFallback) << "no relative installer path";

    const CLogWatch later;
    const std::string sHere = Utf8(ModuleDirPath());
    EXPECT_EQ(Locations("sxs-id='portable'"), sHere + '|' + sHere + '|');
    EXPECT_THAT(later.Records(), Not(Contains(HasSubstr("reg."))));
}

// The filters for language, processor and view stand on these four values.
TEST(Environment, KnowsTheMachineAndTheUser)
{
    const struct
    {
        LCID nLocale;
        int nArchitecture;
        bool bWow64;
        WORD wLanguage;
        UINT32 nMachine;
    } aCases[] = {
        { 0x0411, PROCESSOR_ARCHITECTURE_INTEL, false, 0x11, CConfigFile::Machine_X86 },
        { 0x0C04, PROCESSOR_ARCHITECTURE_AMD64, true, 0x04, CConfigFile::Machine_X64 },
        { 0x10409, PROCESSOR_ARCHITECTURE_IA64, true, 0x09, CConfigFile::Machine_Other },
        { 0x0812, CFakeSystem::NoFunction, false, 0x12, CConfigFile::Machine_X86 },
    };
    CFakeSystem system;
    for (const auto& rCase : aCases)
    {
        system.m_nLocale = rCase.nLocale;
        system.m_nArchitecture = rCase.nArchitecture;
        system.m_bWow64 = rCase.bWow64;
        CConfigFile config;
        EXPECT_EQ(LoadRoot(config), S_OK);
        EXPECT_EQ(config.m_wLanguage, rCase.wLanguage);
        EXPECT_EQ(config.m_nMachine, rCase.nMachine) << rCase.nArchitecture;
        EXPECT_EQ(config.m_bWow64, rCase.bWow64);
        EXPECT_EQ(config.m_sSystemDirPath, L"C:\\System");
        EXPECT_EQ(config.m_sProgramDirPath, L"C:\\Programs");
    }
}

// An empty identity would pass every filter or none; the path goes to a child, which adds its own root.
TEST(Environment, ReadsTheRootAttributes)
{
    const struct
    {
        const char* pAttributes;
        const wchar_t *pSxsId, *pRegistryPath;
        bool bSxS;
    } aCases[] = {
        { "", L"__none__", L"SOFTWARE\\Tolvane Corporation\\Velmora", false },
        { "sxs-id='__None__' registry-path='HKEY_LOCAL_MACHINE\\A\\HKEY_LOCAL_MACHINE\\B' other='x'", L"__None__", L"A\\B", false },
        { "sxs-id='a b' registry-path=''", L"a b", L"", true },
        { "registry-path='HKEY_LOCAL_MACHINE'", L"__none__", L"HKEY_LOCAL_MACHINE", false },
    };
    const CFakeSystem system;
    for (const auto& rCase : aCases)
    {
        CConfigFile config;
        EXPECT_EQ(LoadRoot(config, rCase.pAttributes), S_OK);
        EXPECT_EQ(config.m_sSxsId, rCase.pSxsId);
        EXPECT_EQ(config.m_sRegistryPath, rCase.pRegistryPath);
        EXPECT_EQ(config.IsSxS(), rCase.bSxS);
    }
    const CLogWatch watch;
    CConfigFile config;
    EXPECT_EQ(LoadRoot(config, "sxs-id=''"), E_FAIL);
    EXPECT_THAT(watch.Records(), ElementsAre("[CConfigFile::LoadEnvironment] sSxsId.IsEmpty()", HasSubstr("[CConfigFile::Load] LoadEnvironment() failed.[0x80004005] \"C:\\")));
}

// A token left standing, or expanded twice, points the checks at files that do not exist.
TEST(Environment, ExpandsTokensInTheirOrder)
{
    CConfigFile config;
    config.m_sNuvexDirPath = L"N?[program]??[nuvex]?";
    config.m_sRepositoryDirPath = L"R?[nuvex]?";
    config.m_sSystemDirPath = L"S?[installer]?";
    config.m_sProgramDirPath = L"P?[repository]?";
    const std::pair<const wchar_t*, const wchar_t*> aCases[] = {
        { L"?[repository]?\\a", L"R?[nuvex]?\\a" }, // an earlier token stays
        { L"?[nuvex]?", L"NP?[repository]??[nuvex]?" },
        { L"x?[system]??[system]?y", L"xSSy" },
        { L"?[installer]?\\setup", L"\\setup" },
        { L"?[NUVEX]? ?[nuvex] [program]? %s", L"?[NUVEX]? ?[nuvex] [program]? %s" },
        { L"?[sys?[installer]?tem]?", L"?[system]?" }, // arises too late
    };
    for (const auto& [pText, pExpected] : aCases)
    {
        std::wstring sText = pText;
        config.ExpandPathTokens(sText);
        EXPECT_EQ(Utf8(sText), Utf8(pExpected));
    }
}

} // namespace
