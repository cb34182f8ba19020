// From the text of a manifest to its records.
#include <gmock/gmock.h>

#include "config/ConfigFile.h"
#include "config/FakeSystem.h"
#include "platform/Format.h"
#include "support/Golden.h"

namespace
{

// The result, the root's attributes, the records with a line each, and what the log says.
std::string Loaded(const CTestFolder& rFolder, const std::string& sManifest, const wchar_t* pName = L"m.xml")
{
    const CLogWatch watch;
    CConfigFile config;
    const HRESULT hr = config.Load(rFolder.Write(pName, sManifest));
    std::wstring sText = FormatText(L"0x%08X %s|%s%s\r\n", hr, config.m_sSxsId, config.m_sRegistryPath,
                                    config.IsSxS() ? L"|side by side" : L"");
    for (const CFileInfo& rInfo : config.m_FileInfos)
        sText += FormatText(L"file %s|%s|%s|%s|%s\r\n", rInfo.sPath, rInfo.sVersion, rInfo.sSize, rInfo.sSha1,
                            rInfo.sDigitalSignature);
    for (const CRegistryInfo& rInfo : config.m_RegistryInfos)
    {
        sText += FormatText(L"value %08X|%s|%s|%s|%u|%s", reinterpret_cast<DWORD>(rInfo.hRootKey), rInfo.sRootKeyName,
                            rInfo.sKeyPath, rInfo.sValueName, rInfo.dwType, rInfo.bWow64Key ? L"64|" : L"");
        for (DWORD n = 0; n < rInfo.Data.Length(); ++n)
            sText += FormatText(L"%02X", rInfo.Data.Data()[n]);
        sText += L"\r\n";
    }
    for (const std::wstring& sName : config.m_NtServiceInfos)
        sText += FormatText(L"service %s\r\n", sName);
    for (const CComObjectInfo& rInfo : config.m_ComObjectInfos)
    {
        sText += FormatText(L"object %s|%d %d %d|%s|%s\r\n", rInfo.sName, rInfo.nApartment,
                            rInfo.bAllApartments ? 1 : 0, rInfo.nRegType, rInfo.sFilePath, GuidText(rInfo.clsid));
        for (const auto& [sName, iid] : rInfo.Interfaces)
            sText += FormatText(L"  %s %s\r\n", sName, GuidText(iid));
    }
    for (const CNoRegisteredComObjectInfo& rInfo : config.m_NoRegisteredComObjectInfos)
        sText += FormatText(L"no object %s|%s|%s\r\n", rInfo.sName, rInfo.sPath, GuidText(rInfo.clsid));
    return Utf8(sText) + Joined(watch.Records());
}

// What the loader drops or shifts is never checked on any PC, and the expected bytes of registry values are compared as
// they are: each section, record by record, in its order.
TEST(Manifest, BecomesRecords)
{
    const CTestFolder folder;
    const CFakeSystem system;
    ExpectGolden(L"config/Manifest.txt", Loaded(folder, Document(L"config/Manifest.xml")), folder.Path());
}

// A value for another language, processor or variant would fail here although nothing is wrong.
TEST(Manifest, FiltersRegistryValues)
{
    const struct
    {
        LCID nLocale;
        int nArchitecture;
        const wchar_t* pSxsId;
    } aCases[] = { { 0x0411, PROCESSOR_ARCHITECTURE_INTEL, L"__none__" },
                   { 0x0412, PROCESSOR_ARCHITECTURE_AMD64, L"__NONE__" },
                   { 0x0404, PROCESSOR_ARCHITECTURE_IA64, L"b" },
                   { 0x040C, CFakeSystem::NoFunction, L"B" } };
    const CTestFolder folder;
    std::string sAll;
    for (const auto& rCase : aCases)
    {
        CFakeSystem system;
        system.m_nLocale = rCase.nLocale;
        system.m_nArchitecture = rCase.nArchitecture;
        system.m_bWow64 = rCase.nArchitecture == PROCESSOR_ARCHITECTURE_AMD64;
        sAll += Utf8(FormatText(L"== locale %04x, processor %d\r\n", rCase.nLocale, rCase.nArchitecture)) +
                Loaded(folder, Document(L"config/Filters.xml", rCase.pSxsId));
    }
    ExpectGolden(L"config/Filters.txt", sAll, folder.Path());
}

// An empty identity would pass every filter or none; the path goes to a child, which adds its own root. A manifest that
// cannot be used stops the run with a reason, not with an empty and so successful check. (What is no XML at all is
// tried with the whole program.)
TEST(Manifest, HasItsRootAndNoUnknownForms)
{
    constexpr const char* Texts[] = {
        "<installchecker/>",
        "<installchecker sxs-id='__None__' registry-path='HKEY_LOCAL_MACHINE\\A\\HKEY_LOCAL_MACHINE\\B' other='x'/>",
        "<installchecker sxs-id='a b' registry-path=''/>",
        "<installchecker registry-path='HKEY_LOCAL_MACHINE'/>",
        "<installchecker sxs-id=''/>",
        "<InstallChecker/>",
        "<a><installchecker/></a>",
        "<installchecker><com-infos><coclass name='b' reg-type='%s'/></com-infos></installchecker>",
        "<installchecker><directshow-filter-infos><coclass/></directshow-filter-infos></installchecker>",
    };
    const CTestFolder folder;
    const CFakeSystem system;
    std::string sAll;
    for (const char* const pText : Texts)
        sAll += std::string(pText) + "\r\n" + Loaded(folder, pText);
    ExpectGolden(L"config/Roots.txt", sAll, folder.Path());
}

// Installations lie in folders whose names mean something in a URL or are in no code page.
TEST(Manifest, LiesInAFolderOfAnyName)
{
    const CTestFolder folder;
    const CFakeSystem system;
    for (const wchar_t* pName :
         { L"a%20b\\m", L"100%\\m", L"#1 & ;\\m", L"\u65E5\u672C\u0E01 \u00FC\\m", L"%41#%zz \u00FC\\m" })
        EXPECT_THAT(Loaded(folder, "<installchecker sxs-id='x'/>", pName), ::testing::StartsWith("0x00000000 x|"));
}

} // namespace
