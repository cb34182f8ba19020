// The record of a pass-through request, byte for byte: the platform's head, the sense buffer, the data. It has 66 bytes
// before the data, two less than a structure of these fields would get from the compiler, so the parts are reached at
// their offsets.
#pragma once

#include <algorithm>
#include <cstring>
#include <span>

#include "platform/Win32.h"
#include "sptioctl/SptIoCtlObject.h"

namespace sptioctl
{

class CWireRecord
{
public:
    static constexpr std::size_t HeaderSize = 66; // with the sense buffer
    static constexpr std::size_t MaxCdb = 16;

    // What the two requests tell apart: an offset in the record, or the address of the caller's buffer.
    static constexpr DWORD DataOffset = HeaderSize;

    // Bytes must hold the header, cleared.
    explicit CWireRecord(std::span<BYTE> Bytes) : m_Bytes(Bytes) {}

    void Fill(const CCommand& rCommand, DWORD dwTimeOut, DWORD dwData)
    {
        SCSI_PASS_THROUGH Head{};
        static_assert(sizeof Head == 44 && sizeof Head.Cdb == MaxCdb &&
                      sizeof Head == sizeof(SCSI_PASS_THROUGH_DIRECT));
        Head.Length = sizeof Head;
        Head.TargetId = 1;
        Head.CdbLength = rCommand.nCdbSize;
        Head.SenseInfoLength = SenseSize;
        Head.DataIn = static_cast<BYTE>(rCommand.eDirection);
        Head.DataTransferLength = rCommand.dwDataSize;
        Head.TimeOutValue = dwTimeOut;
        Head.DataBufferOffset = dwData;
        Head.SenseInfoOffset = SenseOffset;
        std::copy_n(rCommand.pCdb, rCommand.nCdbSize, Head.Cdb);
        std::memcpy(m_Bytes.data(), &Head, sizeof Head);
    }

    BYTE ScsiStatus() const { return Head().ScsiStatus; }
    BYTE SenseLength() const { return Head().SenseInfoLength; }
    DWORD Transferred() const { return Head().DataTransferLength; }
    BYTE SenseKey() const { return m_Bytes[SenseOffset + 2] & 0x0F; }
    BYTE ASC() const { return m_Bytes[SenseOffset + 12]; }
    BYTE ASCQ() const { return m_Bytes[SenseOffset + 13]; }
    std::span<BYTE> Bytes() const { return m_Bytes; }
    std::span<BYTE> Data() const { return m_Bytes.subspan(HeaderSize); }

private:
    static constexpr std::size_t SenseOffset = 48;
    static constexpr BYTE SenseSize = 18;

    SCSI_PASS_THROUGH Head() const
    {
        SCSI_PASS_THROUGH Head;
        std::memcpy(&Head, m_Bytes.data(), sizeof Head);
        return Head;
    }

    std::span<BYTE> m_Bytes;
};

} // namespace sptioctl
