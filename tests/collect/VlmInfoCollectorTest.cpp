#include "collect/VlmInfoCollector.h"

#include "collect/CollectorUtilFakes.h"
#include "collect/FakeProduct.h"
#include "collect/NetworkReportText.h"
#include "collect/ProductObjects.h"
#include "platform/Text.h"
#include "support/ScratchKey.h"

namespace
{

using namespace std::string_literals;
using ::testing::HasSubstr;

constexpr const wchar_t* Registry = L"SOFTWARE\\KelvarinVlm";
constexpr const wchar_t* Service = L"Classes\\AppID\\{9F92C1C5-C624-4762-A274-892B32F557C8}";
const std::wstring Uninstall = L"Microsoft\\Windows\\CurrentVersion\\Uninstall\\";

struct CFakeSysInfo final : CFakeObject<IVlmSysInfo3>
{
    HRESULT STDMETHODCALLTYPE getRegion(LONG* pnRegion) override { return *pnRegion = 1, S_OK; }
};

// The report with each path below the test's folder as "{dir}".
std::string Report(const CTestFolder& rFolder)
{
    const std::string sBytes = ReportBody(rFolder / L"out\\Velmora.txt");
    std::wstring sText(sBytes.begin(), sBytes.end());
    ReplaceAll(sText, rFolder.Path(), L"{dir}");
    return Utf8(sText);
}

HRESULT Collect(const CTestFolder& rFolder, const std::wstring& sNuvex = L"\\nuvex")
{
    return CVlmInfoCollector().Collect(rFolder / L"repository", sNuvex.empty() ? sNuvex : rFolder.Path() + sNuvex,
                                       Registry, rFolder / L"out");
}

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
    const CScratchKey bare(Uninstall + L"Velmora HotFix"), first(Uninstall + L"Velmora HotFix 1"),
        second(Uninstall + L"Velmora HotFix 2"), otherCase(Uninstall + L"Velmora Hotfix 3");
    bare.SetText(L"DisplayName", L"Bare");
    first.SetText(L"DisplayName", L"First");
    otherCase.SetText(L"DisplayName", L"Other");
    const CScratchKey service(Service), below(std::wstring(Service) + L"\\Sub");
    service.SetText(L"", L"ZRCSPTISVR");
    service.SetDword(L"Flags", 1);
    const CFakeFileTimes times;
    folder.Write(L"repository\\a.tvm", "\0\0\2\0\1\0\4\0\3\0"s);
    folder.Write(L"repository\\b.txt", "bb");
    folder.Write(L"repository\\Sub\\c", "c");
    folder.Write(L"nuvex\\n.dll", "nnn");
    folder.Write(L"local\\VirtualStore\\Program Files\\Common Files\\Tolvane Shared\\v.ini", "vvvv");
    for (int nRun = 0; nRun < 2; ++nRun)
    {
        EXPECT_EQ(Collect(folder), S_OK);
        EXPECT_EQ(Report(folder), Golden(L"VlmInfoInstalled.txt"));
    }
    const std::pair<const wchar_t*, const char*> aLists[] = { { L"Velmora", "a.tvm" },
                                                              { L"Nuvex", "n.dll" },
                                                              { L"VirtualStore", "v.ini" } };
    for (const auto& [pCsv, pFile] : aLists)
        EXPECT_THAT(ReadBytes(folder / L"out\\" + pCsv + L".csv"), HasSubstr("\r\n\"" + std::string(pFile) + "\","))
            << pFile;
    EXPECT_EQ(sysInfo.nReferences, 0);
}

// The report must name what is missing, an empty path must not list the current folder, and no step may end the others.
TEST(VlmInfoCollector, ReportsWhatIsMissing)
{
    const CTestFolder folder;
    const CFakeShellFolders shell({ { CSIDL_LOCAL_APPDATA, folder / L"local" } });
    const CFakeClass fakeClass(CLSID_VlmSysInfo, IID_IVlmSysInfo3, nullptr);
    EXPECT_EQ(Collect(folder, L""), S_OK);
    EXPECT_EQ(Report(folder), Golden(L"VlmInfoMissing.txt"));
    EXPECT_EQ(::GetFileAttributesW((folder / L"out\\Nuvex.csv").c_str()), INVALID_FILE_ATTRIBUTES);
}

} // namespace
