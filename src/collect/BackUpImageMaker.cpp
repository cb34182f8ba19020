#include "collect/BackUpImageMaker.h"

#include <new>

#include "collect/CollectorFolders.h"
#include "collect/ProductObjects.h"
#include "opdutility/OpdFileHelper.h"
#include "platform/ComText.h"
#include "platform/ObjectRef.h"
#include "platform/Path.h"

// What the product tells while it writes. Nobody listens, but it wants somebody to tell.
class CBackUpImageMaker::CCallback final : public IVlmBackupCallback
{
public:
    static HRESULT CreateInstance(REFIID rIid, void** ppObject)
    {
        auto* const pCallback = new (std::nothrow) CCallback;
        if (pCallback == nullptr)
            return E_OUTOFMEMORY;
        const HRESULT hr = pCallback->QueryInterface(rIid, ppObject);
        pCallback->Release();
        return hr;
    }

    HRESULT STDMETHODCALLTYPE QueryInterface(REFIID rIid, void** ppObject) override
    {
        if (ppObject == nullptr)
            return E_POINTER;
        *ppObject = nullptr;
        if (rIid != IID_IUnknown && rIid != IID_IVlmBackupCallback)
            return E_NOINTERFACE;
        *ppObject = static_cast<IVlmBackupCallback*>(this);
        AddRef();
        return S_OK;
    }
    ULONG STDMETHODCALLTYPE AddRef() override { return static_cast<ULONG>(::InterlockedIncrement(&m_nReferences)); }
    ULONG STDMETHODCALLTYPE Release() override
    {
        const LONG nLeft = ::InterlockedDecrement(&m_nReferences);
        if (nLeft == 0)
            delete this;
        return static_cast<ULONG>(nLeft);
    }
    HRESULT STDMETHODCALLTYPE onProgress(LONG) override { return S_OK; }

private:
    ~CCallback() = default;

    LONG m_nReferences = 1; // its maker's
};

HRESULT CBackUpImageMaker::MakeBackUpImage(const std::wstring& sOutDirPath)
{
    CFunctionLog log;
    return log.Run([&] {
        CObjectRef<IVlmBackupCallback> pCallback;
        log.Check(
            pCallback.Fill([](void** ppObject) { return CCallback::CreateInstance(IID_IVlmBackupCallback, ppObject); }),
            L"CBackUpImageMaker::CCallback::CreateInstance() failed.[0x%08X]");
        CObjectRef<IVlmBackup> pBackup;
        log.Check(ProductResult([&] { return pBackup.Create(CLSID_VlmBackup, IID_IVlmBackup); }),
                  L"CoCreateInstance( __uuidof(VlmBackup) ) failed.[0x%08X]");
        RequireFolder(log, sOutDirPath);
        log.Check(COpdDirectoryHelper::CreateDirectoryExW(sOutDirPath),
                  L"COpdDirectoryHelper::CreateDirectoryEx() failed.[0x%08X]");
        const CBstr sImagePath(JoinPath(sOutDirPath, L"license.vbk"));
        log.Check(ProductResult([&] {
                      return CallObject([&] {
                          return pBackup->createBackupImage(sImagePath.Get(), IID_IVlmBackupCallback, pCallback.Get());
                      });
                  }),
                  L"IVlmBackup::createBackupImage() failed.[0x%08X]");
    });
}
