// The time column of the listings.
#pragma once

#include <string>

#include "platform/Format.h"
#include "platform/LocalTime.h"

// Local time. A time that means no date shows as 1601, or as zeros where the zone shifts that out of range.
inline std::wstring ListedTime(const FILETIME& rTime)
{
    auto Time = LocalTimeOf(rTime);
    if (!Time)
        Time = LocalTimeOf(FILETIME{});
    const SYSTEMTIME Shown = Time.value_or(SYSTEMTIME{});
    return FormatText(L"%02d/%02d/%02d,%02d:%02d:%02d", Shown.wYear, Shown.wMonth, Shown.wDay, Shown.wHour,
                      Shown.wMinute, Shown.wSecond);
}
