// Numbers of bytes and runs of bytes as the hardware report prints them.
#pragma once

#include <span>
#include <string>

#include "platform/Win32.h"

// The decimal text with a comma after every three digits from the right.
[[nodiscard]] std::wstring DigitGroups(ULONGLONG ullBytes);

[[nodiscard]] constexpr double Megabytes(ULONGLONG ullBytes)
{
    return static_cast<double>(ullBytes) / (1024.0 * 1024.0);
}
[[nodiscard]] constexpr double Gigabytes(ULONGLONG ullBytes)
{
    return Megabytes(ullBytes) / 1024.0;
}

// "0A FF": two digits a byte, one blank apart. Of more bytes than a line holds there is a text that no line takes.
[[nodiscard]] std::wstring HexText(std::span<const BYTE> Bytes);
