// The three objects of the product that support tools call: the side-by-side helper, the system information, the
// backup.
#include "Objects.h"
#include "Unknown.h"
#include "VlmInterfaces.h"

namespace
{

constexpr INT32 RegionJapan = 1;

class CVlmSxs final : public CUnknown<IVlmSxs>
{
    STDMETHODIMP enableKB843524Hack(INT32 nEnable) override
    {
        return nEnable == 0 || nEnable == 1 ? S_OK : E_INVALIDARG;
    }
};

class CVlmSysInfo final : public CUnknown<IVlmSysInfo3>
{
    STDMETHODIMP getRegion(INT32* pnRegion) override
    {
        *pnRegion = RegionJapan;
        return S_OK;
    }
};

class CVlmBackup final : public CUnknown<IVlmBackup>
{
    STDMETHODIMP createBackupImage(BSTR sPath, REFIID iidCallback, IUnknown* pCallback) override
    {
        IVlmBackupCallback* pProgress = nullptr;
        if (pCallback == nullptr ||
            FAILED(pCallback->QueryInterface(iidCallback, reinterpret_cast<void**>(&pProgress))))
            return E_INVALIDARG;
        const HRESULT hr = WriteImage(sPath);
        pProgress->onProgress(100);
        pProgress->Release();
        return hr;
    }

    static HRESULT WriteImage(const wchar_t* pPath)
    {
        static constexpr char Content[] = "VBK1";
        DWORD dwWritten = 0;
        const HANDLE hFile = ::CreateFileW(pPath, GENERIC_WRITE, 0, nullptr, CREATE_ALWAYS, FILE_ATTRIBUTE_NORMAL,
                                           nullptr);
        if (hFile == INVALID_HANDLE_VALUE)
            return HRESULT_FROM_WIN32(::GetLastError());
        const bool bWritten = ::WriteFile(hFile, Content, sizeof Content - 1, &dwWritten, nullptr);
        ::CloseHandle(hFile);
        return bWritten ? S_OK : E_FAIL;
    }
};

} // namespace

IUnknown* MakeSxs(REFCLSID, const CBehavior&)
{
    return new CVlmSxs;
}

IUnknown* MakeSysInfo(REFCLSID, const CBehavior&)
{
    return new CVlmSysInfo;
}

IUnknown* MakeBackup(REFCLSID, const CBehavior&)
{
    return new CVlmBackup;
}
