#include "collect/VlmInfoCollector.h"

#include <gmock/gmock.h>

#include "collect/FakeProduct.h"
#include "collect/ProductObjects.h"
#include "platform/Handle.h"
#include "platform/Text.h"
#include "support/LogWatch.h"
#include "support/ScratchKey.h"
#include "support/TestFolder.h"

namespace
{

using namespace std::string_literals;
using ::testing::HasSubstr;
using ::testing::IsSupersetOf;

constexpr const wchar_t* Registry = L"SOFTWARE\\KelvarinVlm";
constexpr const wchar_t* Service = L"Classes\\AppID\\{9F92C1C5-C624-4762-A274-892B32F557C8}";
const std::wstring Uninstall = L"Microsoft\\Windows\\CurrentVersion\\Uninstall\\";

struct CFakeSysInfo final : CFakeObject<IVlmSysInfo3>
{
    HRESULT STDMETHODCALLTYPE getRegion(LONG* pnRegion) override
    {
        if (nRegion < 0)
            ThrowForeign();
        *pnRegion = nRegion;
        return hr;
    }
    LONG nRegion = 1;
    HRESULT hr = S_OK;
};

// A file whose last write was at 2024/03/05 06:07:08 local time.
void WriteDated(const CTestFolder& rFolder, std::wstring_view sName, std::string_view sBytes)
{
    const SYSTEMTIME Time{ 2024, 3, 0, 5, 6, 7, 8, 0 };
    FILETIME Local, Utc;
    ::SystemTimeToFileTime(&Time, &Local);
    ::LocalFileTimeToFileTime(&Local, &Utc);
    const CFileHandle hFile(::CreateFileW(rFolder.Write(sName, sBytes).c_str(), FILE_WRITE_ATTRIBUTES, 0, nullptr, OPEN_EXISTING, 0, nullptr));
    ASSERT_TRUE(::SetFileTime(hFile.Get(), nullptr, nullptr, &Utc));
}

// The text with each path below the test's folder as "{dir}" and without the line of date and version.
std::string Report(const CTestFolder& rFolder)
{
    const std::string sBytes = ReadBytes(rFolder / L"out\\Velmora.txt");
    std::wstring sText(sBytes.begin(), sBytes.end());
    ReplaceAll(sText, rFolder.Path(), L"{dir}");
    const auto nLine = sText.find(L"\r\n") + 2;
    return Utf8(sText.erase(nLine, sText.find(L"\r\n", nLine) + 2 - nLine));
}

HRESULT Collect(const CTestFolder& rFolder, const std::wstring& sNuvex = L"\\nuvex")
{
    return CVlmInfoCollector().Collect(rFolder / L"repository", sNuvex.empty() ? sNuvex : rFolder.Path() + sNuvex, Registry, rFolder / L"out");
}

std::string WithLineEnds(const std::string& sText)
{
    std::wstring sLines(sText.begin(), sText.end());
    ReplaceAll(sLines, L"\n", L"\r\n");
    return Utf8(sLines);
}

constexpr const char* FullReport =
#include "data/VlmInfoInstalled.inc"
    ;

// The report's every line is read by the support desk and its scripts; a second run replaces it.
TEST(VlmInfoCollector, ReportsAnInstalledProduct)
{
    const CTestFolder folder;
    const CFakeShellFolders shell({ { CSIDL_LOCAL_APPDATA, folder / L"local" } });
    CFakeSysInfo sysInfo;
    const CFakeClass fakeClass(CLSID_VlmSysInfo, IID_IVlmSysInfo3, &sysInfo);
    const CScratchKey product(L"KelvarinVlm"), area(L"KelvarinVlm\\PD\\{E1E50A82-ADC9-4263-A175-9454A6A4D7AA}");
    product.SetText(L"InstallerVersion", L"7.2.1.4");
    area.SetDword(L"AreaCode", 42);
    const CScratchKey bare(Uninstall + L"Velmora HotFix"), first(Uninstall + L"Velmora HotFix 1"), second(Uninstall + L"Velmora HotFix 2"),
        otherCase(Uninstall + L"Velmora Hotfix 3");
    bare.SetText(L"DisplayName", L"Bare");
    first.SetText(L"DisplayName", L"First");
    otherCase.SetText(L"DisplayName", L"Other");
    const CScratchKey service(Service), below(std::wstring(Service) + L"\\Sub");
    service.SetText(L"", L"ZRCSPTISVR");
    service.SetDword(L"Flags", 1);
    WriteDated(folder, L"repository\\a.tvm", "\0\0\2\0\1\0\4\0\3\0"s);
    WriteDated(folder, L"repository\\b.txt", "bb");
    WriteDated(folder, L"repository\\Sub\\c", "c");
    WriteDated(folder, L"nuvex\\n.dll", "nnn");
    WriteDated(folder, L"local\\VirtualStore\\Program Files\\Common Files\\Tolvane Shared\\v.ini", "vvvv");
    for (int nRun = 0; nRun < 2; ++nRun)
    {
        EXPECT_EQ(Collect(folder), S_OK);
        EXPECT_EQ(Report(folder), WithLineEnds(FullReport));
        const std::pair<const wchar_t*, const char*> aLists[] = { { L"Velmora", "a.tvm" }, { L"Nuvex", "n.dll" }, { L"VirtualStore", "v.ini" } };
        for (const auto& [pCsv, pFile] : aLists)
            EXPECT_THAT(ReadBytes(folder / L"out\\" + pCsv + L".csv"), HasSubstr("\r\n\"" + std::string(pFile) + "\",")) << pFile;
    }
    EXPECT_EQ(sysInfo.nReferences, 0);
}

constexpr const char* EmptyReport =
#include "data/VlmInfoMissing.inc"
    ;

// The report must name what is missing, an empty path must not list the current folder, and no step may end the others.
TEST(VlmInfoCollector, ReportsWhatIsMissing)
{
    const CTestFolder folder;
    const CFakeShellFolders shell({ { CSIDL_LOCAL_APPDATA, folder / L"local" } });
    const CFakeClass fakeClass(CLSID_VlmSysInfo, IID_IVlmSysInfo3, nullptr);
    const CLogWatch watch;
    EXPECT_EQ(Collect(folder, L""), S_OK);
    EXPECT_EQ(Report(folder), WithLineEnds(EmptyReport));
    for (const wchar_t* pCsv : { L"out\\Velmora.csv", L"out\\Nuvex.csv", L"out\\VirtualStore.csv" })
        EXPECT_EQ(::GetFileAttributesW((folder / pCsv).c_str()), INVALID_FILE_ATTRIBUTES);
    const std::string sDir = Utf8(folder.Path()), sCollect = "[CVlmInfoCollector::Collect] CVlmInfoCollector::";
    EXPECT_THAT(watch.Records(), IsSupersetOf({ sCollect + "OutputVelmoraVersion( \"SOFTWARE\\KelvarinVlm\" ) failed. [0x80070002]",
                                                sCollect + "OutputVlmFileInfo( \"" + sDir + "\\repository\", \"\" ) failed. [0x80070057]",
                                                "[CVlmInfoCollector::OutputVlmFileList] CCollectorUtil::OutputFileList( \"\", \"" + sDir +
                                                    "\\out\\Nuvex.csv\" ) failed. [0x80070057]" }));

    // A file in the way of the folder, a folder in the way of the report, and no folder at all.
    EXPECT_EQ(CVlmInfoCollector().Collect(L"C:\\", L"C:\\", Registry, folder.Write(L"file", "")), E_UNEXPECTED);
    folder.Write(L"busy\\Velmora.txt\\x", "");
    EXPECT_EQ(CVlmInfoCollector().Collect(L"C:\\", L"C:\\", Registry, folder / L"busy"), HRESULT_FROM_WIN32(ERROR_ACCESS_DENIED));
    EXPECT_EQ(CVlmInfoCollector().Collect(L"C:\\", L"C:\\", Registry, L""), E_INVALIDARG);
}

// The product's object answers, refuses or throws; registry data may have any type. Whatever it is, the next line comes.
TEST(VlmInfoCollector, TellsRegionAndAreaWhateverTheyAnswer)
{
    const CTestFolder folder;
    const CFakeShellFolders shell({});
    const CScratchKey product(L"KelvarinVlm"), area(L"KelvarinVlm\\PD\\{E1E50A82-ADC9-4263-A175-9454A6A4D7AA}");
    product.SetText(L"InstallerVersion", std::wstring(128, L'7'));
    area.SetText(L"AreaCode", L"4");
    const struct
    {
        LONG nRegion;
        HRESULT hr;
        const char* pLine;
    } aCases[] = {
        { 2, S_OK, "Region : E" },
        { 3, S_OK, "Region : Unknown" },
        { 1, E_ACCESSDENIED, "IVlmSysInfo3::getRegion() failed. [0x80070005]" },
        { -1, S_OK, "IVlmSysInfo3::getRegion() failed. [0xE06D7363]" },
    };
    CFakeSysInfo sysInfo;
    const CFakeClass fakeClass(CLSID_VlmSysInfo, IID_IVlmSysInfo3, &sysInfo);
    for (const auto& rCase : aCases)
    {
        sysInfo.nRegion = rCase.nRegion;
        sysInfo.hr = rCase.hr;
        EXPECT_EQ(Collect(folder), S_OK);
        EXPECT_THAT(Report(folder), HasSubstr("CRegKey::QueryStringValue( \"InstallerVersion\" ) failed. [0x800700EA]\r\n"s + rCase.pLine +
                                              "\r\nCRegKey::QueryDWORDValue( \"AreaCode\" ) failed. [0x8007000D]\r\nAreaCode : 0x00000000\r\n"));
        EXPECT_EQ(sysInfo.nReferences, 0);
    }
}

} // namespace
