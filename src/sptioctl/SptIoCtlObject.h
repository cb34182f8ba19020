// What all objects with the interface have in common.
#pragma once

#include <wrl/client.h>

#include <new>
#include <optional>

#include "platform/ComObject.h"
#include "platform/Lock.h"
#include "sptioctl/SptIoCtlInterface.h"

#include <ntddscsi.h>

namespace sptioctl
{

// Where the data of a command go, as the pass-through requests number it.
enum class Direction : BYTE
{
    Out = SCSI_IOCTL_DATA_OUT,
    In = SCSI_IOCTL_DATA_IN,
    None = SCSI_IOCTL_DATA_UNSPECIFIED
};

struct CSense
{
    BYTE* pSenseKey;
    BYTE* pASC;
    BYTE* pASCQ;
};

// The arguments of one of the six operations that send. Data and transferred size may be null when there are no data.
struct CCommand
{
    Direction eDirection;
    bool bDirect;
    BYTE nCdbSize;
    const BYTE* pCdb;
    DWORD dwDataSize;
    BYTE* pData;
    DWORD* pdwTransferred;
    CSense sense;
};

// Brings the six together in one.
class CSptIoCtlObject : public CComObjectT<ISptIoCtl>
{
public:
    // Before anything else is called; fails where there is no lock.
    HRESULT Initialize() { return MakeLock(m_Lock); }

    HRESULT STDMETHODCALLTYPE SendNoDataCmd(BYTE nCdbSize, const BYTE* pCdb, BYTE* pSenseKey, BYTE* pASC,
                                            BYTE* pASCQ) override;
    HRESULT STDMETHODCALLTYPE SendNoDataCmdDirect(BYTE nCdbSize, const BYTE* pCdb, BYTE* pSenseKey, BYTE* pASC,
                                                  BYTE* pASCQ) override;
    HRESULT STDMETHODCALLTYPE SendInDataCmd(BYTE nCdbSize, const BYTE* pCdb, DWORD dwDataSize, BYTE* pData,
                                            DWORD* pdwTransferred, BYTE* pSenseKey, BYTE* pASC, BYTE* pASCQ) override;
    HRESULT STDMETHODCALLTYPE SendInDataCmdDirect(BYTE nCdbSize, const BYTE* pCdb, DWORD dwDataSize, BYTE* pData,
                                                  DWORD* pdwTransferred, BYTE* pSenseKey, BYTE* pASC,
                                                  BYTE* pASCQ) override;
    HRESULT STDMETHODCALLTYPE SendOutDataCmd(BYTE nCdbSize, const BYTE* pCdb, DWORD dwDataSize, BYTE* pData,
                                             DWORD* pdwTransferred, BYTE* pSenseKey, BYTE* pASC, BYTE* pASCQ) override;
    HRESULT STDMETHODCALLTYPE SendOutDataCmdDirect(BYTE nCdbSize, const BYTE* pCdb, DWORD dwDataSize, BYTE* pData,
                                                   DWORD* pdwTransferred, BYTE* pSenseKey, BYTE* pASC,
                                                   BYTE* pASCQ) override;

protected:
    ~CSptIoCtlObject() override = default;

private:
    virtual HRESULT Send(const CCommand& rCommand) = 0;

    // Every object has its lock, and there is no object without one. The operations do not take it: an object is for
    // one thread at a time.
    std::optional<CLock> m_Lock;
};

// A new object, held by a reference. Fails with E_OUTOFMEMORY, or with what kept it from being initialised.
template <typename T, typename Interface>
HRESULT CreateInstance(Microsoft::WRL::ComPtr<Interface>& rpObject)
{
    const Microsoft::WRL::ComPtr<T> pObject(new (std::nothrow) T);
    const HRESULT hr = pObject ? pObject->Initialize() : E_OUTOFMEMORY;
    if (SUCCEEDED(hr))
        rpObject = pObject;
    return hr;
}

} // namespace sptioctl
