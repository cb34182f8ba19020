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
        IUnknown* pObject = this;
        EXPECT_EQ(pUnknown->QueryInterface(IID_IVlmBackup, reinterpret_cast<void**>(&pObject)), E_NOINTERFACE);
        EXPECT_EQ(pObject, nullptr);
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
    const std::wstring sOut = folder / L"out\\deep", sFile = folder.Write(L"file", "");
    const struct
    {
        std::wstring sOut;
        bool bRegistered;
        HRESULT hrProduct;
        bool bThrows;
        HRESULT hr;
        std::vector<std::string> Records;
    } aCases[] = {
        { sOut, false, S_OK, false, REGDB_E_CLASSNOTREG, { "CoCreateInstance( __uuidof(VlmBackup) ) failed.[0x80040154]" } },
        { L"", true, S_OK, false, E_INVALIDARG, { "sOutDirPath == empty" } },
        { sFile, true, S_OK, false, E_UNEXPECTED, { "COpdDirectoryHelper::CreateDirectoryEx() failed.[0x8000FFFF]" } },
        { sOut, true, E_ACCESSDENIED, false, E_ACCESSDENIED, { "IVlmBackup::createBackupImage() failed.[0x80070005]" } },
        { sOut, true, S_OK, true, static_cast<HRESULT>(0xE06D7363), { "IVlmBackup::createBackupImage() failed.[0xE06D7363]" } },
        { sOut, true, S_OK, false, S_OK, {} },
    };
    for (const auto& rCase : aCases)
    {
        CFakeBackup backup;
        backup.hr = rCase.hrProduct;
        backup.bThrows = rCase.bThrows;
        const CFakeClass fakeClass(CLSID_VlmBackup, IID_IVlmBackup, rCase.bRegistered ? &backup : nullptr);
        const CLogWatch watch;
        EXPECT_EQ(CBackUpImageMaker().MakeBackUpImage(rCase.sOut), rCase.hr);
        std::vector<std::string> Records = rCase.Records;
        for (std::string& rRecord : Records)
            rRecord.insert(0, "[CBackUpImageMaker::MakeBackUpImage] ");
        EXPECT_EQ(watch.Records(), Records);
        EXPECT_EQ(backup.nReferences, 0);
        EXPECT_TRUE(rCase.hr != S_OK || backup.sImagePath == sOut + L"\\license.vbk") << Utf8(backup.sImagePath);
    }
    EXPECT_NE(::GetFileAttributesW(sOut.c_str()), INVALID_FILE_ATTRIBUTES);
}

} // namespace
