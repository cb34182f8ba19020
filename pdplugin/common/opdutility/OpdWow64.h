// Whether this 32-bit process runs under emulation on a 64-bit system.
#pragma once

#include "platform/Win32.h"

class COpdWow64
{
public:
    // False, with success, on a system too old to have such emulation.
    static HRESULT IsWow64(bool* pbIsWow64);
};
