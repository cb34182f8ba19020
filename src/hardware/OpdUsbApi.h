// The USB requests of the platform, each with its sizing rules behind a plain operation.
#pragma once

#include <memory>
#include <span>
#include <string>
#include <vector>

#include "hardware/UsbDescriptors.h"
#include "platform/Win32.h"

#include <winioctl.h>

#include <usbioctl.h>

// What a port tells of itself. The platform's record of this layout ends with a list without a length; there is room
// for thirty pipes.
#pragma pack(push, 1)
struct CUsbPipe
{
    USB_ENDPOINT_DESCRIPTOR Endpoint;
    DWORD dwScheduleOffset;
};
struct CUsbConnection
{
    DWORD dwConnectionIndex;
    USB_DEVICE_DESCRIPTOR DeviceDescriptor;
    BYTE nCurrentConfigurationValue;
    BYTE nSpeed; // the older request: whether it is a low-speed device
    BYTE bDeviceIsHub;
    WORD wDeviceAddress;
    DWORD dwOpenPipes; // may be any number
    DWORD dwConnectionStatus;
    CUsbPipe aPipes[30];
};
#pragma pack(pop)
static_assert(sizeof(CUsbPipe) == 11 && sizeof(CUsbConnection) == 365);
static_assert(offsetof(CUsbConnection, aPipes) == sizeof(USB_NODE_CONNECTION_INFORMATION_EX));
static_assert(sizeof(USB_NODE_INFORMATION) == 76);

inline constexpr DWORD UsbNoDeviceConnected = 0;
inline constexpr DWORD UsbDeviceConnected = 1;

// Static operations; each gives a result code and keeps no state. Ports count from 1.
class COpdUsbApi
{
public:
    struct SUsbStringDescriptor
    {
        BYTE nDescriptorType = USB_STRING_DESCRIPTOR_TYPE;
        BYTE nDescriptorIndex = 0;
        WORD wLanguageId = 0;
        std::wstring sText;
        std::vector<BYTE> RawBytes; // the whole descriptor
    };
    // In the order in which they were read, an index once for each place that names it.
    using CStringList = std::vector<SUsbStringDescriptor>;

    static HRESULT GetStorageDeviceNumber(HANDLE hDevice, DWORD& rdwNumber);
    static HRESULT GetHcdDriverKeyName(HANDLE hController, std::wstring& rsName);
    static HRESULT GetDriverKeyName(HANDLE hHub, DWORD dwPort, std::wstring& rsName);
    // A hub's name as it stands behind "\\.\" in its device path.
    static HRESULT GetRootHubName(HANDLE hController, std::wstring& rsName);
    static HRESULT GetExternalHubName(HANDLE hHub, DWORD dwPort, std::wstring& rsName);
    static HRESULT GetUsbNodeInformation(HANDLE hHub, USB_NODE_INFORMATION& rInfo);
    // A system without the newer request gives no speed above full speed.
    static HRESULT GetUsbNodeConnectionInformation(HANDLE hHub, DWORD dwPort,
                                                   std::unique_ptr<CUsbConnection>& rpConnection);
    // The configuration descriptor with everything that follows it, as long as its total length.
    static HRESULT GetConfigDescriptor(HANDLE hHub, DWORD dwPort, BYTE nIndex, std::vector<BYTE>& rConfiguration);
    static HRESULT GetStringDescriptor(HANDLE hHub, DWORD dwPort, BYTE nIndex, WORD wLanguageId,
                                       SUsbStringDescriptor& rDescriptor);
    // Appends one record for each language that the device gives the text in; one it does not is no failure.
    static HRESULT GetStringDescriptors(HANDLE hHub, DWORD dwPort, BYTE nIndex, std::span<const WORD> LanguageIds,
                                        CStringList& rList);
    // Appends all texts that the device and its configuration name. Without string descriptor 0 there are none.
    static HRESULT GetAllStringDescriptors(HANDLE hHub, DWORD dwPort, const USB_DEVICE_DESCRIPTOR& rDevice,
                                           CUsbBytes Configuration, CStringList& rList);
};
