// The blocks of the records of a configuration.
#include "hardware/UsbTreeWriter.h"

#include <algorithm>

#include "hardware/ByteFigures.h"
#include "hardware/UsbTables.h"
#include "platform/FlagTable.h"

namespace
{

constexpr std::size_t BytesPerLine = 16;

} // namespace

std::wstring UsbTextOf(const COpdUsbApi::CStringList& rStrings, BYTE nIndex)
{
    std::wstring sText;
    bool bFirst = true;
    for (const COpdUsbApi::SUsbStringDescriptor& rString : rStrings)
    {
        if (rString.nDescriptorIndex != nIndex)
            continue;
        sText.append(bFirst ? L"" : L", ").append(rString.sText);
        bFirst = false;
        if (sText.size() > CLineWriter::MaxText) // the line is refused anyway
            break;
    }
    return sText;
}

void CUsbTreeWriter::WriteConfiguration(const CFunctionLog& log, CUsbBytes Configuration,
                                        const COpdUsbApi::CStringList& rStrings)
{
    if (m_bBrief)
        return;
    WalkUsbConfiguration(log, Configuration, [&](CUsbBytes Record) {
        WriteRecord(Record, rStrings);
        return true;
    });
}

void CUsbTreeWriter::WriteRecord(CUsbBytes Record, const COpdUsbApi::CStringList& rStrings)
{
    const BYTE nType = Record[1];
    const std::size_t nLength = Record.size();
    if (nType == USB_CONFIGURATION_DESCRIPTOR_TYPE && nLength == UsbConfigurationLength)
        WriteConfigurationBlock(Record, rStrings);
    else if (nType == USB_INTERFACE_DESCRIPTOR_TYPE && IsUsbInterfaceLength(nLength))
        WriteInterfaceBlock(Record, rStrings);
    else if (nType == USB_ENDPOINT_DESCRIPTOR_TYPE &&
             (nLength == UsbEndpointLength || nLength == UsbAudioEndpointLength))
        WriteEndpointBlock(Record);
    else if (nType == UsbHidDescriptorType && nLength >= UsbHidLength)
        WriteHidBlock(Record);
    else
        WriteUnknownBlock(Record);
}

void CUsbTreeWriter::WriteConfigurationBlock(CUsbBytes Record, const COpdUsbApi::CStringList& rStrings)
{
    Spacer();
    Line(L"%s <Configuration Descriptor>");
    Line(L"%s  wTotalLength           : 0x%04X", UsbWord(Record, 2));
    Line(L"%s  bNumInterfaces         : 0x%02X", Record[4]);
    Line(L"%s  bConfigurationValue    : 0x%02X", Record[5]);
    Line(L"%s  iConfiguration         : 0x%02X (%s)", Record[6], UsbTextOf(rStrings, Record[6]));
    Line(L"%s  bmAttributes           : 0x%02X (%s)", Record[7], FlagsText(UsbPowerFlagTable, Record[7], L", "));
    Line(L"%s  MaxPower               : 0x%02X (%u mA)", Record[8], 2u * Record[8]);
}

void CUsbTreeWriter::WriteInterfaceBlock(CUsbBytes Record, const COpdUsbApi::CStringList& rStrings)
{
    Spacer();
    Line(L"%s <Interface Descriptor>");
    Line(L"%s  bInterfaceNumber       : 0x%02X", Record[2]);
    Line(L"%s  bAlternateSetting      : 0x%02X", Record[3]);
    Line(L"%s  bNumEndpoints          : 0x%02X", Record[4]);
    Line(L"%s  bInterfaceClass        : 0x%02X (%s)", Record[5], NameOf(UsbInterfaceClassTable, Record[5], L"Unknown"));
    Line(L"%s  bInterfaceSubClass     : 0x%02X", Record[6]);
    Line(L"%s  bInterfaceProtocol     : 0x%02X", Record[7]);
    Line(L"%s  iInterface             : 0x%02X (%s)", Record[8], UsbTextOf(rStrings, Record[8]));
    if (Record.size() == UsbLongInterfaceLength)
        Line(L"%s  wNumClasses            : 0x%04X", UsbWord(Record, 9));
}

void CUsbTreeWriter::WriteEndpointBlock(CUsbBytes Record)
{
    const WORD wMaxPacketSize = UsbWord(Record, 4);
    Spacer();
    Line(L"%s <Endpoint Descriptor>");
    Line(L"%s  bEndpointAddress       : 0x%02X (%s)", Record[2], (Record[2] & 0x80) != 0 ? L"IN" : L"OUT");
    Line(L"%s  Transfer Type          : %s", NameOf(UsbTransferTypeTable, Record[3] & 3, L""));
    Line(L"%s  wMaxPacketSize         : 0x%04X (%u)", wMaxPacketSize, wMaxPacketSize);
    if (Record[0] == UsbEndpointLength)
        Line(L"%s  bInterval              : 0x%02X", Record[6]);
    if (Record[0] == UsbAudioEndpointLength)
    {
        Line(L"%s  wInterval              : 0x%04X", UsbWord(Record, 6));
        Line(L"%s  bSyncAddress           : 0x%02X", Record[8]);
    }
}

void CUsbTreeWriter::WriteHidBlock(CUsbBytes Record)
{
    Spacer();
    Line(L"%s <HID Descriptor>");
    Line(L"%s  bcdHID                 : 0x%04X", UsbWord(Record, 2));
    Line(L"%s  bCountryCode           : 0x%02X", Record[4]);
    Line(L"%s  bNumDescriptors        : 0x%02X", Record[5]);
    DWORD nIndex = 0;
    for (const CUsbHidEntry& rEntry : UsbHidEntries(Record))
    {
        Line(L"%s  bDescriptorType[%u]     : 0x%02X", nIndex, rEntry.nType);
        Line(L"%s  wDescriptorLength[%u]   : 0x%05X", nIndex, rEntry.wLength);
        ++nIndex;
    }
}

void CUsbTreeWriter::WriteUnknownBlock(CUsbBytes Record)
{
    Spacer();
    Line(L"%s <Unknown Descriptor>");
    Line(L"%s  bDescriptorType        : 0x%02X", Record[1]);
    Line(L"%s  bLength                : 0x%02X", Record[0]);
    for (std::size_t nAt = 0; nAt < Record.size(); nAt += BytesPerLine)
    {
        // The blank behind the last byte stays.
        Line(L"%s  %s ", HexText(Record.subspan(nAt, std::min(BytesPerLine, Record.size() - nAt))));
    }
}
