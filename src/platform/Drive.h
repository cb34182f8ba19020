// Drives by their index, 0 for A:.
#pragma once

#include <string>

#include "platform/Format.h"

[[nodiscard]] constexpr wchar_t DriveLetter(BYTE nDriveIndex)
{
    return static_cast<wchar_t>(L'A' + nDriveIndex);
}

// "\\.\C:", which CreateFileW opens as the device.
[[nodiscard]] inline std::wstring DriveDevicePath(BYTE nDriveIndex)
{
    return FormatText(L"\\\\.\\%c:", DriveLetter(nDriveIndex));
}
