#include "sptioctl/SptIoCtlDebug.h"

#include <algorithm>
#include <cstring>

#include "log/FunctionLog.h"
#include "platform/Drive.h"
#include "platform/LocalTime.h"
#include "platform/Path.h"
#include "sptioctl/SptIoCtl.h"

namespace sptioctl
{
namespace
{
constexpr int NameTries = 100;
constexpr DWORD TryPause = 10; // milliseconds

// The digit pair behind the sequence number in a record's name.
constexpr int CdbRecord = 0;
constexpr int StatusRecord = 1;
constexpr int DataInRecord = 2;
constexpr int DataOutRecord = 3;

struct COperation
{
    opLogSys::CFunctionName Function;
    const wchar_t* pFailure; // what a failed one is called
    int nRecord;             // of one that succeeded
};

// By direction and by form.
constexpr COperation Operations[][2] = {
    // The first goes by the name of the command without data; scripts know it so.
    { { "sptioctl::CSptIoCtlDebug::SendOutDataCmd", L"SendNoDataCmd", DataOutRecord },
      { "sptioctl::CSptIoCtlDebug::SendOutDataCmdDirect", L"SendOutDataCmdDirect", DataOutRecord } },
    { { "sptioctl::CSptIoCtlDebug::SendInDataCmd", L"SendInDataCmd", DataInRecord },
      { "sptioctl::CSptIoCtlDebug::SendInDataCmdDirect", L"SendInDataCmdDirect", DataInRecord } },
    { { "sptioctl::CSptIoCtlDebug::SendNoDataCmd", L"SendNoDataCmd", StatusRecord },
      { "sptioctl::CSptIoCtlDebug::SendNoDataCmdDirect", L"SendNoDataCmdDirect", StatusRecord } },
};

// The same operation of another object, with the same arguments.
HRESULT Pass(ISptIoCtl& rTo, const CCommand& c)
{
    const auto& [pKey, pASC, pASCQ] = c.sense;
    if (c.eDirection == Direction::None)
    {
        const auto pSend = c.bDirect ? &ISptIoCtl::SendNoDataCmdDirect : &ISptIoCtl::SendNoDataCmd;
        return (rTo.*pSend)(c.nCdbSize, c.pCdb, pKey, pASC, pASCQ);
    }
    const auto pIn = c.bDirect ? &ISptIoCtl::SendInDataCmdDirect : &ISptIoCtl::SendInDataCmd;
    const auto pOut = c.bDirect ? &ISptIoCtl::SendOutDataCmdDirect : &ISptIoCtl::SendOutDataCmd;
    const auto pSend = c.eDirection == Direction::In ? pIn : pOut;
    return (rTo.*pSend)(c.nCdbSize, c.pCdb, c.dwDataSize, c.pData, c.pdwTransferred, pKey, pASC, pASCQ);
}

} // namespace

CSptIoCtlDebug::CSptIoCtlDebug() : m_sLogDirPath(JoinPath(ModuleDirPath(), L"log.SCSI"))
{
    // So that it works before anything is wrapped; without it the operations tell what is missing.
    static_cast<void>(CreateInstance<CSptIoCtl>(m_pSptIoCtl));
    MakeFolder(m_sLogDirPath);
}

HRESULT CSptIoCtlDebug::SetSptIoCtl(ISptIoCtl* pSptIoCtl)
{
    CFunctionLog log;
    return log.Run([&] {
        if (pSptIoCtl == nullptr)
            log.Fail(E_POINTER, L"pSptIoCtl == NULL");
        // The new one first: it may live by the one that goes.
        Microsoft::WRL::ComPtr<ISptIoCtl>(pSptIoCtl).Swap(m_pSptIoCtl);
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
        const wchar_t cLetter = DriveLetter(nDriveIndex);
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

HRESULT CSptIoCtlDebug::Send(const CCommand& rCommand)
{
    const COperation& rOperation = Operations[static_cast<BYTE>(rCommand.eDirection)][rCommand.bDirect];
    CFunctionLog log(rOperation.Function);
    return log.Run([&] {
        ISptIoCtl& rWrapped = Wrapped(log);
        RecordCdb(rCommand);
        log.Check(Pass(rWrapped, rCommand), L"ISptIoCtl::%s() failed. [0x%08X]", rOperation.pFailure);
        RecordResult(rOperation.nRecord, rCommand);
    });
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

void CSptIoCtlDebug::RecordCdb(const CCommand& rCommand)
{
    if (rCommand.nCdbSize != 0 && rCommand.pCdb != nullptr)
        WriteRecord(FormatText(L"_%02d_%02X.dat", CdbRecord, rCommand.pCdb[0]), rCommand.pCdb, rCommand.nCdbSize);
}

// Skipped without a word where an input is missing.
void CSptIoCtlDebug::RecordResult(int nKind, const CCommand& rCommand)
{
    const CSense& rSense = rCommand.sense;
    if (rCommand.nCdbSize == 0 || rCommand.pCdb == nullptr || rSense.pSenseKey == nullptr || rSense.pASC == nullptr ||
        rSense.pASCQ == nullptr)
        return;
    const bool bData = nKind != StatusRecord;
    if (bData && (rCommand.pData == nullptr || rCommand.pdwTransferred == nullptr))
        return;
    // What a device says it has transferred may be more than there was room for.
    const DWORD dwSize = bData ? std::min(*rCommand.pdwTransferred, rCommand.dwDataSize) : 0;
    WriteRecord(FormatText(L"_%02d_%02X_%02X_%02X_%02X.dat", nKind, rCommand.pCdb[0], *rSense.pSenseKey, *rSense.pASC,
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
        if (PathExists(sName))
        {
            ::Sleep(TryPause);
            continue;
        }
        m_LastTime = Now;
        return CFileHandle(::CreateFileW(EntryPath(m_sLogDirPath, sName).c_str(), GENERIC_WRITE, 0, nullptr, CREATE_NEW,
                                         FILE_ATTRIBUTE_NORMAL | FILE_FLAG_SEQUENTIAL_SCAN, nullptr));
    }
    return CFileHandle();
}

} // namespace sptioctl
