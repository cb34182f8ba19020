// The nodes. The blocks of descriptors are written in UsbTreeWriterBlocks.cpp.
#include "hardware/UsbTreeWriter.h"

#include <algorithm>
#include <iterator>

#include "hardware/UsbTables.h"
#include "hardware/UsbVendorTable.h"

namespace
{

constexpr std::size_t IndentWidth = 6;

} // namespace

CUsbTreeWriter::CUsbTreeWriter(COpdLogFile& rLogFile, bool bBrief, unsigned nDepth)
    : m_rLogFile(rLogFile),
      m_bBrief(bBrief),
      m_sIndent(nDepth * IndentWidth, L' ')
{
}

void CUsbTreeWriter::Separator()
{
    Line(L"%s%s", DumpSeparator);
}

void CUsbTreeWriter::WriteController(const CUsbControllerNode& rNode)
{
    if (m_bBrief)
    {
        Line(L"%s+ [HostController(%d)] %s", rNode.nNumber, rNode.sDescription);
        return;
    }
    Line(L"%s");
    Separator();
    Line(L"%s[HostController(%u)] %s", rNode.nNumber, rNode.sDescription);
    Spacer();
    Line(L"%s <Device Information>");
    Line(L"%s  Device Description     : %s", rNode.sDescription);
    Line(L"%s  Device Path            : %s", rNode.sPath);
    Line(L"%s  Driver Key Name        : %s", rNode.sDriverKey);
    Line(L"%s  Device Handle          : 0x%08X", HandleToULong(rNode.hDevice));
}

void CUsbTreeWriter::WriteHub(const CUsbHubNode& rNode)
{
    const wchar_t* const pLabel = rNode.bRoot ? L"RootHub" : L"ExternalHub";
    if (m_bBrief)
    {
        // The port that an external hub is plugged into has shown it.
        if (rNode.bRoot)
            Line(L"%s+ [%s] %s", pLabel, rNode.sName);
        return;
    }
    if (rNode.bRoot)
    {
        Spacer();
        Separator();
        Line(L"%s[%s] %s", pLabel, rNode.sName);
    }
    Spacer();
    Line(L"%s <Hub Information>");
    Line(L"%s  Hub Name               : %s", rNode.sName);
    Line(L"%s  Hub Power              : %s", rNode.Info.HubIsBusPowered ? L"Bus Power" : L"Self Power");
    Line(L"%s  Number of Ports        : %d", rNode.Info.HubDescriptor.bNumberOfPorts);
    Line(L"%s  Device Handle          : 0x%08X", HandleToULong(rNode.hDevice));
    WriteHubCharacteristics(rNode);
}

void CUsbTreeWriter::WriteHubCharacteristics(const CUsbHubNode& rNode)
{
    const WORD wFlags = rNode.Info.HubDescriptor.wHubCharacteristics;
    Line(L"%s  Power Switching        : %s", NameOf(UsbPowerSwitchingTable, wFlags & 3, L"None"));
    Line(L"%s  Compound Device        : %s", (wFlags & 4) != 0 ? L"Yes" : L"No");
    Line(L"%s  Over Current Protection: %s", NameOf(UsbOverCurrentTable, wFlags >> 3 & 3, L"No (Bus Power Only)"));
    if (rNode.Capabilities)
    {
        const DWORD dwHighSpeed = rNode.Capabilities->HubIs2xCapable;
        Line(L"%s  Hub Capabilities       : %0#8lx (%s)", dwHighSpeed,
             dwHighSpeed != 0 ? L"High Speed" : L"Not High Speed");
    }
}

void CUsbTreeWriter::WritePort(const CUsbPortNode& rNode)
{
    const std::wstring sLabel = FormatText(L"Port%d", rNode.nPort);
    const bool bConnected = rNode.rConnection.dwConnectionStatus != UsbNoDeviceConnected;
    if (m_bBrief)
    {
        Line(L"%s+ [%s] %s", sLabel, bConnected ? rNode.sDescription : L"NoDeviceConnected");
        return;
    }
    Spacer();
    Separator();
    Line(L"%s[%s] %s", sLabel, bConnected ? rNode.sDescription : L"NoDeviceConnected");
    if (!bConnected)
        return;
    Spacer();
    Line(L"%s <Device Information>");
    Line(L"%s  Device Description     : %s", rNode.sDescription);
    Line(L"%s  Driver Key Name        : %s", rNode.sDriverKey);
    WriteConnection(rNode.rConnection);
    WriteDevice(rNode.rConnection.DeviceDescriptor, rNode.rStrings);
    WritePipes(rNode.rConnection);
}

void CUsbTreeWriter::WriteConnection(const CUsbConnection& rConnection)
{
    Spacer();
    Line(L"%s <Connection Information>");
    const DWORD dwStatus = rConnection.dwConnectionStatus;
    Line(L"%s  ConnectionStatus       : %u (%s)", dwStatus, NameOf(UsbConnectionStatusTable, dwStatus, L"Unknown"));
    Line(L"%s  Current Config Value   : 0x%02X", rConnection.nCurrentConfigurationValue);
    Line(L"%s  Device Bus Speed       : 0x%02X (%s)", rConnection.nSpeed,
         NameOf(UsbSpeedTable, rConnection.nSpeed, L"Unknown"));
    // Values, not references: the records are packed.
    Line(L"%s  Device Address         : 0x%02X", +rConnection.wDeviceAddress);
    Line(L"%s  Open Pipes             : %u", +rConnection.dwOpenPipes);
}

void CUsbTreeWriter::WriteDevice(const USB_DEVICE_DESCRIPTOR& rDevice, const COpdUsbApi::CStringList& rStrings)
{
    Spacer();
    Line(L"%s <Device Descriptor>");
    Line(L"%s  bcdUSB                 : 0x%04X", +rDevice.bcdUSB);
    Line(L"%s  bDeviceClass           : 0x%02X", rDevice.bDeviceClass);
    Line(L"%s  bDeviceSubClass        : 0x%02X", rDevice.bDeviceSubClass);
    Line(L"%s  bDeviceProtocol        : 0x%02X", rDevice.bDeviceProtocol);
    Line(L"%s  bMaxPacketSize0        : 0x%02X", rDevice.bMaxPacketSize0);
    Line(L"%s  idVendor               : 0x%04X (%s)", +rDevice.idVendor, UsbVendorName(rDevice.idVendor));
    Line(L"%s  idProduct              : 0x%04X", +rDevice.idProduct);
    Line(L"%s  bcdDevice              : 0x%04X", +rDevice.bcdDevice);
    Line(L"%s  iManufacturer          : 0x%02X (%s)", rDevice.iManufacturer,
         UsbTextOf(rStrings, rDevice.iManufacturer));
    Line(L"%s  iProduct               : 0x%02X (%s)", rDevice.iProduct, UsbTextOf(rStrings, rDevice.iProduct));
    Line(L"%s  iSerialNumber          : 0x%02X (%s)", rDevice.iSerialNumber,
         UsbTextOf(rStrings, rDevice.iSerialNumber));
    Line(L"%s  bNumConfigurations     : 0x%02X", rDevice.bNumConfigurations);
}

void CUsbTreeWriter::WritePipes(const CUsbConnection& rConnection)
{
    const std::size_t nPipes = std::min<std::size_t>(rConnection.dwOpenPipes, std::size(rConnection.aPipes));
    // An audio endpoint says nine bytes, of which the pipe holds seven: the two behind are of the schedule offset.
    for (const CUsbPipe& rPipe : std::span(rConnection.aPipes, nPipes))
        WriteEndpointBlock({ reinterpret_cast<const BYTE*>(&rPipe), sizeof rPipe });
}
