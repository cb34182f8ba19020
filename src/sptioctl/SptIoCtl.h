// SCSI commands to a drive letter through the system's pass-through requests.
#pragma once

#include <string>

#include "opdutility/OpdSafeTypeValue.h"
#include "platform/ComObject.h"
#include "platform/Handle.h"

namespace sptioctl
{

// The sense triple of a command.
struct CSense
{
    BYTE* pSenseKey;
    BYTE* pASC;
    BYTE* pASCQ;
};

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

// One command as the workers take it. Data and transferred size may be null when there are no data.
struct CCommand
{
    BYTE nCdbSize;
    const BYTE* pCdb;
    BYTE nDirection;
    DWORD dwDataSize;
    BYTE* pData;
    DWORD* pdwTransferred;
    CSense sense;
};

class CSptIoCtl final : public CComObjectT<ISptIoCtl>
{
public:
    using OpenDriveFunc = HRESULT (*)(BYTE nDriveIndex, HANDLE* phDevice);

    // The standard open function: "\\.\C:" for reading and writing, shared, written through.
    static HRESULT StdOpenDrive(BYTE nDriveIndex, HANDLE* phDevice);

    HRESULT STDMETHODCALLTYPE Open(BYTE nDriveIndex) override;
    HRESULT STDMETHODCALLTYPE Close() override;
    HRESULT STDMETHODCALLTYPE GetDriveIndex(BYTE* pnDriveIndex) override;
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
    HRESULT STDMETHODCALLTYPE GetProperty(DWORD dwId, COpdSafeTypeValue& rValue) override;
    HRESULT STDMETHODCALLTYPE SetProperty(DWORD dwId, COpdSafeTypeValue& rValue) override;

private:
    static constexpr BYTE NoDrive = 255;

    HRESULT SendScsiCommand(const CCommand& rCommand);
    HRESULT SendScsiCommandDirect(const CCommand& rCommand);
    void CheckCommand(const CFunctionLog& log, const CCommand& rCommand, bool bDirect) const;
    void CheckProperty(const CFunctionLog& log, DWORD dwId) const;

    std::wstring m_sDevicePath;
    OpenDriveFunc m_pOpenDriveFunc = StdOpenDrive;
    BYTE m_nDriveIndex = NoDrive;
    CFileHandle m_hDevice;
    unsigned m_nTimeOut = 30; // seconds
};

} // namespace sptioctl

__CRT_UUID_DECL(sptioctl::ISptIoCtl, 0x92F1642B, 0xDC07, 0x490A, 0x8B, 0xA5, 0x40, 0x1B, 0x00, 0xF8, 0x84, 0x50)
