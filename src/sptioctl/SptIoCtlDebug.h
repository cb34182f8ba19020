// Records every SCSI command in the folder "log.SCSI" beside the program: a file with the command before it, and one
// with its data, and the sense triple in its name, after it has succeeded.
#pragma once

#include <string>

#include "platform/Handle.h"
#include "sptioctl/SptIoCtlObject.h"

namespace sptioctl
{

// Stands in front of another object; a caller cannot tell the two apart. A record that cannot be written changes
// nothing for its command.
class CSptIoCtlDebug final : public CSptIoCtlObject
{
public:
    CSptIoCtlDebug();

    // Wraps the object, in place of the one held.
    HRESULT SetSptIoCtl(ISptIoCtl* pSptIoCtl);

    HRESULT STDMETHODCALLTYPE Open(BYTE nDriveIndex) override;
    HRESULT STDMETHODCALLTYPE Close() override;
    HRESULT STDMETHODCALLTYPE GetDriveIndex(BYTE* pnDriveIndex) override;
    HRESULT STDMETHODCALLTYPE GetProperty(DWORD dwId, COpdSafeTypeValue& rValue) override;
    HRESULT STDMETHODCALLTYPE SetProperty(DWORD dwId, COpdSafeTypeValue& rValue) override;

private:
    ISptIoCtl& Wrapped(const CFunctionLog& log) const;
    HRESULT Send(const CCommand& rCommand) override;
    void RecordCdb(const CCommand& rCommand);
    void RecordResult(int nKind, const CCommand& rCommand);
    void WriteRecord(const std::wstring& sTail, const BYTE* pData, DWORD dwSize);
    CFileHandle CreateRecord(const std::wstring& sTail);

    std::wstring m_sLogDirPath;
    Microsoft::WRL::ComPtr<ISptIoCtl> m_pSptIoCtl;
    SYSTEMTIME m_LastTime{};
    BYTE m_nSequence = 0;
};

} // namespace sptioctl
