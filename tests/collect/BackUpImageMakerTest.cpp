#include "collect/BackUpImageMaker.h"

#include "collect/CollectorUtilFakes.h"
#include "collect/FakeProduct.h"
#include "collect/ProductObjects.h"

namespace
{

struct CFakeBackup final : CFakeObject<IVlmBackup>
{
    HRESULT STDMETHODCALLTYPE createBackupImage(BSTR sPath, REFIID rIid, IUnknown* pUnknown) override
    {
        if (bThrows)
            ThrowForeign();
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
