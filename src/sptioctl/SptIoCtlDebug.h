// Records every SCSI command in the folder "log.SCSI" beside the program: a file with the command before it, and one
// with its data, and the sense triple in its name, after it has succeeded.
#pragma once

#include <wrl/client.h>

#include <string>

#include "sptioctl/SptIoCtl.h"

namespace sptioctl
{

// Stands in front of another object; a caller cannot tell the two apart. A record that cannot be written changes
// nothing for its command.
class CSptIoCtlDebug final : public CComObjectT<ISptIoCtl>
{
public:
    CSptIoCtlDebug();

    // Wraps the object, in place of the one held.
    HRESULT SetSptIoCtl(ISptIoCtl* pSptIoCtl);

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
    // The digit pair behind the sequence number in a record's name.
    enum class Record
    {
        Cdb = 0,
        Status = 1,
        DataIn = 2,
        DataOut = 3
    };
    using SendNoData = HRESULT (STDMETHODCALLTYPE ISptIoCtl::*)(BYTE, const BYTE*, BYTE*, BYTE*, BYTE*);
    using SendData = HRESULT (STDMETHODCALLTYPE ISptIoCtl::*)(BYTE, const BYTE*, DWORD, BYTE*, DWORD*, BYTE*, BYTE*,
                                                              BYTE*);

    ISptIoCtl& Wrapped(const CFunctionLog& log) const;
    HRESULT ForwardNoData(CFunctionLog& log, SendNoData pSend, const wchar_t* pName, const CCommand& rCommand);
    HRESULT ForwardData(CFunctionLog& log, SendData pSend, const wchar_t* pName, Record eRecord,
                        const CCommand& rCommand);
    void RecordCdb(const CCommand& rCommand);
    void RecordResult(Record eRecord, const CCommand& rCommand);
    void WriteRecord(const std::wstring& sTail, const BYTE* pData, DWORD dwSize);
    CFileHandle CreateRecord(const std::wstring& sTail);

    std::wstring m_sLogDirPath; // with a trailing backslash
    Microsoft::WRL::ComPtr<ISptIoCtl> m_pSptIoCtl;
    SYSTEMTIME m_LastTime{};
    BYTE m_nSequence = 0;
};

} // namespace sptioctl
