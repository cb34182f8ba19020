// A GUID as text: "{53F56307-B6BF-11D0-94F2-00A0C91EFB8B}".
#pragma once

#include <iterator>
#include <string>

#include "platform/Win32.h"

#include <objbase.h>

[[nodiscard]] inline std::wstring TextOfGuid(const GUID& rGuid)
{
    wchar_t aText[39] = L""; // exactly what the text needs
    ::StringFromGUID2(rGuid, aText, static_cast<int>(std::size(aText)));
    return aText;
}
