// What the firmware says about the computer, out of its management table.
#pragma once

#include <span>
#include <string>

#include "platform/Win32.h"

// A text that the firmware does not give is empty.
struct CComputerIdentity
{
    std::wstring sManufacturer;
    std::wstring sProduct;
    std::wstring sSerial;
};

// From the table as the platform hands it out, with its header of eight bytes. Firmware writes what it likes: nothing
// in the table is trusted.
[[nodiscard]] CComputerIdentity ParseFirmwareTable(std::span<const BYTE> Table);

// Of this computer; empty texts where there is no table.
[[nodiscard]] CComputerIdentity ReadComputerIdentity();
