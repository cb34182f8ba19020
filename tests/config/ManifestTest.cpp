// From the text of a manifest to its records, and what the PC makes of its tokens and filters.
#include <gmock/gmock.h>

#include <cstring>
#include <sstream>

#include "config/ConfigFile.h"
#include "platform/Format.h"
#include "platform/GuidText.h"
#include "platform/Path.h"
#include "support/FakeShellFolders.h"
#include "support/Golden.h"
#include "support/ScratchKey.h"

namespace
{

auto FakeFolders()
{
    return FakeShellFolders({ { CSIDL_PROGRAM_FILES, L"C:\\Programs" },
                              { CSIDL_PROGRAM_FILES_COMMON, L"C:\\Common" },
                              { CSIDL_SYSTEM, L"C:\\System" } });
}

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
                            rInfo.bAllApartments ? 1 : 0, rInfo.nRegType, rInfo.sFilePath, TextOfGuid(rInfo.clsid));
        for (const auto& [sName, iid] : rInfo.Interfaces)
            sText += FormatText(L"  %s %s\r\n", sName, TextOfGuid(iid));
    }
    for (const CNoRegisteredComObjectInfo& rInfo : config.m_NoRegisteredComObjectInfos)
        sText += FormatText(L"no object %s|%s|%s\r\n", rInfo.sName, rInfo.sPath, TextOfGuid(rInfo.clsid));
    return Utf8(sText) + Joined(watch.Records());
}

// What the loader drops or shifts is never checked on any PC, and the expected bytes of registry values are compared as
// they are: each section, record by record, in its order. A wrong identity behind a name makes a healthy object fail.
TEST(Manifest, BecomesRecords)
{
    const CTestFolder folder;
    const auto folders = FakeFolders();
    ExpectGolden(L"config/Manifest.txt", Loaded(folder, Document(L"config/Manifest.xml")), folder.Path());
}

int g_nArchitecture; // -1: the platform cannot tell it
void WINAPI SystemInfo(SYSTEM_INFO* pInfo)
{
    pInfo->wProcessorArchitecture = static_cast<WORD>(g_nArchitecture);
}
BOOL WINAPI IsWow64(HANDLE, BOOL* pbAnswer)
{
    *pbAnswer = g_nArchitecture == PROCESSOR_ARCHITECTURE_AMD64;
    return TRUE;
}

// A value for another language, processor or variant would fail here although nothing is wrong.
TEST(Manifest, FiltersRegistryValues)
{
    const std::tuple<LCID, int, const wchar_t*> aCases[] = { { 0x0411, PROCESSOR_ARCHITECTURE_INTEL, L"__none__" },
                                                             { 0x0412, PROCESSOR_ARCHITECTURE_AMD64, L"__NONE__" },
                                                             { 0x0404, PROCESSOR_ARCHITECTURE_IA64, L"b" },
                                                             { 0x040C, -1, L"B" } };
    const CTestFolder folder;
    const auto folders = FakeFolders();
    LCID nLocale = 0;
    const auto locale = FakeImport<decltype(::GetUserDefaultLCID)>("GetUserDefaultLCID", [&] { return nLocale; });
    const auto function = FakeImport<decltype(::GetProcAddress)>("GetProcAddress", [](auto, auto pName) {
        void* const pInfo = g_nArchitecture == -1 ? nullptr : reinterpret_cast<void*>(SystemInfo);
        const bool bInfo = std::strcmp(pName, "GetNativeSystemInfo") == 0;
        return reinterpret_cast<FARPROC>(bInfo ? pInfo : reinterpret_cast<void*>(IsWow64));
    });
    std::string sAll;
    for (const auto& [nCaseLocale, nArchitecture, pSxsId] : aCases)
    {
        nLocale = nCaseLocale;
        g_nArchitecture = nArchitecture;
        sAll += Utf8(FormatText(L"== locale %04x, processor %d\r\n", nLocale, nArchitecture)) +
                Loaded(folder, Document(L"config/Filters.xml", pSxsId));
    }
    ExpectGolden(L"config/Filters.txt", sAll, folder.Path());
}

// An empty identity would pass every filter or none; the path goes to a child, which adds its own root. A manifest that
// cannot be used stops the run with a reason, not with an empty and so successful check. (What is no XML at all is
// tried with the whole program.)
TEST(Manifest, HasItsRootAndNoUnknownForms)
{
    const CTestFolder folder;
    const auto folders = FakeFolders();
    std::istringstream Manifests(Document(L"config/Roots.lines"));
    std::string sAll;
    for (std::string sLine; std::getline(Manifests, sLine);)
        sAll += sLine + "\r\n" + Loaded(folder, sLine);
    ExpectGolden(L"config/Roots.txt", sAll, folder.Path());
}

// Installations lie in folders whose names mean something in a URL or are in no code page.
TEST(Manifest, LiesInAFolderOfAnyName)
{
    const CTestFolder folder;
    for (const wchar_t* const pName :
         { L"a%20b\\m", L"100%\\m", L"#1 & ;\\m", L"\u65E5\u672C\u0E01 \u00FC\\m", L"%41#%zz \u00FC\\m" })
        EXPECT_THAT(Loaded(folder, "<installchecker sxs-id='x'/>", pName), ::testing::StartsWith("0x00000000 x|"));
}

// A PC without the product's keys, or with odd ones, must still be checked: at the product's usual places.
TEST(Environment, FindsTheProductWithAndWithoutItsRegistryValues)
{
    const CTestFolder folder;
    const auto folders = FakeFolders();
    // "repository|shared library|installer" as the tokens expand to them.
    const auto Locations = [&](const std::string& sAttributes = "") {
        CConfigFile config;
        EXPECT_EQ(config.Load(folder.Write(L"Kelvarin.xml", "<installchecker " + sAttributes + "/>")), S_OK);
        return Utf8(config.m_sRepositoryDirPath + L'|' + config.m_sNuvexDirPath + L'|' + config.m_sInstallerDirPath);
    };
    const std::string sFallback = "C:\\Common\\Tolvane Shared\\Velmora|C:\\Common\\Tolvane Shared\\Nuvex";
    const CScratchKey maker(L"Tolvane Corporation"), maker64(L"Tolvane Corporation", KEY_WOW64_64KEY);
    const CScratchKey key64(L"Tolvane Corporation\\Velmora", KEY_WOW64_64KEY);
    key64.SetText(L"repository", L"C:\\OtherView");
    EXPECT_EQ(Locations(), sFallback + "|") << "no key in the 32-bit view";

    const CScratchKey key(L"Tolvane Corporation\\Velmora");
    key.SetText(L"repository", L"D:\\R");
    key.SetText(L"Nuvex", L"%N%", REG_EXPAND_SZ);
    EXPECT_EQ(Locations("sxs-id='__NONE__'"), "D:\\R|%N%|") << "the installer's value is missing";
    key.SetText(L"InstallerGUID", L"{G}");
    key.SetText(L"repository", L"");
    key.SetText(L"Nuvex", std::wstring(1023, L'n'));
    const std::string sInstaller = "|C:\\Programs\\InstallShield Installation Information\\{G}";
    EXPECT_EQ(Locations(), "|" + std::string(1023, 'n') + sInstaller) << "an empty value gets no fallback";
    key.SetDword(L"repository", 1);
    key.SetText(L"Nuvex", std::wstring(1024, L'n'));
    EXPECT_EQ(Locations(), sFallback + sInstaller);

    const std::string sHere = Utf8(ModuleDirPath());
    EXPECT_EQ(Locations("sxs-id='portable'"), sHere + '|' + sHere + '|');
}

} // namespace
