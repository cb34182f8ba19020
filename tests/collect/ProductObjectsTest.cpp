// The collectors that ask the objects of the installed product.
#include "collect/ProductObjects.h"
#include "collect/BackUpImageMaker.h"
#include "collect/CollectorUtilFakes.h"
#include "collect/VlmInfoCollector.h"

namespace
{

// The report's every line is read by the support desk and its scripts. It must name what is missing, an empty path must
// not list the current folder, and no step may end the others; a second run replaces the first one's report. Damaged
// values of the registry must neither crash nor end the list.
TEST(VlmInfoCollector, ReportsAnInstalledProductAndAMissingOne)
{
    const auto times = FakeFileTimes();
    for (const std::wstring sPc : { L"collect/Vlm", L"collect/VlmMissing" })
    {
        const CTestFolder folder;
        const auto shell = FakeShellFolders({ { CSIDL_LOCAL_APPDATA, folder / L"local" } });
        const bool bInstalled = sPc == L"collect/Vlm";
        const std::wstring sClass = L"Classes\\CLSID\\{52A86041-4D4F-493B-ACDC-5EB5D79B4504}";
        const CScratchKey sysInfo(sClass), server(sClass + L"\\InprocServer32");
        server.SetText(nullptr, bInstalled ? SAMPLE_OBJECTS : L"gone.dll");
        const CFakeRoots roots(sPc + L".reg");
        if (bInstalled)
            MakeFiles(folder, L"collect/Vlm.files");
        folder.Write(L"out\\Velmora.txt", "of the run before");
        const CLogWatch watch;
        EXPECT_EQ(CVlmInfoCollector().Collect(folder / L"repository", bInstalled ? folder / L"nuvex" : L"",
                                              L"SOFTWARE\\Vlm", folder / L"out"),
                  S_OK);
        ExpectGolden(sPc + L".txt", Outcome(folder / L"out", watch), folder.Path());
    }
}

// Lives as long as its test, and counts what is left of its references.
struct CFakeBackup final : IVlmBackup
{
    HRESULT STDMETHODCALLTYPE QueryInterface(REFIID rIid, void** ppObject) override
    {
        *ppObject = this;
        ++nReferences;
        return rIid == IID_IVlmBackup ? S_OK : E_NOINTERFACE;
    }
    ULONG STDMETHODCALLTYPE AddRef() override { return ++nReferences; }
    ULONG STDMETHODCALLTYPE Release() override { return --nReferences; }
    HRESULT STDMETHODCALLTYPE createBackupImage(BSTR pPath, REFIID rIid, IUnknown* pUnknown) override
    {
        if (hr == E_ABORT)
            ::RaiseException(0xE06D7363, EXCEPTION_NONCONTINUABLE, 0, nullptr); // of another compiler
        sImagePath = Utf8(pPath);
        IVlmBackupCallback* pCallback = nullptr;
        EXPECT_EQ(pUnknown->QueryInterface(rIid, reinterpret_cast<void**>(&pCallback)), S_OK);
        EXPECT_EQ(pCallback->onProgress(50), S_OK);
        EXPECT_EQ(pCallback->Release(), 1u);
        return hr;
    }

    HRESULT hr = S_OK; // E_ABORT: it throws
    ULONG nReferences = 0;
    std::string sImagePath;
};

// The product gets the path and a working callback; each way to fail is the child's exit code and has its record.
TEST(BackUpImageMaker, HasTheProductWriteTheImage)
{
    const CTestFolder folder;
    CFakeBackup backup;
    const auto create = FakeImport<decltype(::CoCreateInstance)>(
        "CoCreateInstance", [&](REFCLSID rClsid, auto, auto, REFIID rIid, void** ppObject) {
            const bool bFound = rClsid == CLSID_VlmBackup && backup.hr != REGDB_E_CLASSNOTREG;
            return bFound ? backup.QueryInterface(rIid, ppObject) : REGDB_E_CLASSNOTREG;
        });
    const CLogWatch watch;
    for (const auto& [hrProduct, hr] : { std::pair(REGDB_E_CLASSNOTREG, REGDB_E_CLASSNOTREG),
                                         { E_ACCESSDENIED, E_ACCESSDENIED },
                                         { E_ABORT, static_cast<HRESULT>(0xE06D7363) },
                                         { S_OK, S_OK } })
    {
        backup.hr = hrProduct;
        EXPECT_EQ(CBackUpImageMaker().MakeBackUpImage(folder / L"out\\deep"), hr);
        EXPECT_EQ(backup.nReferences, 0u);
    }
    EXPECT_EQ(backup.sImagePath, Utf8(folder / L"out\\deep\\license.vbk"));
    ExpectGolden(L"collect/BackUp.txt", Outcome(folder.Path(), watch), folder.Path());
}

} // namespace
