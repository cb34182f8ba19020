// The collectors that ask the objects of the installed product.
#include "collect/ProductObjects.h"
#include "collect/BackUpImageMaker.h"
#include "collect/CollectorUtilFakes.h"
#include "collect/VlmInfoCollector.h"

namespace
{

// Gives the object, borrowed, for this class and interface alone; null is a class that is not registered.
auto FakeClass(REFCLSID rClsid, REFIID rIid, IUnknown* pObject)
{
    const auto create = [=](REFCLSID rWanted, auto pOuter, auto dwContext, REFIID rWantedIid, void** ppObject) {
        *ppObject = nullptr;
        if (rWanted != rClsid || pObject == nullptr || pOuter != nullptr || dwContext != CLSCTX_ALL)
            return REGDB_E_CLASSNOTREG;
        return rWantedIid == rIid ? pObject->QueryInterface(rWantedIid, ppObject) : E_NOINTERFACE;
    };
    return FakeImport<decltype(::CoCreateInstance)>("CoCreateInstance", create);
}

// An object of the product that lives as long as its test; counts what is left of its references.
template <typename Interface>
class CFakeObject : public Interface
{
public:
    HRESULT STDMETHODCALLTYPE QueryInterface(REFIID, void** ppObject) override
    {
        ++nReferences;
        *ppObject = static_cast<Interface*>(this);
        return S_OK;
    }
    ULONG STDMETHODCALLTYPE AddRef() override { return static_cast<ULONG>(++nReferences); }
    ULONG STDMETHODCALLTYPE Release() override { return static_cast<ULONG>(--nReferences); }

    int nReferences = 0;

protected:
    ~CFakeObject() = default;
};

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

struct CFakeBackup final : CFakeObject<IVlmBackup>
{
    HRESULT STDMETHODCALLTYPE createBackupImage(BSTR sPath, REFIID rIid, IUnknown* pUnknown) override
    {
        if (bThrows)
            ::RaiseException(0xE06D7363, EXCEPTION_NONCONTINUABLE, 0, nullptr); // of another compiler
        sImagePath.assign(sPath, ::SysStringLen(sPath));
        IVlmBackupCallback* pCallback = nullptr;
        EXPECT_EQ(pUnknown->QueryInterface(rIid, reinterpret_cast<void**>(&pCallback)), S_OK);
        EXPECT_EQ(pCallback->onProgress(50), S_OK);
        EXPECT_EQ(pCallback->Release(), 1u);
        return hr;
    }

    HRESULT hr = S_OK;
    bool bThrows = false;
    std::wstring sImagePath;
};

// The product gets the path and a working callback; each way to fail is the child's exit code and has its record.
TEST(BackUpImageMaker, HasTheProductWriteTheImage)
{
    const CTestFolder folder;
    const std::wstring sOut = folder / L"out\\deep";
    const std::tuple<bool, HRESULT, bool, HRESULT> aCases[] = {
        { false, S_OK, false, REGDB_E_CLASSNOTREG },
        { true, E_ACCESSDENIED, false, E_ACCESSDENIED },
        { true, S_OK, true, static_cast<HRESULT>(0xE06D7363) },
        { true, S_OK, false, S_OK },
    };
    const CLogWatch watch;
    for (const auto& [bRegistered, hrProduct, bThrows, hr] : aCases)
    {
        CFakeBackup backup;
        backup.hr = hrProduct;
        backup.bThrows = bThrows;
        const auto fakeClass = FakeClass(CLSID_VlmBackup, IID_IVlmBackup, bRegistered ? &backup : nullptr);
        EXPECT_EQ(CBackUpImageMaker().MakeBackUpImage(sOut), hr);
        EXPECT_EQ(backup.nReferences, 0);
        EXPECT_EQ(Utf8(backup.sImagePath), hr == S_OK || hr == E_ACCESSDENIED ? Utf8(sOut + L"\\license.vbk") : "");
    }
    ExpectGolden(L"collect/BackUp.txt", Outcome(folder.Path(), watch), folder.Path());
}

} // namespace
