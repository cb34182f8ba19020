// The values that the USB dump names, after the USB specifications and the platform's connection states.
#pragma once

#include "platform/Table.h"
#include "platform/Win32.h"

// clang-format off
inline constexpr CNameRow<DWORD> UsbConnectionStatusTable[] = {
    { 0, L"NoDeviceConnected" },
    { 1, L"DeviceConnected" },
    { 2, L"DeviceFailedEnumeration" },
    { 3, L"DeviceGeneralFailure" },
    { 4, L"DeviceCausedOvercurrent" },
    { 5, L"DeviceNotEnoughPower" },
    { 6, L"DeviceNotEnoughBandwidth" },
    { 7, L"DeviceHubNestedTooDeeply" },
    { 8, L"DeviceInLegacyHub" },
};
// clang-format on

inline constexpr CNameRow<BYTE> UsbSpeedTable[] = {
    { 0, L"Low Speed" },
    { 1, L"Full Speed" },
    { 2, L"High Speed" },
    { 3, L"Super Speed" },
};

inline constexpr CNameRow<BYTE> UsbInterfaceClassTable[] = {
    { 0, L"RESERVED" },
    { 1, L"AUDIO" },
    { 2, L"COMMUNICATIONS" },
    { 3, L"HUMAN INTERFACE" },
    { 4, L"MONITOR" },
    { 5, L"PHYSICAL INTERFACE" },
    { 6, L"POWER" },
    { 7, L"PRINTER" },
    { 8, L"STORAGE" },
    { 9, L"HUB" },
    { 255, L"VENDOR SPECIFIC" },
};

// bmAttributes of an endpoint, its lowest two bits.
inline constexpr CNameRow<BYTE> UsbTransferTypeTable[] = {
    { 0, L"Control" },
    { 1, L"Isochronous" },
    { 2, L"Bulk" },
    { 3, L"Interrupt" },
};

// bmAttributes of a configuration.
inline constexpr CNameRow<BYTE> UsbPowerFlagTable[] = {
    { 0x80, L"Bus Powered" },
    { 0x40, L"Self Powered" },
    { 0x20, L"Remote Wakeup" },
};

// wHubCharacteristics: bits 0 and 1, bits 3 and 4.
inline constexpr CNameRow<WORD> UsbPowerSwitchingTable[] = {
    { 0, L"Ganged" },
    { 1, L"Individual" },
};
inline constexpr CNameRow<WORD> UsbOverCurrentTable[] = {
    { 0, L"Global" },
    { 1, L"Individual" },
};
