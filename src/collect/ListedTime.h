// The time column of the listings.
#pragma once

#include <string>

#include "platform/Format.h"
#include "platform/LocalTime.h"

// Local time. A time that means no date is shown as the zero time, and that as zeros where even it means none.
inline std::wstring ListedTime(const FILETIME& rTime)
{
    auto Time = LocalTimeOf(rTime);
    if (!Time)
        Time = LocalTimeOf(FILETIME{});
    const SYSTEMTIME Shown = Time.value_or(SYSTEMTIME{});
    return FormatText(L"%02d/%02d/%02d,%02d:%02d:%02d", Shown.wYear, Shown.wMonth, Shown.wDay, Shown.wHour,
                      Shown.wMinute, Shown.wSecond);
}
