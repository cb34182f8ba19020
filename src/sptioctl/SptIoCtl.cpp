#include "sptioctl/SptIoCtl.h"

#include <winioctl.h>

#include <algorithm>
#include <array>
#include <cstdint>
#include <limits>
#include <vector>

#include "log/FunctionLog.h"
#include "opdutility/OpenDevice.h"
#include "platform/Allocation.h"
#include "platform/Drive.h"
#include "platform/HResult.h"
#include "sptioctl/SptIoCtlTrace.h"
#include "sptioctl/WireRecord.h"

namespace sptioctl
{
namespace
{

constexpr BYTE LastDrive = 25;
constexpr DWORD PropertyTimeOut = 0;
constexpr std::size_t SmallData = 512; // the least size of the data area

// The operations by their direction and by their form.
constexpr opLogSys::CFunctionName SendNames[][2] = {
    { "sptioctl::CSptIoCtl::SendOutDataCmd", "sptioctl::CSptIoCtl::SendOutDataCmdDirect" },
    { "sptioctl::CSptIoCtl::SendInDataCmd", "sptioctl::CSptIoCtl::SendInDataCmdDirect" },
    { "sptioctl::CSptIoCtl::SendNoDataCmd", "sptioctl::CSptIoCtl::SendNoDataCmdDirect" },
};

void CheckDriveIndex(const CFunctionLog& log, BYTE nDriveIndex)
{
    if (nDriveIndex > LastDrive)
        log.Fail(E_INVALIDARG, L"Invalid drive index was specified. DriveIndex:0x%02X", nDriveIndex);
}

// Header and data area of the buffered form, cleared.
std::vector<BYTE> MakeBlock(const CFunctionLog& log, DWORD dwDataSize)
{
    const std::uint64_t nData = dwDataSize <= SmallData ? SmallData : (std::uint64_t{ dwDataSize } + 15) / 16 * 16;
    const std::uint64_t nBlock = CWireRecord::HeaderSize + nData;
    std::vector<BYTE> Block;
    if (nBlock > std::numeric_limits<DWORD>::max() || !TryResize(Block, static_cast<std::size_t>(nBlock)))
        log.Throw(E_OUTOFMEMORY, L"CHeapPtr<UINT8>::AllocateBytes( %I64u ) failed.", nBlock);
    return Block;
}

// What came back, as far as the caller's buffer and the block go; the tail of a short read is zero.
void CopyDataIn(const CCommand& rCommand, const CWireRecord& rRecord)
{
    const std::span<BYTE> Target(rCommand.pData, rCommand.dwDataSize);
    const std::size_t nCopied = std::min<std::size_t>(rRecord.Transferred(), Target.size());
    std::ranges::fill(Target.subspan(nCopied), BYTE{ 0 });
    std::copy_n(rRecord.Data().begin(), nCopied, Target.begin());
}

bool IsMediumNotPresent(const CWireRecord& rRecord)
{
    return rRecord.ASC() == 0x3A && rRecord.ASCQ() == 0x00;
}

// Hands out the sense triple and judges the command. Throws E_UNEXPECTED for a bad status without a sense key; whatever
// else there is to say goes to the log, and the command counts as finished.
void JudgeCommand(const CFunctionLog& log, const CCommand& rCommand, const CWireRecord& rRecord)
{
    const BYTE nStatus = rRecord.ScsiStatus();
    const BYTE nKey = rRecord.SenseKey();
    log.Trace(L"Status:%d Length:%d / SenseKey:0x%02X ASC:0x%02X ASCQ:0x%02X", nStatus, rRecord.SenseLength(), nKey,
              rRecord.ASC(), rRecord.ASCQ());
    *rCommand.sense.pSenseKey = nKey;
    *rCommand.sense.pASC = rRecord.ASC();
    *rCommand.sense.pASCQ = rRecord.ASCQ();

    constexpr CFormat<BYTE, BYTE, BYTE, BYTE, BYTE, BYTE, BYTE> Line(
        L"CDB:%d OPCODE:0x%02X / Status:%d Length:%d / SenseKey:0x%02X ASC:0x%02X ASCQ:0x%02X");
    if (nKey == 0)
    {
        if (nStatus != 0)
            log.Fail(E_UNEXPECTED, Line, rCommand.nCdbSize, rCommand.pCdb[0], nStatus, rRecord.SenseLength(), nKey,
                     rRecord.ASC(), rRecord.ASCQ());
        return;
    }
    // A drive without a medium is no event on the buffered road; on the direct one the test stands the other way round,
    // and logs in the field are read by that.
    const bool bSilent = nKey == 2 && IsMediumNotPresent(rRecord) != rCommand.bDirect;
    if (!bSilent)
        log.Error(Line, rCommand.nCdbSize, rCommand.pCdb[0], nStatus, rRecord.SenseLength(), nKey, rRecord.ASC(),
                  rRecord.ASCQ());
}

} // namespace

HRESULT CSptIoCtl::StdOpenDrive(BYTE nDriveIndex, HANDLE* phDevice)
{
    CFunctionLog log;
    return log.Run([&] {
        CheckDriveIndex(log, nDriveIndex);
        OpenDevicePath(log, DriveDevicePath(nDriveIndex), GENERIC_READ | GENERIC_WRITE,
                       FILE_SHARE_READ | FILE_SHARE_WRITE, FILE_FLAG_WRITE_THROUGH, phDevice);
    });
}

HRESULT STDMETHODCALLTYPE CSptIoCtl::Open(BYTE nDriveIndex)
{
    CFunctionLog log;
    return log.Run([&] {
        CheckDriveIndex(log, nDriveIndex);
        if (m_hDevice)
            log.Fail(E_FAIL, L"A drive (C:) has benn already opened.");
        HANDLE hDevice = INVALID_HANDLE_VALUE;
        log.Check(m_pOpenDriveFunc(nDriveIndex, &hDevice), L"m_pOpenDriveFunc( %c: ) failed. [0x%08X]",
                  DriveLetter(nDriveIndex));
        m_hDevice.Attach(hDevice);
        m_sDevicePath = DriveDevicePath(nDriveIndex);
        m_nDriveIndex = nDriveIndex;
    });
}

HRESULT STDMETHODCALLTYPE CSptIoCtl::Close()
{
    CFunctionLog log;
    return log.Run([&] {
        if (!m_hDevice)
            log.Fail(E_FAIL, L"Any drive hasn't been opened yet.");
        m_hDevice.Close();
        m_sDevicePath.clear();
        m_nDriveIndex = NoDrive;
    });
}

HRESULT STDMETHODCALLTYPE CSptIoCtl::GetDriveIndex(BYTE* pnDriveIndex)
{
    CFunctionLog log;
    return log.Run([&] {
        if (!m_hDevice)
            log.Fail(E_FAIL, L"Any drive hasn't been opened yet.");
        if (pnDriveIndex == nullptr)
            log.Fail(E_POINTER, L"pDriveIndex == NULL");
        *pnDriveIndex = m_nDriveIndex;
    });
}

HRESULT CSptIoCtl::Send(const CCommand& rCommand)
{
    CFunctionLog log(SendNames[static_cast<BYTE>(rCommand.eDirection)][rCommand.bDirect]);
    return log.Run([&] { return rCommand.bDirect ? SendScsiCommandDirect(rCommand) : SendScsiCommand(rCommand); });
}

void CSptIoCtl::CheckCommand(const CFunctionLog& log, const CCommand& rCommand) const
{
    if (!m_hDevice)
        log.Fail(E_UNEXPECTED, L"Any drive hasn't been opend yet.");
    if (rCommand.nCdbSize == 0)
        log.Fail(E_INVALIDARG, L"CdbSize == 0");
    if (rCommand.nCdbSize > CWireRecord::MaxCdb && rCommand.bDirect)
        log.Fail(E_INVALIDARG, L"CdbSize > sizeof(stdwsd.sptd).");
    if (rCommand.nCdbSize > CWireRecord::MaxCdb)
        log.Fail(E_INVALIDARG, L"CdbSize(%d) > 16", rCommand.nCdbSize);
    if (rCommand.pCdb == nullptr)
        log.Fail(E_POINTER, L"pCdb == NULL");
    if (rCommand.dwDataSize > 0 && rCommand.pData == nullptr)
        log.Fail(E_POINTER, L"pData == NULL");
    if (rCommand.dwDataSize > 0 && rCommand.pdwTransferred == nullptr)
        log.Fail(E_POINTER, L"pDataTransferredSize == NULL");
    if (rCommand.sense.pSenseKey == nullptr)
        log.Fail(E_POINTER, L"pSenseKey == NULL");
    if (rCommand.sense.pASC == nullptr)
        log.Fail(E_POINTER, L"pASC == NULL");
    if (rCommand.sense.pASCQ == nullptr)
        log.Fail(E_POINTER, L"pASCQ == NULL");
}

HRESULT CSptIoCtl::SendScsiCommand(const CCommand& rCommand)
{
    CFunctionLog log;
    return log.Run([&] {
        CheckCommand(log, rCommand);
        std::vector<BYTE> Block = MakeBlock(log, rCommand.dwDataSize);
        CWireRecord record(Block);
        record.Fill(rCommand, m_nTimeOut, CWireRecord::DataOffset);
        if (rCommand.eDirection == Direction::Out)
            std::copy_n(rCommand.pData, rCommand.dwDataSize, record.Data().begin());
        Request(log, rCommand, record, IOCTL_SCSI_PASS_THROUGH, L"IOCTL_SCSI_PASS_THROUGH");
        if (rCommand.eDirection == Direction::In)
            CopyDataIn(rCommand, record);
        if (rCommand.pdwTransferred != nullptr)
            *rCommand.pdwTransferred = record.Transferred();
    });
}

HRESULT CSptIoCtl::SendScsiCommandDirect(const CCommand& rCommand)
{
    CFunctionLog log;
    return log.Run([&] {
        CheckCommand(log, rCommand);
        alignas(DWORD) std::array<BYTE, CWireRecord::HeaderSize> aBlock{};
        CWireRecord record(aBlock);
        record.Fill(rCommand, m_nTimeOut, static_cast<DWORD>(reinterpret_cast<ULONG_PTR>(rCommand.pData)));
        Request(log, rCommand, record, IOCTL_SCSI_PASS_THROUGH_DIRECT, L"IOCTL_SCSI_PASS_THROUGH_DIRECT");
        if (rCommand.pdwTransferred != nullptr)
            *rCommand.pdwTransferred = record.Transferred();
    });
}

// Sends the record and judges what comes back in it.
void CSptIoCtl::Request(const CFunctionLog& log, const CCommand& rCommand, CWireRecord& rRecord, DWORD dwCode,
                        const wchar_t* pCodeName) const
{
    const std::span<BYTE> Bytes = rRecord.Bytes();
    const auto dwSize = static_cast<DWORD>(Bytes.size());
    DWORD dwReturned = 0;
    const BOOL bSucceeded = ::DeviceIoControl(m_hDevice.Get(), dwCode, Bytes.data(), dwSize, Bytes.data(), dwSize,
                                              &dwReturned, nullptr);
    const DWORD dwError = ::GetLastError();
    TraceRequest(log, { rCommand, m_sDevicePath, m_nTimeOut }, rRecord, bSucceeded != FALSE, dwError, dwReturned);
    if (!bSucceeded)
        log.ThrowCode(
            HResultFromWin32(dwError),
            L"::DeviceIoControl( \"%s\", %s, OPCODE:0x%02X, IO:0x%02X, DATA:%d, TIMEOUT:%d ) failed. [0x%08X]",
            m_sDevicePath, pCodeName, rCommand.pCdb[0], rCommand.eDirection, rCommand.dwDataSize, m_nTimeOut);
    JudgeCommand(log, rCommand, rRecord);
}

void CSptIoCtl::CheckProperty(const CFunctionLog& log, DWORD dwId) const
{
    if (dwId != PropertyTimeOut)
        log.Throw(E_FAIL, L"This property is not supported. ID:0x%08X", dwId);
}

HRESULT STDMETHODCALLTYPE CSptIoCtl::GetProperty(DWORD dwId, COpdSafeTypeValue& rValue)
{
    CFunctionLog log;
    return log.Run([&] {
        CheckProperty(log, dwId);
        unsigned nTimeOut = m_nTimeOut;
        rValue.Set(COpdSafeTypeT<unsigned>(&nTimeOut));
    });
}

HRESULT STDMETHODCALLTYPE CSptIoCtl::SetProperty(DWORD dwId, COpdSafeTypeValue& rValue)
{
    CFunctionLog log;
    return log.Run([&] {
        CheckProperty(log, dwId);
        COpdSafeTypeT<unsigned> timeOut(&m_nTimeOut);
        rValue.Get(timeOut);
    });
}

} // namespace sptioctl
