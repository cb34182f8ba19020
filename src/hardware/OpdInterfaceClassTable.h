// The device interface classes that are dumped one by one.
#pragma once

#include <span>

#include "platform/Win32.h"

struct CInterfaceClass
{
    GUID Guid;
    const wchar_t* pName;
};

// In the order of the dumps.
[[nodiscard]] std::span<const CInterfaceClass> InterfaceClasses();
