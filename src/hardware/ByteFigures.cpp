#include "hardware/ByteFigures.h"

#include "log/LineWriter.h"
#include "platform/Format.h"

std::wstring DigitGroups(ULONGLONG ullBytes)
{
    std::wstring sText = FormatText(L"%I64u", ullBytes);
    for (std::size_t n = sText.size(); n > 3;)
    {
        n -= 3;
        sText.insert(n, 1, L',');
    }
    return sText;
}

std::wstring HexText(std::span<const BYTE> Bytes)
{
    std::wstring sText;
    for (std::size_t n = 0; n < Bytes.size() && sText.size() <= CLineWriter::MaxText; ++n)
        sText += FormatText(L"%02X ", Bytes[n]);
    if (!sText.empty())
        sText.pop_back();
    return sText;
}
