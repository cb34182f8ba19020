// The record of a pass-through request, byte for byte. It has 66 bytes before the data, two less than a structure of
// these fields would get from the compiler, so the fields are read and written at their offsets.
#pragma once

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
    static constexpr DWORD DataOffset = 66;

    // Bytes must hold the header, cleared.
    explicit CWireRecord(std::span<BYTE> Bytes) : m_Bytes(Bytes) {}

    void Fill(const CCommand& rCommand, DWORD dwTimeOut, DWORD dwData);

    BYTE ScsiStatus() const { return m_Bytes[2]; }
    BYTE SenseLength() const { return m_Bytes[7]; }
    DWORD Transferred() const { return Dword(12); }
    BYTE SenseKey() const { return m_Bytes[SenseOffset + 2] & 0x0F; }
    BYTE ASC() const { return m_Bytes[SenseOffset + 12]; }
    BYTE ASCQ() const { return m_Bytes[SenseOffset + 13]; }
    std::span<BYTE> Bytes() const { return m_Bytes; }
    std::span<BYTE> Data() const { return m_Bytes.subspan(HeaderSize); }

private:
    static constexpr std::size_t SenseOffset = 48;
    static constexpr BYTE SenseSize = 18;

    DWORD Dword(std::size_t nOffset) const
    {
        DWORD dwValue;
        std::memcpy(&dwValue, m_Bytes.data() + nOffset, sizeof dwValue);
        return dwValue;
    }
    void PutDword(std::size_t nOffset, DWORD dwValue)
    {
        std::memcpy(m_Bytes.data() + nOffset, &dwValue, sizeof dwValue);
    }

    std::span<BYTE> m_Bytes;
};

} // namespace sptioctl
