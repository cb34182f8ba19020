#include "hardware/ByteFigures.h"

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
    for (const BYTE nByte : Bytes)
        sText += FormatText(L"%02X ", nByte);
    if (!sText.empty())
        sText.pop_back();
    return sText;
}
