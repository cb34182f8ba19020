// The devices that SetupAPI knows as text files: a block of properties for each.
#pragma once

#include <string>

#include "hardware/OpdHardwareString.h"
#include "platform/Win32.h"

#include <setupapi.h>

class COpdLogFile;

class COpdHardwareList
{
public:
    // All devices, and those that are present.
    HRESULT DumpAllDeviceList(const std::wstring& sPath);
    HRESULT DumpCurrentDeviceList(const std::wstring& sPath);
    // The devices with an interface of that class, or only the present ones. Without a device there is no file.
    HRESULT DumpDeviceListByClassGuid(const GUID& rGuid, const std::wstring& sName, const std::wstring& sPath,
                                      bool bPresent);
    // Two files for each of sixteen classes. One that fails does not keep the next from being written.
    HRESULT DumpIndividualDeviceList(const std::wstring& sDirPath);

private:
    static void DumpDevice(COpdLogFile& rFile, HDEVINFO hSet, SP_DEVINFO_DATA& rDevice, DWORD nIndex);
    static HRESULT GetDeviceRegistryProperty(HDEVINFO hSet, SP_DEVINFO_DATA& rDevice, DWORD dwProperty,
                                             CDeviceProperty& rProperty);
    static HRESULT GetPropertyString(DWORD dwProperty, const CDeviceProperty& rProperty,
                                     COpdHardwareString::CLines& rLines);
};
