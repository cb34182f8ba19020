// SCSI commands to a drive letter through the system's pass-through requests.
#pragma once

#include <string>

#include "platform/Handle.h"
#include "sptioctl/SptIoCtlObject.h"

class CFunctionLog;

namespace sptioctl
{

class CWireRecord;

class CSptIoCtl final : public CSptIoCtlObject
{
public:
    using OpenDriveFunc = HRESULT (*)(BYTE nDriveIndex, HANDLE* phDevice);

    // The standard open function: "\\.\C:" for reading and writing, shared, written through.
    static HRESULT StdOpenDrive(BYTE nDriveIndex, HANDLE* phDevice);

    HRESULT STDMETHODCALLTYPE Open(BYTE nDriveIndex) override;
    HRESULT STDMETHODCALLTYPE Close() override;
    HRESULT STDMETHODCALLTYPE GetDriveIndex(BYTE* pnDriveIndex) override;
    HRESULT STDMETHODCALLTYPE GetProperty(DWORD dwId, COpdSafeTypeValue& rValue) override;
    HRESULT STDMETHODCALLTYPE SetProperty(DWORD dwId, COpdSafeTypeValue& rValue) override;

private:
    static constexpr BYTE NoDrive = 255;

    HRESULT Send(const CCommand& rCommand) override;
    HRESULT SendScsiCommand(const CCommand& rCommand);
    HRESULT SendScsiCommandDirect(const CCommand& rCommand);
    void CheckCommand(const CFunctionLog& log, const CCommand& rCommand) const;
    void Request(const CFunctionLog& log, const CCommand& rCommand, CWireRecord& rRecord, DWORD dwCode,
                 const wchar_t* pCodeName) const;
    void CheckProperty(const CFunctionLog& log, DWORD dwId) const;

    std::wstring m_sDevicePath;
    OpenDriveFunc m_pOpenDriveFunc = StdOpenDrive;
    BYTE m_nDriveIndex = NoDrive;
    CFileHandle m_hDevice;
    unsigned m_nTimeOut = 30; // seconds
};

} // namespace sptioctl
