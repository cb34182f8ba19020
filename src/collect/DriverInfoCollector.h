// Lists the system's folder of drivers.
#pragma once

#include <string>

#include "platform/Win32.h"

class CDriverInfoCollector
{
public:
    // Makes the folder when it is missing.
    HRESULT Collect(const std::wstring& sOutDirPath);
};
