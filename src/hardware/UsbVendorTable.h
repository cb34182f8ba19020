// The makers of USB devices.
#pragma once

#include "platform/Win32.h"

// Empty for 0 and for an id that is not in the table.
[[nodiscard]] const wchar_t* UsbVendorName(WORD wVendor);
