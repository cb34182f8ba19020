// The list of a process's modules.
#pragma once

#include "platform/Handle.h"

#include <tlhelp32.h>

// The last error says why there is none. While modules come or go the platform cannot take the list, says so, and wants
// to be asked again.
[[nodiscard]] inline CFileHandle ModuleSnapshot(DWORD dwProcessId)
{
    constexpr int MaxTries = 10;
    for (int nTry = 1;; ++nTry)
    {
        CFileHandle hSnapshot(::CreateToolhelp32Snapshot(TH32CS_SNAPMODULE, dwProcessId));
        if (hSnapshot || nTry == MaxTries || ::GetLastError() != ERROR_BAD_LENGTH)
            return hSnapshot;
    }
}
