// The words for the states and bits of device properties.
#pragma once

#include "platform/Table.h"
#include "platform/Win32.h"

// clang-format off
inline constexpr CNameRow<DWORD> CapabilityNames[] = {
    { 0x001, L"LOCK SUPPORTED" },
    { 0x002, L"EJECT SUPPORTED" },
    { 0x004, L"REMOVABLE" },
    { 0x008, L"DOCK DEVICE" },
    { 0x010, L"UNIQUE ID" },
    { 0x020, L"SILENT INSTALL" },
    { 0x040, L"RAW DEVICE OK" },
    { 0x080, L"SURPRISE REMOVAL OK" },
    { 0x100, L"HARDWARE DISABLED" },
    { 0x200, L"NON DYNAMIC" },
};
// clang-format on

// The system has a bit 0x01000 too; the dumps do not name it.
inline constexpr CNameRow<DWORD> ConfigFlagNames[] = {
    { 0x00001, L"DISABLED" },
    { 0x00002, L"REMOVED" },
    { 0x00004, L"MANUAL INSTALL" },
    { 0x00008, L"IGNORE BOOT LC" },
    { 0x00010, L"NET BOOT" },
    { 0x00020, L"REINSTALL" },
    { 0x00040, L"FAILED INSTALL" },
    { 0x00080, L"CANT STOP A CHILD" },
    { 0x00100, L"OK REMOVE ROM" },
    { 0x00200, L"NO REMOVE EXIT" },
    { 0x00400, L"FINISH INSTALL" },
    { 0x00800, L"NEEDS FORCED CONFIG" },
    { 0x02000, L"PARTIAL LOG CONF" },
    { 0x04000, L"SUPPRESS SURPRISE" },
    { 0x08000, L"VERIFY HARDWARE" },
    { 0x10000, L"FINISH INSTALL UI" },
    { 0x20000, L"FINISH INSTALL ACTION" },
};

inline constexpr CNameRow<DWORD> InstallStateNames[] = {
    { 0, L"Installed" },
    { 1, L"Needs Reinstall" },
    { 2, L"Failed Install" },
    { 3, L"Finish Install" },
};

// clang-format off
inline constexpr CNameRow<DWORD> PowerCapabilityNames[] = {
    { 0x001, L"D0 SUPPORTED" },
    { 0x002, L"D1 SUPPORTED" },
    { 0x004, L"D2 SUPPORTED" },
    { 0x008, L"D3 SUPPORTED" },
    { 0x010, L"WAKE FROM D0 SUPPORTED" },
    { 0x020, L"WAKE FROM D1 SUPPORTED" },
    { 0x040, L"WAKE FROM D2 SUPPORTED" },
    { 0x080, L"WAKE FROM D3 SUPPORTED" },
    { 0x100, L"WARM EJECT SUPPORTED" },
};

inline constexpr CNameRow<DWORD> DevicePowerStateNames[] = {
    { 0, L"Unspecified" },
    { 1, L"D0" },
    { 2, L"D1" },
    { 3, L"D2" },
    { 4, L"D3" },
    { 5, L"Maximum" },
};

inline constexpr CNameRow<DWORD> SystemPowerStateNames[] = {
    { 0, L"Unspecified" },
    { 1, L"Working" },
    { 2, L"Sleeping1" },
    { 3, L"Sleeping2" },
    { 4, L"Sleeping3" },
    { 5, L"Hibernate" },
    { 6, L"Shutdown" },
    { 7, L"Maximum" },
};
// clang-format on
