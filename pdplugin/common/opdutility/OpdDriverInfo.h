// The kernel drivers that are loaded.
#pragma once

#include <string>
#include <vector>

#include "platform/Win32.h"

class COpdDriverInfo
{
public:
    struct CDriver
    {
        std::wstring sBaseName;
        std::wstring sFileName;
    };

    // Appends the loaded drivers in the platform's order. A driver whose name cannot be read is left out.
    static HRESULT GetLoadedDeviceDrivers(std::vector<CDriver>& rList);
};
