// The devices that SetupAPI knows as text files: a block of properties for each.
#pragma once

#include <string>

#include "hardware/OpdHardwareString.h"
#include "platform/Win32.h"

#include <setupapi.h>

class CFunctionLog;
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
    static void DumpClasses(const CFunctionLog& log, const std::wstring& sPath, DWORD dwFlags, const wchar_t* pFlags,
                            const wchar_t* pTitle);
    static void DumpDevice(COpdLogFile& rFile, HDEVINFO hSet, SP_DEVINFO_DATA& rDevice, DWORD nIndex);
    static HRESULT GetDeviceRegistryProperty(HDEVINFO hSet, SP_DEVINFO_DATA& rDevice, DWORD dwProperty,
                                             CDeviceProperty& rProperty);
    // By the property's CM_DRP_... number, as the tables have it.
    static HRESULT GetPropertyString(ULONG ulNodeNumber, const CDeviceProperty& rProperty,
                                     COpdHardwareString::CLines& rLines);
};
