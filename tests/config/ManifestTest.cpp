// From the text of a manifest to its records.
#include <gmock/gmock.h>

#include <chrono>

#include "config/ConfigFile.h"
#include "config/FakeSystem.h"
#include "platform/Format.h"
#include "support/LogWatch.h"
#include "support/TestFolder.h"

namespace
{

using ::testing::ElementsAre;

struct CLoaded
{
    CFakeSystem System;
    CConfigFile Config;

    HRESULT Load(const std::string& sContent, const char* pSxsId = "__none__")
    {
        const CTestFolder folder;
        return Config.Load(folder.Write(L"Kelvarin.xml", std::string("<installchecker sxs-id='") + pSxsId + "'>" +
                                                             sContent + "</installchecker>"));
    }
};

std::string GuidText(const GUID& rGuid)
{
    wchar_t aText[64] = L"";
    ::StringFromGUID2(rGuid, aText, 64);
    return Utf8(aText);
}

std::vector<std::string> Files(const CConfigFile& rConfig)
{
    std::vector<std::string> Lines;
    for (const CFileInfo& rInfo : rConfig.m_FileInfos)
        Lines.push_back(Utf8(rInfo.sPath + L'|' + rInfo.sVersion + L'|' + rInfo.sSize + L'|' + rInfo.sSha1 + L'|' +
                             rInfo.sDigitalSignature));
    return Lines;
}

// "root|key|name|type|bytes", and "|64" for the 64-bit view.
std::vector<std::string> Values(const CConfigFile& rConfig)
{
    std::vector<std::string> Lines;
    for (const CRegistryInfo& rInfo : rConfig.m_RegistryInfos)
    {
        std::wstring sBytes;
        for (DWORD n = 0; n < rInfo.Data.Length(); ++n)
            sBytes += FormatText(L"%02X", rInfo.Data.Data()[n]);
        Lines.push_back(Utf8(FormatText(L"%s|%s|%s|%u|%s%s", rInfo.sRootKeyName, rInfo.sKeyPath, rInfo.sValueName,
                                        rInfo.dwType, sBytes, rInfo.bWow64Key ? L"|64" : L"")));
    }
    return Lines;
}

std::vector<std::string> Objects(const CConfigFile& rConfig)
{
    std::vector<std::string> Lines;
    for (const CComObjectInfo& rInfo : rConfig.m_ComObjectInfos)
    {
        std::string sLine = Utf8(FormatText(L"%s|%d %d %d|%s|", rInfo.sName, rInfo.nApartment,
                                            rInfo.bAllApartments ? 1 : 0, rInfo.nRegType, rInfo.sFilePath));
        sLine += GuidText(rInfo.clsid);
        for (const auto& [sName, iid] : rInfo.Interfaces)
            sLine += '|' + Utf8(sName) + GuidText(iid);
        Lines.push_back(sLine);
    }
    return Lines;
}

constexpr const char* Unknown = "{00000000-0000-0000-C000-000000000046}";
constexpr const char* Zero = "{00000000-0000-0000-0000-000000000000}";
constexpr const char* One = "{00000001-0000-0000-0000-000000000000}";

// What the loader drops or shifts is never checked on any PC: each section, record by record.
TEST(Manifest, BecomesRecordsInItsOrder)
{
    CLoaded loaded;
    ASSERT_EQ(loaded.Load(R"(
<not-register-com-infos>
  <coclass name="iunknown" clsid="bad" directory="?[system]?\x" file="t.dll"/>
  <coclass name="new" clsid="{00000001-0000-0000-0000-000000000000}" directory="?[system]?\x" file="C:\t.dll"/>
</not-register-com-infos>
<nt-service-infos><nt-service name="B"/><!-- no service --><nt-service/><nt-service name="?[system]?"/></nt-service-infos>
<file-infos>
  <directory name="?[program]?\P"><file name="a" version="1" size="2" sha1="3" digital-signature="4"/><file name="..\?[system]?" odd="x"/></directory>
  <directory name="gone" sxs-id="b"><file name="gone" sxs-id="__none__"/></directory>
  <directory sxs-id="b __NONE__"><file name="gone" sxs-id="b"/><file sxs-id=" __none__  b"/></directory>
</file-infos>
<directshow-filter-infos>
  <coclass name="F" reg-type="SXS" file-path="f"><interface name="IUnknown" iid="{00000001-0000-0000-0000-000000000000}"/><interface name="INone" iid="{00000001-0000-0000-0000-000000000000}"/></coclass>
</directshow-filter-infos>
<com-infos>
  <coclass name="IUnknown" reg-type="normal" file-path="?[system]?\c.dll">
    <interface name="I1" iid="{00000001-0000-0000-0000-000000000000}"/><interface name="I1" iid="{00000002-0000-0000-0000-000000000000}"/>
    <interface name="IUNKNOWN"/><interface name="INone" iid="{}"/>
  </coclass>
  <coclass name="C" clsid="{00000001-0000-0000-0000-000000000000}" reg-type="Sxs-Dummy"/>
</com-infos>
<file-infos><directory name="D:\"><file name="z"/></directory></file-infos>)"),
              S_OK);
    const CConfigFile& rConfig = loaded.Config;
    EXPECT_THAT(Files(rConfig),
                ElementsAre("C:\\Programs\\P\\a|1|2|3|4", "C:\\Programs\\?[system]?||||", "||||", "D:\\z||||"));
    EXPECT_THAT(rConfig.m_NtServiceInfos, ElementsAre(L"B", L"", L"?[system]?"));
    const std::string U = Unknown, Z = Zero, O = One;
    EXPECT_THAT(Objects(rConfig),
                ElementsAre("IUnknown|2 1 0|C:\\System\\c.dll|" + U + "|I1" + O + "|INone" + Z + "|IUNKNOWN" + U,
                            "C|2 1 2||" + O, "F|0 0 1|f|" + Z + "|INone" + Z + "|IUnknown" + U));
    ASSERT_EQ(rConfig.m_NoRegisteredComObjectInfos.size(), 2u);
    EXPECT_EQ(Utf8(rConfig.m_NoRegisteredComObjectInfos[0].sPath), "C:\\System\\x\\t.dll");
    EXPECT_EQ(GuidText(rConfig.m_NoRegisteredComObjectInfos[0].clsid), Unknown);
    EXPECT_EQ(Utf8(rConfig.m_NoRegisteredComObjectInfos[1].sPath), "C:\\t.dll");
    EXPECT_EQ(GuidText(rConfig.m_NoRegisteredComObjectInfos[1].clsid), One);
}

// The expected bytes are compared as they are: a wrong conversion fails on every PC.
TEST(Manifest, ConvertsRegistryValuesByTheirType)
{
    CLoaded loaded;
    const CLogWatch watch;
    ASSERT_EQ(loaded.Load(R"(<registry-infos>
<key name="HKEY_LOCAL_MACHINE\A\?[system]?\HKEY_LOCAL_MACHINE\B">
  <value name="?[system]?" type="reg_sz" value="?[system]?&#x3B1;"/><value type="REG_SZ"/>
  <value name="d" type="REG_DWORD" value="3075x"/><value name="-" type="REG_DWORD" value="-1"/><value name="+" type="REG_DWORD" value="4294967295"/><value name="h" type="REG_DWORD" value="0x10"/>
  <value name="q" type="REG_QWORD" value="6442450944" wow64-64key="TRUE"/><value name="Q" type="REG_QWORD" value="-9223372036854775808" wow64-64key="1"/>
  <value name="b" type="REG_BINARY" value="00fFa1" wow64-64key="yes"/><value name="odd" type="REG_BINARY" value="01020"/><value name="bad" type="REG_BINARY" value="01g203"/><value name="none" type="REG_BINARY"/>
  <value name="multi %s" type="REG_MULTI_SZ %s" value="x"/><value name="after" type="REG_DWORD" value=" 7"/>
</key></registry-infos>)"),
              S_OK);
    const std::string K = "HKEY_LOCAL_MACHINE|A\\?[system]?\\\\B|";
    EXPECT_THAT(Values(loaded.Config),
                ElementsAre(K + "?[system]?|1|43003A005C00530079007300740065006D00B1030000", K + "|1|0000",
                            K + "d|4|030C0000", K + "-|4|FFFFFFFF", K + "+|4|FFFFFF7F", K + "h|4|00000000",
                            K + "q|11|0000008001000000|64", K + "Q|11|0000000000000080|64", K + "b|3|00FFA1",
                            K + "odd|3|0102", K + "bad|3|010000", K + "none|3|", K + "after|4|07000000"));
    EXPECT_THAT(
        watch.Records(),
        ::testing::Contains("[CConfigFile::LoadRegistryKeyValue] Value Type is not supported.[\"REG_MULTI_SZ %s\"]"));
}

// A value for another language, processor or variant would fail here although nothing is wrong.
TEST(Manifest, FiltersRegistryValues)
{
    const std::string sKeys = R"(<registry-infos><key name="HKEY_USERSX\A" sxs-id="b">
  <value name="sxs" type="REG_SZ"/></key><key name="HKEY_USERSX\A">
  <value name="x86" type="REG_SZ" machine="X86"/><value name="x64" type="REG_SZ" machine="x64"/><value name="ia64" type="REG_SZ" machine="ia64"/>
  <value name="ja" type="REG_SZ" language="lang_japanese"/><value name="zh ko" type="REG_SZ" language=" LANG_CHINESE  LANG_KOREAN"/>
  <value name="en" type="REG_SZ" language="LANG_ENGLISH"/><value name="fr" type="REG_SZ" language="LANG_JAPANESE LANG_FRENCH"/><value name="blank" type="REG_SZ" language=" "/>
  <value name="b" type="REG_SZ" sxs-id="a B"/><value name="none" type="REG_SZ" sxs-id="__none__"/>
</key></registry-infos>)";
    const struct
    {
        LCID nLocale;
        int nArchitecture;
        const char* pSxsId;
        std::vector<std::string> Expected;
    } aCases[] = {
        { 0x0411, PROCESSOR_ARCHITECTURE_INTEL, "__none__", { "x86", "ja", "fr", "none" } },
        { 0x0412, PROCESSOR_ARCHITECTURE_AMD64, "__NONE__", { "x64", "zh ko", "fr", "none" } },
        { 0x0404, PROCESSOR_ARCHITECTURE_IA64, "b", { "sxs", "zh ko", "fr", "b" } },
        { 0x040C, CFakeSystem::NoFunction, "B", { "sxs", "x86", "en", "fr", "b" } },
    };
    for (const auto& rCase : aCases)
    {
        CLoaded loaded;
        loaded.System.m_nLocale = rCase.nLocale;
        loaded.System.m_nArchitecture = rCase.nArchitecture;
        ASSERT_EQ(loaded.Load(sKeys, rCase.pSxsId), S_OK);
        std::vector<std::string> Names;
        for (const CRegistryInfo& rInfo : loaded.Config.m_RegistryInfos)
            Names.push_back(Utf8(rInfo.sValueName));
        EXPECT_EQ(Names, rCase.Expected) << rCase.pSxsId;
        EXPECT_EQ(loaded.Config.m_RegistryInfos[0].hRootKey, HKEY_USERS);
        EXPECT_EQ(Utf8(loaded.Config.m_RegistryInfos[0].sKeyPath), "X\\A");
    }
}

// A manifest that cannot be used stops the run with a reason, not with an empty and so successful check. (What is no
// XML at all is tried with the whole program.)
TEST(Manifest, TellsWhyItCannotBeLoaded)
{
    const struct
    {
        const char* pText;
        const char* pStep;
        const char* pReason;
        // clang-format off
    } aCases[] = {
        { "<InstallChecker/>", "LoadEnvironment", "pXmlDoc->selectSingleNode() failed.[0x00000001]" },
        { "<a><installchecker/></a>", "LoadEnvironment", "pXmlDoc->selectSingleNode() failed.[0x00000001]" },
        { "<installchecker><com-infos><coclass name='b' reg-type='%s'/></com-infos></installchecker>", "LoadComObjectInfos", "found unknown registory type." },
        { "<installchecker><directshow-filter-infos><coclass/></directshow-filter-infos></installchecker>", "LoadDsFilterObjectInfos", "found unknown registory type." },
    };
    // clang-format on
    const CTestFolder folder;
    for (const auto& rCase : aCases)
    {
        const CFakeSystem system;
        const std::wstring sPath = folder.Write(L"m.xml", rCase.pText);
        const CLogWatch watch;
        EXPECT_EQ(CConfigFile().Load(sPath), E_FAIL) << rCase.pText;
        const std::string sStep = rCase.pStep;
        EXPECT_THAT(watch.Records(), ::testing::IsSupersetOf({ "[CConfigFile::" + sStep + "] " + rCase.pReason,
                                                               "[CConfigFile::Load] " + sStep +
                                                                   "() failed.[0x80004005] \"" + Utf8(sPath) + '"' }));
    }
}

// Hostile texts must not cost the process, and must arrive as they stand.
TEST(Manifest, StandsHostileContent)
{
    const std::string sLong(65536, 'L');
    CLoaded loaded;
    ASSERT_EQ(loaded.Load("<file-infos><directory><file name='" + sLong + "' version='%s%n&quot;&amp;&lt;%d' size='" +
                          sLong +
                          "'/></directory></file-infos>"
                          "<nt-service-infos><nt-service name='" +
                          sLong +
                          "%s'/></nt-service-infos>"
                          "<registry-infos><key name='%n'><value type='REG_SZ' value='" +
                          sLong + "'/></key></registry-infos>"),
              S_OK);
    EXPECT_THAT(Files(loaded.Config), ElementsAre(sLong + "|%s%n\"&<%d|" + sLong + "||"));
    EXPECT_EQ(Utf8(loaded.Config.m_NtServiceInfos.at(0)), sLong + "%s");
    EXPECT_EQ(loaded.Config.m_RegistryInfos.at(0).Data.Length(), 65537u * 2);
}

// Installations lie in folders whose names mean something in a URL or are in no code page.
TEST(Manifest, LiesInAFolderOfAnyName)
{
    const CTestFolder folder;
    const CFakeSystem system;
    for (const wchar_t* pName : { L"a%20b", L"100%", L"#1 & ;", L"\u65E5\u672C\u0E01 \u00FC", L"%41#%zz \u00FC" })
    {
        CConfigFile config;
        EXPECT_EQ(config.Load(folder.Write(pName + std::wstring(L"\\m.xml"), "<installchecker sxs-id='x'/>")), S_OK)
            << Utf8(pName);
        EXPECT_EQ(config.m_sSxsId, L"x");
    }
}

// Loading must not become the longest part of a run: ten times the entries may take about ten times as long.
TEST(Manifest, LoadsInTimeThatGrowsWithItsEntries)
{
    const auto BestOfThree = [](int nEntries) {
        std::string sFiles;
        for (int n = 0; n < nEntries; ++n)
            sFiles += "<file name='n" + std::to_string(n) + "' size='1' sha1='qZk+NkcGgWq6PiVxeFDCbJzQ2J0='/>";
        auto best = std::chrono::steady_clock::duration::max();
        for (int n = 0; n < 3; ++n)
        {
            CLoaded loaded;
            const auto start = std::chrono::steady_clock::now();
            EXPECT_EQ(loaded.Load("<file-infos><directory name='C:\\d'>" + sFiles + "</directory></file-infos>"), S_OK);
            best = std::min(best, std::chrono::steady_clock::now() - start);
            EXPECT_EQ(loaded.Config.m_FileInfos.size(), static_cast<std::size_t>(nEntries));
        }
        return std::chrono::duration<double>(best).count();
    };
    const double fSmall = BestOfThree(2'000), fLarge = BestOfThree(20'000);
    EXPECT_LT(fLarge / fSmall, 25) << fSmall << " s and " << fLarge << " s";
}

} // namespace
