// What USB devices answer, read within bounds: nothing here trusts a length, an offset or a count.
#pragma once

#include <span>
#include <string>
#include <vector>

#include "log/FunctionLog.h"
#include "platform/Win32.h"

#include <usbspec.h>

using CUsbBytes = std::span<const BYTE>;

// Lengths of descriptors. The longer interface has the number of classes behind it, the longer endpoint is that of
// audio devices.
inline constexpr BYTE UsbConfigurationLength = 9;
inline constexpr BYTE UsbInterfaceLength = 9;
inline constexpr BYTE UsbLongInterfaceLength = 11;
inline constexpr BYTE UsbEndpointLength = 7;
inline constexpr BYTE UsbAudioEndpointLength = 9;
inline constexpr BYTE UsbHidLength = 9; // with one entry
inline constexpr BYTE UsbHidDescriptorType = 33;

// The little-endian word at that offset; 0 when it does not lie within the bytes.
[[nodiscard]] WORD UsbWord(CUsbBytes Bytes, std::size_t nOffset);

// The text of a string descriptor, up to its first zero character.
[[nodiscard]] std::wstring UsbStringText(CUsbBytes Descriptor);
// The languages that string descriptor 0 lists.
[[nodiscard]] std::vector<WORD> UsbLanguages(CUsbBytes Descriptor);

[[nodiscard]] constexpr bool IsUsbInterfaceLength(std::size_t nLength)
{
    return nLength == UsbInterfaceLength || nLength == UsbLongInterfaceLength;
}

struct CUsbHidEntry
{
    BYTE nType;
    WORD wLength;
};
// The entries of a HID descriptor: as many as it announces, never more than it holds.
[[nodiscard]] std::vector<CUsbHidEntry> UsbHidEntries(CUsbBytes Descriptor);

// Hands each record of a configuration to visit, whole, with at least its length and its type, until visit gives false
// or a record reaches past the end. Two bytes at the very end are no record any more. False: a record of length 0 or 1
// ended the walk, which could not have got past it.
template <typename Visit>
bool WalkUsbDescriptors(CUsbBytes Configuration, const Visit& visit)
{
    while (Configuration.size() > sizeof(USB_COMMON_DESCRIPTOR))
    {
        const std::size_t nLength = Configuration[0];
        if (nLength < sizeof(USB_COMMON_DESCRIPTOR))
            return false;
        if (nLength > Configuration.size() || !visit(Configuration.first(nLength)))
            return true;
        Configuration = Configuration.subspan(nLength);
    }
    return true;
}

// The walk for a function whose log it is.
template <typename Visit>
void WalkUsbConfiguration(const CFunctionLog& log, CUsbBytes Configuration, const Visit& visit)
{
    if (!WalkUsbDescriptors(Configuration, visit))
        log.Warning(L"A descriptor without a length ends the configuration.");
}
