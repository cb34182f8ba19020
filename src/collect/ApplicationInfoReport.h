// What the files about applications have in common.
#pragma once

#include "log/ResultLog.h"

// Wider than the line of the other reports.
inline void WriteApplicationSeparator(CResultLog& rResultLog)
{
    rResultLog.WriteLine(
        L"__________________________________________________________________________________________________");
}
