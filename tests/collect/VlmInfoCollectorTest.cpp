#include "collect/VlmInfoCollector.h"

#include "collect/CollectorUtilFakes.h"
#include "collect/FakeProduct.h"
#include "collect/ProductObjects.h"

namespace
{

struct CFakeSysInfo final : CFakeObject<IVlmSysInfo3>
{
    HRESULT STDMETHODCALLTYPE getRegion(LONG* pnRegion) override
    {
        *pnRegion = 1;
        return S_OK;
    }
};

// The report's every line is read by the support desk and its scripts. It must name what is missing, an empty path must
// not list the current folder, and no step may end the others; a second run replaces the first one's report.
TEST(VlmInfoCollector, ReportsAnInstalledProductAndAMissingOne)
{
    CFakeSysInfo sysInfo;
    const auto times = FakeFileTimes();
    for (const bool bInstalled : { true, false })
    {
        const CTestFolder folder;
        const auto shell = FakeShellFolders({ { CSIDL_LOCAL_APPDATA, folder / L"local" } });
        const auto fakeClass = FakeClass(CLSID_VlmSysInfo, IID_IVlmSysInfo3, bInstalled ? &sysInfo : nullptr);
        const CFakeRoots roots(bInstalled ? L"collect/Vlm.reg" : L"collect/VlmMissing.reg");
        if (bInstalled)
            MakeFiles(folder, L"collect/Vlm.files");
        folder.Write(L"out\\Velmora.txt", "of the run before");
        const CLogWatch watch;
        EXPECT_EQ(CVlmInfoCollector().Collect(folder / L"repository", bInstalled ? folder / L"nuvex" : L"",
                                              L"SOFTWARE\\Vlm", folder / L"out"),
                  S_OK);
        ExpectGolden(bInstalled ? L"collect/Vlm.txt" : L"collect/VlmMissing.txt", Outcome(folder / L"out", watch),
                     folder.Path());
    }
    EXPECT_EQ(sysInfo.nReferences, 0);
}

} // namespace
