#include "collect/BackUpImageMaker.h"

#include <wrl/client.h>

#include <new>

#include "collect/CollectorFolders.h"
#include "collect/ProductObjects.h"
#include "log/FunctionLog.h"
#include "platform/ComObject.h"
#include "platform/ComText.h"
#include "platform/ObjectRef.h"
#include "platform/Path.h"

using Microsoft::WRL::ComPtr;

// What the product tells while it writes. Nobody listens, but it wants somebody to tell.
class CBackUpImageMaker::CCallback final : public CComObjectT<IVlmBackupCallback>
{
public:
    HRESULT STDMETHODCALLTYPE onProgress(LONG) override { return S_OK; }

private:
    ~CCallback() override = default;
};

HRESULT CBackUpImageMaker::MakeBackUpImage(const std::wstring& sOutDirPath)
{
    CFunctionLog log;
    return log.Run([&] {
        auto* const pNew = new (std::nothrow) CCallback;
        ComPtr<IVlmBackupCallback> pCallback;
        log.Check(pNew != nullptr ? ComPtr<CCallback>(pNew).As(&pCallback) : E_OUTOFMEMORY,
                  L"CBackUpImageMaker::CCallback::CreateInstance() failed.[0x%08X]");
        CObjectRef<IVlmBackup> pBackup;
        log.Check(ProductResult([&] { return pBackup.Create(CLSID_VlmBackup, IID_IVlmBackup); }),
                  L"CoCreateInstance( __uuidof(VlmBackup) ) failed.[0x%08X]");
        log.Check(MakeOutputFolder(sOutDirPath), L"COpdDirectoryHelper::CreateDirectoryEx() failed.[0x%08X]");
        const CBstr sImagePath(JoinPath(sOutDirPath, L"license.vbk"));
        log.Check(ProductResult([&] {
                      return CallObject([&] {
                          return pBackup->createBackupImage(sImagePath.Get(), __uuidof(IVlmBackupCallback),
                                                            pCallback.Get());
                      });
                  }),
                  L"IVlmBackup::createBackupImage() failed.[0x%08X]");
    });
}
