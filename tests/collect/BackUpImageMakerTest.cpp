#include "collect/BackUpImageMaker.h"

#include <gmock/gmock.h>

#include "collect/FakeProduct.h"
#include "collect/ProductObjects.h"
#include "support/LogWatch.h"
#include "support/TestFolder.h"

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
    const std::tuple<bool, HRESULT, bool, HRESULT, const char*> aCases[] = {
        { false, S_OK, false, REGDB_E_CLASSNOTREG, "CoCreateInstance( __uuidof(VlmBackup) ) failed.[0x80040154]" },
        { true, E_ACCESSDENIED, false, E_ACCESSDENIED, "IVlmBackup::createBackupImage() failed.[0x80070005]" },
        { true, S_OK, true, static_cast<HRESULT>(0xE06D7363), "IVlmBackup::createBackupImage() failed.[0xE06D7363]" },
        { true, S_OK, false, S_OK, nullptr },
    };
    for (const auto& [bRegistered, hrProduct, bThrows, hr, pRecord] : aCases)
    {
        CFakeBackup backup;
        backup.hr = hrProduct;
        backup.bThrows = bThrows;
        const CFakeClass fakeClass(CLSID_VlmBackup, IID_IVlmBackup, bRegistered ? &backup : nullptr);
        const CLogWatch watch;
        EXPECT_EQ(CBackUpImageMaker().MakeBackUpImage(sOut), hr);
        EXPECT_EQ(pRecord == nullptr ? "" : std::string("[CBackUpImageMaker::MakeBackUpImage] ") + pRecord,
                  watch.Records().empty() ? "" : watch.Records().back());
        EXPECT_EQ(backup.nReferences, 0);
        EXPECT_TRUE(hr != S_OK || backup.sImagePath == sOut + L"\\license.vbk") << Utf8(backup.sImagePath);
    }
    EXPECT_NE(::GetFileAttributesW(sOut.c_str()), INVALID_FILE_ATTRIBUTES);
}

} // namespace
