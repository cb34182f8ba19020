// A property of a device as the Configuration Manager and SetupAPI both deliver it: a registry type and raw data.
#pragma once

#include <string>
#include <string_view>
#include <vector>

#include "platform/Text.h"
#include "platform/Win32.h"

struct CDeviceProperty
{
    ULONG ulType = REG_NONE;
    std::vector<BYTE> Data;

    // The data as UTF-16, with the terminators that stand in it; an odd last byte does not count.
    std::wstring_view Characters() const { return CharactersOf(Data); }
    // The same up to the first terminator. There need not be one.
    std::wstring Text() const { return std::wstring(UpToZero(Characters())); }
};
