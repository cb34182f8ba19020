#include "hardware/UsbDescriptors.h"

WORD UsbWord(CUsbBytes Bytes, std::size_t nOffset)
{
    if (Bytes.size() < sizeof(WORD) || nOffset > Bytes.size() - sizeof(WORD))
        return 0;
    return static_cast<WORD>(Bytes[nOffset] | Bytes[nOffset + 1] << 8);
}

std::wstring UsbStringText(CUsbBytes Descriptor)
{
    std::wstring sText;
    for (std::size_t n = sizeof(USB_COMMON_DESCRIPTOR); n + sizeof(WORD) <= Descriptor.size(); n += sizeof(WORD))
    {
        const WORD wCharacter = UsbWord(Descriptor, n);
        if (wCharacter == 0)
            break;
        sText += static_cast<wchar_t>(wCharacter);
    }
    return sText;
}

std::vector<WORD> UsbLanguages(CUsbBytes Descriptor)
{
    std::vector<WORD> Languages;
    for (std::size_t n = sizeof(USB_COMMON_DESCRIPTOR); n + sizeof(WORD) <= Descriptor.size(); n += sizeof(WORD))
        Languages.push_back(UsbWord(Descriptor, n));
    return Languages;
}

std::vector<CUsbHidEntry> UsbHidEntries(CUsbBytes Descriptor)
{
    constexpr std::size_t nCountAt = 5;
    constexpr std::size_t nFirst = 6;
    constexpr std::size_t nEntry = 3;
    std::vector<CUsbHidEntry> Entries;
    const std::size_t nAnnounced = Descriptor.size() > nCountAt ? Descriptor[nCountAt] : 0;
    for (std::size_t n = nFirst; Entries.size() < nAnnounced && n + nEntry <= Descriptor.size(); n += nEntry)
        Entries.push_back({ Descriptor[n], UsbWord(Descriptor, n + 1) });
    return Entries;
}
