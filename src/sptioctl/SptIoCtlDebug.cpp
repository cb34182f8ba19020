#include "sptioctl/SptIoCtlDebug.h"

#include <shlobj.h>

#include <algorithm>
#include <cstring>

#include "log/FunctionLog.h"
#include "platform/HResult.h"
#include "platform/LocalTime.h"
#include "platform/Path.h"

namespace sptioctl
{
namespace
{
constexpr int NameTries = 100;
constexpr DWORD TryPause = 10; // milliseconds
} // namespace

CSptIoCtlDebug::CSptIoCtlDebug()
    : m_sLogDirPath(WithTrailingBackslash(JoinPath(ModuleDirPath(), L"log.SCSI"))),
      m_pSptIoCtl(new CSptIoCtl)
{
    if (!FileExists(m_sLogDirPath))
        ::SHCreateDirectoryExW(nullptr, m_sLogDirPath.c_str(), nullptr);
}

HRESULT CSptIoCtlDebug::SetSptIoCtl(ISptIoCtl* pSptIoCtl)
{
    CFunctionLog log;
    return log.Run([&] {
        if (pSptIoCtl == nullptr)
            log.Fail(E_POINTER, L"pSptIoCtl == NULL");
        m_pSptIoCtl = pSptIoCtl;
    });
}

ISptIoCtl& CSptIoCtlDebug::Wrapped(const CFunctionLog& log) const
{
    if (!m_pSptIoCtl)
        log.Fail(E_UNEXPECTED, L"m_pSptIoCtl == NULL");
    return *m_pSptIoCtl.Get();
}

HRESULT STDMETHODCALLTYPE CSptIoCtlDebug::Open(BYTE nDriveIndex)
{
    CFunctionLog log;
    return log.Run([&] {
        ISptIoCtl& rWrapped = Wrapped(log);
        const wchar_t cLetter = static_cast<wchar_t>(L'A' + nDriveIndex);
        log.Trace(L"DriveIndex: \"%d\"(%c:)", nDriveIndex, cLetter);
        log.Check(rWrapped.Open(nDriveIndex), L"ISptIoCtl::Open( %c ) failed. [0x%08X]", cLetter);
    });
}

HRESULT STDMETHODCALLTYPE CSptIoCtlDebug::Close()
{
    CFunctionLog log;
    return log.Run([&] { log.Check(Wrapped(log).Close(), L"ISptIoCtl::Close() failed. [0x%08X]"); });
}

HRESULT STDMETHODCALLTYPE CSptIoCtlDebug::GetDriveIndex(BYTE* pnDriveIndex)
{
    CFunctionLog log;
    return log.Run(
        [&] { log.Check(Wrapped(log).GetDriveIndex(pnDriveIndex), L"ISptIoCtl::GetDriveIndex() failed. [0x%08X]"); });
}

HRESULT STDMETHODCALLTYPE CSptIoCtlDebug::SendNoDataCmd(BYTE nCdbSize, const BYTE* pCdb, BYTE* pSenseKey, BYTE* pASC,
                                                        BYTE* pASCQ)
{
    CFunctionLog log;
    return ForwardNoData(log, &ISptIoCtl::SendNoDataCmd, L"SendNoDataCmd",
                         { nCdbSize, pCdb, 0, 0, nullptr, nullptr, { pSenseKey, pASC, pASCQ } });
}

HRESULT STDMETHODCALLTYPE CSptIoCtlDebug::SendNoDataCmdDirect(BYTE nCdbSize, const BYTE* pCdb, BYTE* pSenseKey,
                                                              BYTE* pASC, BYTE* pASCQ)
{
    CFunctionLog log;
    return ForwardNoData(log, &ISptIoCtl::SendNoDataCmdDirect, L"SendNoDataCmdDirect",
                         { nCdbSize, pCdb, 0, 0, nullptr, nullptr, { pSenseKey, pASC, pASCQ } });
}

HRESULT STDMETHODCALLTYPE CSptIoCtlDebug::SendInDataCmd(BYTE nCdbSize, const BYTE* pCdb, DWORD dwDataSize, BYTE* pData,
                                                        DWORD* pdwTransferred, BYTE* pSenseKey, BYTE* pASC, BYTE* pASCQ)
{
    CFunctionLog log;
    return ForwardData(log, &ISptIoCtl::SendInDataCmd, L"SendInDataCmd", Record::DataIn,
                       { nCdbSize, pCdb, 0, dwDataSize, pData, pdwTransferred, { pSenseKey, pASC, pASCQ } });
}

HRESULT STDMETHODCALLTYPE CSptIoCtlDebug::SendInDataCmdDirect(BYTE nCdbSize, const BYTE* pCdb, DWORD dwDataSize,
                                                              BYTE* pData, DWORD* pdwTransferred, BYTE* pSenseKey,
                                                              BYTE* pASC, BYTE* pASCQ)
{
    CFunctionLog log;
    return ForwardData(log, &ISptIoCtl::SendInDataCmdDirect, L"SendInDataCmdDirect", Record::DataIn,
                       { nCdbSize, pCdb, 0, dwDataSize, pData, pdwTransferred, { pSenseKey, pASC, pASCQ } });
}

HRESULT STDMETHODCALLTYPE CSptIoCtlDebug::SendOutDataCmd(BYTE nCdbSize, const BYTE* pCdb, DWORD dwDataSize, BYTE* pData,
                                                         DWORD* pdwTransferred, BYTE* pSenseKey, BYTE* pASC,
                                                         BYTE* pASCQ)
{
    CFunctionLog log;
    // The failure goes by the name of the command without data; scripts know it so.
    return ForwardData(log, &ISptIoCtl::SendOutDataCmd, L"SendNoDataCmd", Record::DataOut,
                       { nCdbSize, pCdb, 0, dwDataSize, pData, pdwTransferred, { pSenseKey, pASC, pASCQ } });
}

HRESULT STDMETHODCALLTYPE CSptIoCtlDebug::SendOutDataCmdDirect(BYTE nCdbSize, const BYTE* pCdb, DWORD dwDataSize,
                                                               BYTE* pData, DWORD* pdwTransferred, BYTE* pSenseKey,
                                                               BYTE* pASC, BYTE* pASCQ)
{
    CFunctionLog log;
    return ForwardData(log, &ISptIoCtl::SendOutDataCmdDirect, L"SendOutDataCmdDirect", Record::DataOut,
                       { nCdbSize, pCdb, 0, dwDataSize, pData, pdwTransferred, { pSenseKey, pASC, pASCQ } });
}

HRESULT STDMETHODCALLTYPE CSptIoCtlDebug::GetProperty(DWORD dwId, COpdSafeTypeValue& rValue)
{
    CFunctionLog log;
    return log.Run([&] {
        if (!m_pSptIoCtl)
            log.Throw(E_UNEXPECTED);
        const HRESULT hr = m_pSptIoCtl->GetProperty(dwId, rValue);
        log.Check(hr, L"ISptIoCtl::GetProperty( ID:0x%08X ) failed. [0x%08X]", dwId);
    });
}

HRESULT STDMETHODCALLTYPE CSptIoCtlDebug::SetProperty(DWORD dwId, COpdSafeTypeValue& rValue)
{
    CFunctionLog log;
    return log.Run([&] {
        if (!m_pSptIoCtl)
            log.Throw(E_UNEXPECTED);
        const HRESULT hr = m_pSptIoCtl->SetProperty(dwId, rValue);
        log.Check(hr, L"ISptIoCtl::SetProperty( ID:0x%08X ) failed. [0x%08X]", dwId);
    });
}

HRESULT CSptIoCtlDebug::ForwardNoData(CFunctionLog& log, SendNoData pSend, const wchar_t* pName,
                                      const CCommand& rCommand)
{
    return log.Run([&] {
        ISptIoCtl& rWrapped = Wrapped(log);
        RecordCdb(rCommand);
        const CSense& rSense = rCommand.sense;
        const HRESULT hr = (rWrapped.*pSend)(rCommand.nCdbSize, rCommand.pCdb, rSense.pSenseKey, rSense.pASC,
                                             rSense.pASCQ);
        log.Check(hr, L"ISptIoCtl::%s() failed. [0x%08X]", pName);
        RecordResult(Record::Status, rCommand);
    });
}

HRESULT CSptIoCtlDebug::ForwardData(CFunctionLog& log, SendData pSend, const wchar_t* pName, Record eRecord,
                                    const CCommand& rCommand)
{
    return log.Run([&] {
        ISptIoCtl& rWrapped = Wrapped(log);
        RecordCdb(rCommand);
        const CSense& rSense = rCommand.sense;
        const HRESULT hr = (rWrapped.*pSend)(rCommand.nCdbSize, rCommand.pCdb, rCommand.dwDataSize, rCommand.pData,
                                             rCommand.pdwTransferred, rSense.pSenseKey, rSense.pASC, rSense.pASCQ);
        log.Check(hr, L"ISptIoCtl::%s() failed. [0x%08X]", pName);
        RecordResult(eRecord, rCommand);
    });
}

void CSptIoCtlDebug::RecordCdb(const CCommand& rCommand)
{
    if (rCommand.nCdbSize != 0 && rCommand.pCdb != nullptr)
        WriteRecord(FormatText(L"_%02d_%02X.dat", Record::Cdb, rCommand.pCdb[0]), rCommand.pCdb, rCommand.nCdbSize);
}

// Skipped without a word where an input is missing.
void CSptIoCtlDebug::RecordResult(Record eRecord, const CCommand& rCommand)
{
    const CSense& rSense = rCommand.sense;
    if (rCommand.nCdbSize == 0 || rCommand.pCdb == nullptr || rSense.pSenseKey == nullptr || rSense.pASC == nullptr ||
        rSense.pASCQ == nullptr)
        return;
    const bool bData = eRecord != Record::Status;
    if (bData && (rCommand.pData == nullptr || rCommand.pdwTransferred == nullptr))
        return;
    // What a device says it has transferred may be more than there was room for.
    const DWORD dwSize = bData ? std::min(*rCommand.pdwTransferred, rCommand.dwDataSize) : 0;
    WriteRecord(FormatText(L"_%02d_%02X_%02X_%02X_%02X.dat", eRecord, rCommand.pCdb[0], *rSense.pSenseKey, *rSense.pASC,
                           *rSense.pASCQ),
                rCommand.pData, dwSize);
}

void CSptIoCtlDebug::WriteRecord(const std::wstring& sTail, const BYTE* pData, DWORD dwSize)
{
    const CFileHandle hFile = CreateRecord(sTail);
    DWORD dwWritten = 0;
    if (hFile && dwSize != 0)
        ::WriteFile(hFile.Get(), pData, dwSize, &dwWritten, nullptr);
}

// A name that is taken is waited out; the test looks into the current folder, and so it stays.
CFileHandle CSptIoCtlDebug::CreateRecord(const std::wstring& sTail)
{
    for (int n = 0; n < NameTries; ++n)
    {
        const SYSTEMTIME Now = LocalNow();
        m_nSequence = std::memcmp(&Now, &m_LastTime, sizeof Now) == 0 ? static_cast<BYTE>(m_nSequence + 1) : BYTE{ 0 };
        const std::wstring sName = FormatText(L"SCSI_%04d%02d%02d_%02d%02d%02d%03d-%02d%s", Now.wYear, Now.wMonth,
                                              Now.wDay, Now.wHour, Now.wMinute, Now.wSecond, Now.wMilliseconds,
                                              m_nSequence, sTail);
        if (FileExists(sName))
        {
            ::Sleep(TryPause);
            continue;
        }
        m_LastTime = Now;
        return CFileHandle(::CreateFileW((m_sLogDirPath + sName).c_str(), GENERIC_WRITE, 0, nullptr, CREATE_NEW,
                                         FILE_ATTRIBUTE_NORMAL | FILE_FLAG_SEQUENTIAL_SCAN, nullptr));
    }
    return CFileHandle();
}

} // namespace sptioctl
