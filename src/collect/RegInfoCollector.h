// Saves parts of the registry as hive files, so that they can be loaded on another PC.
#pragma once

#include <string>

#include "platform/Win32.h"

class CRegInfoCollector
{
public:
    // Makes the folder when it is missing. A key that is missing or cannot be saved costs a record only.
    HRESULT Collect(const std::wstring& sOutDirPath);
};
