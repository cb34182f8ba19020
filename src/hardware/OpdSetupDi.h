// SetupAPI: device information sets, their devices and interfaces.
#pragma once

#include <string>

#include "hardware/OpdDeviceProperty.h"
#include "log/FunctionLog.h"
#include "platform/Handle.h"

#include <setupapi.h>

// A call that fails gives INVALID_HANDLE_VALUE. Null is not destroyed either.
struct DeviceInfoSetTraits
{
    using Type = HDEVINFO;
    static Type Invalid() { return INVALID_HANDLE_VALUE; }
    static void Close(Type h)
    {
        if (h != nullptr)
            ::SetupDiDestroyDeviceInfoList(h);
    }
};
using CDeviceInfoSet = CHandleT<DeviceInfoSetTraits>;

// Static operations; each gives a result code and keeps no state.
class COpdSetupDi
{
public:
    // The present devices with an interface of that class, and those of one enumerator ("USB").
    static HRESULT GetClassDevices(const GUID& rGuid, CDeviceInfoSet& rhSet);
    static HRESULT GetClassDevices(const std::wstring& sEnumerator, CDeviceInfoSet& rhSet);
    // By index from 0. The end of the list is a failure like any other, 0x80070103.
    static HRESULT GetDevInfoData(HDEVINFO hSet, DWORD nIndex, SP_DEVINFO_DATA& rData);
    static HRESULT GetDeviceInterfaceData(HDEVINFO hSet, const GUID& rGuid, DWORD nIndex,
                                          SP_DEVICE_INTERFACE_DATA& rData);
    // The device path, which CreateFileW takes; the second form also tells the device that the interface belongs to.
    static HRESULT GetDeviceInterfaceDetail(HDEVINFO hSet, SP_DEVICE_INTERFACE_DATA& rInterface, std::wstring& rsPath);
    static HRESULT GetDeviceInterfaceDetail(HDEVINFO hSet, SP_DEVICE_INTERFACE_DATA& rInterface,
                                            SP_DEVINFO_DATA& rDevice, std::wstring& rsPath);
    // SPDRP_...
    static HRESULT GetDeviceRegistryProperty(HDEVINFO hSet, SP_DEVINFO_DATA& rDevice, DWORD dwProperty,
                                             CDeviceProperty& rProperty);
    static HRESULT GetDeviceInstanceId(HDEVINFO hSet, SP_DEVINFO_DATA& rDevice, std::wstring& rsId);
};

// Whether it is worth a record that a device does not have a property.
enum class MissingProperty
{
    Told,
    Silent
};

// Reads a property for the function whose log it is; throws on failure.
[[nodiscard]] CDeviceProperty ReadDeviceProperty(const CFunctionLog& log, HDEVINFO hSet, SP_DEVINFO_DATA& rDevice,
                                                 DWORD dwProperty, MissingProperty eMissing);
