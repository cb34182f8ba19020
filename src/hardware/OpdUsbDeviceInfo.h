// Which USB device carries a drive, and what it tells of itself.
#pragma once

#include <memory>
#include <string>
#include <vector>

#include "hardware/OpdUsbApi.h"
#include "opdutility/OpenDevice.h"
#include "platform/Handle.h"

#include <cfgmgr32.h>

// What a device is asked for; a null member is not wanted. Texts are untouched when the device gives none at all.
struct CUsbDescriptorTargets
{
    std::vector<USB_INTERFACE_DESCRIPTOR>* pInterfaces = nullptr;
    std::wstring* psManufacturer = nullptr;
    std::wstring* psProduct = nullptr;
    std::wstring* psSerial = nullptr;
};

class COpdUsbDeviceInfo
{
public:
    explicit COpdUsbDeviceInfo(OpenDeviceFunc pOpenDevice) : m_pOpenDevice(pOpenDevice) {}

    // Opens without any access right: enough for the requests here, and no right on the drive is needed.
    static HRESULT StandardOpenDeviceFunction(const std::wstring& sPath, HANDLE* phDevice);

    // The device of a drive, 0 for A:. Interfaces are appended; the last four may be null.
    HRESULT GetUsbDescriptors(BYTE nDriveIndex, USB_DEVICE_DESCRIPTOR& rDevice,
                              std::vector<USB_INTERFACE_DESCRIPTOR>* pInterfaces, std::wstring* psManufacturer,
                              std::wstring* psProduct, std::wstring* psSerial) const;
    // The device of that instance id on one of the hub's ports.
    HRESULT GetUsbDescriptors(HANDLE hHub, const std::wstring& sInstanceId, USB_DEVICE_DESCRIPTOR& rDevice,
                              const CUsbDescriptorTargets& rTargets) const;

    // The number that the system has given a disk, by drive or by device path.
    HRESULT GetDeviceNumber(BYTE nDriveIndex, DWORD& rdwNumber) const;
    HRESULT GetDeviceNumber(const std::wstring& sPath, DWORD& rdwNumber) const;
    HRESULT FindDeviceInstanceHandleByDeviceNumber(DWORD dwNumber, DEVINST& rhDevice) const;
    // From a disk upwards: the nearest hub, opened, and the instance id of the device on it.
    HRESULT GetUsbDeviceInstanceIdAndParentUsbHub(DEVINST hDisk, std::wstring& rsInstanceId, CFileHandle& rhHub) const;
    HRESULT FindDeviceInstanceIdByDriverKey(const std::wstring& sDriverKey, std::wstring& rsInstanceId) const;

private:
    bool IsDeviceOnPort(const CFunctionLog& log, HANDLE hHub, DWORD nPort, const std::wstring& sInstanceId,
                        std::unique_ptr<CUsbConnection>& rpConnection) const;

    OpenDeviceFunc m_pOpenDevice;
};
