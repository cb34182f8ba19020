// The interface through which SCSI commands reach a drive letter.
#pragma once

#include "opdutility/OpdSafeTypeValue.h"
#include "platform/Win32.h"

#include <unknwn.h>

namespace sptioctl
{

#pragma GCC diagnostic push
#pragma GCC diagnostic ignored "-Wnon-virtual-dtor" // as every COM interface

// One drive at a time; for one thread at a time. A command that ends with a sense key has not failed: the caller reads
// the triple, which stays untouched when the request itself fails.
struct ISptIoCtl : IUnknown
{
    // 0 for A: to 25 for Z:.
    virtual HRESULT STDMETHODCALLTYPE Open(BYTE nDriveIndex) = 0;
    virtual HRESULT STDMETHODCALLTYPE Close() = 0;
    virtual HRESULT STDMETHODCALLTYPE GetDriveIndex(BYTE* pnDriveIndex) = 0;
    // A command descriptor block of 1 to 16 bytes; the direct forms move the data in the caller's own buffer.
    virtual HRESULT STDMETHODCALLTYPE SendNoDataCmd(BYTE nCdbSize, const BYTE* pCdb, BYTE* pSenseKey, BYTE* pASC,
                                                    BYTE* pASCQ) = 0;
    virtual HRESULT STDMETHODCALLTYPE SendNoDataCmdDirect(BYTE nCdbSize, const BYTE* pCdb, BYTE* pSenseKey, BYTE* pASC,
                                                          BYTE* pASCQ) = 0;
    virtual HRESULT STDMETHODCALLTYPE SendInDataCmd(BYTE nCdbSize, const BYTE* pCdb, DWORD dwDataSize, BYTE* pData,
                                                    DWORD* pdwTransferred, BYTE* pSenseKey, BYTE* pASC,
                                                    BYTE* pASCQ) = 0;
    virtual HRESULT STDMETHODCALLTYPE SendInDataCmdDirect(BYTE nCdbSize, const BYTE* pCdb, DWORD dwDataSize,
                                                          BYTE* pData, DWORD* pdwTransferred, BYTE* pSenseKey,
                                                          BYTE* pASC, BYTE* pASCQ) = 0;
    virtual HRESULT STDMETHODCALLTYPE SendOutDataCmd(BYTE nCdbSize, const BYTE* pCdb, DWORD dwDataSize, BYTE* pData,
                                                     DWORD* pdwTransferred, BYTE* pSenseKey, BYTE* pASC,
                                                     BYTE* pASCQ) = 0;
    virtual HRESULT STDMETHODCALLTYPE SendOutDataCmdDirect(BYTE nCdbSize, const BYTE* pCdb, DWORD dwDataSize,
                                                           BYTE* pData, DWORD* pdwTransferred, BYTE* pSenseKey,
                                                           BYTE* pASC, BYTE* pASCQ) = 0;
    // The one property is 0, the time-out in seconds, an unsigned int. A new one holds for the commands after it.
    virtual HRESULT STDMETHODCALLTYPE GetProperty(DWORD dwId, COpdSafeTypeValue& rValue) = 0;
    virtual HRESULT STDMETHODCALLTYPE SetProperty(DWORD dwId, COpdSafeTypeValue& rValue) = 0;
    virtual ~ISptIoCtl() = default;
};

#pragma GCC diagnostic pop

} // namespace sptioctl

__CRT_UUID_DECL(sptioctl::ISptIoCtl, 0x92F1642B, 0xDC07, 0x490A, 0x8B, 0xA5, 0x40, 0x1B, 0x00, 0xF8, 0x84, 0x50)
