// The present local time, and a file time as local time.
#pragma once

#include <optional>

#include "platform/Win32.h"

inline SYSTEMTIME LocalNow()
{
    SYSTEMTIME Now;
    ::GetLocalTime(&Now);
    return Now;
}

// Without a value when the file time means no date; the last error then says why.
inline std::optional<SYSTEMTIME> LocalTimeOf(const FILETIME& rTime)
{
    FILETIME Local;
    SYSTEMTIME Time;
    if (!::FileTimeToLocalFileTime(&rTime, &Local) || !::FileTimeToSystemTime(&Local, &Time))
        return std::nullopt;
    return Time;
}
