#include "sptioctl/SptIoCtlTrace.h"

#include "log/LogInterfaces.h"
#include "platform/Table.h"

namespace sptioctl
{
namespace
{

constexpr LONG WireLevel = 30;

// The status codes and sense keys of the SCSI architecture and primary command standards.
constexpr CNameRow<BYTE> StatusLines[] = {
    { 0x00, L"Status: [00h] GOOD" },
    { 0x02, L"Status: [02h] CHECK CONDITION" },
    { 0x04, L"Status: [04h] CONDITION MET" },
    { 0x08, L"Status: [08h] BUSY" },
    { 0x10, L"Status: [10h] INTERMEDIATE" },
    { 0x14, L"Status: [14h] INTERMEDIATE-CONDITION MET" },
    { 0x18, L"Status: [18h] RESERVATION CONFLICT" },
    { 0x22, L"Status: [22h] Obsolete" },
    { 0x28, L"Status: [28h] TASK SET FULL" },
    { 0x30, L"Status: [30h] ACA ACTIVE" },
    { 0x40, L"Status: [40h] TASK ABORTED" },
};

// clang-format off
constexpr CNameRow<BYTE> SenseKeyLines[] = {
    { 0x0, L"SenseKey: [0h] NO SENSE" },
    { 0x1, L"SenseKey: [1h] RECOVERED ERROR" },
    { 0x2, L"SenseKey: [2h] NOT READY" },
    { 0x3, L"SenseKey: [3h] MEDIUM ERROR" },
    { 0x4, L"SenseKey: [4h] HARDWARE ERROR" },
    { 0x5, L"SenseKey: [5h] ILLEGAL REQUEST" },
    { 0x6, L"SenseKey: [6h] UNIT ATTENTION" },
    { 0x7, L"SenseKey: [7h] DATA PROTECT" },
    { 0x8, L"SenseKey: [8h] BLANK CHECK" },
    { 0x9, L"SenseKey: [9h] VENDOR SPECIFIC" },
    { 0xA, L"SenseKey: [Ah] COPY ABORTED" },
    { 0xB, L"SenseKey: [Bh] ABORTED COMMAND" },
    { 0xC, L"SenseKey: [Ch] Obsolete" },
    { 0xD, L"SenseKey: [Dh] VOLUME OVERFLOW" },
    { 0xE, L"SenseKey: [Eh] MISCOMPARE" },
    { 0xF, L"SenseKey: [Fh] Reserved" },
};
// clang-format on

} // namespace

void TraceRequest(const CFunctionLog& log, const CSent& rSent, const CWireRecord& rRecord, bool bSucceeded,
                  DWORD dwError, DWORD dwReturned)
{
    if (!log.IsActive() || !CFunctionLog::IsTarget(L"CSptIoCtl", WireLevel))
        return;
    const auto group = log.TraceGroup();
    const CCommand& rCommand = rSent.rCommand;
    // Both forms name the buffered request here.
    log.Trace(L"DeviceIoControl( IOCTL_SCSI_PASS_THROUGH ) %s. [%d]", bSucceeded ? L"succeeded" : L"failed", dwError);
    log.Trace(L"  Device:      %s", rSent.sDevicePath);
    log.Trace(L"  CDB:         %d [byte]", rCommand.nCdbSize);
    log.Trace(L"  CDB OPCODE:  0x%02X", rCommand.pCdb[0]);
    log.Trace(L"  Data:        %d [byte]", rCommand.dwDataSize);
    log.Trace(L"  Transferred: %d [byte]", rRecord.Transferred());
    log.Trace(L"  Direction:   0x%02X", rCommand.eDirection);
    log.Trace(L"  Sense Data:  %d [byte]", rRecord.SenseLength());
    log.Trace(L"  Time Out:    %d [sec]", rSent.dwTimeOut);
    log.Trace(L"  Returned:    %d [byte]", dwReturned);
    log.Trace(L"%s", NameOr(StatusLines, rRecord.ScsiStatus(), L"Status: [%08Xh] Reserved"));
    log.Trace(L"%s", NameOr(SenseKeyLines, rRecord.SenseKey(), L"SenseKey: [%08Xh] Unknown"));
}

} // namespace sptioctl
