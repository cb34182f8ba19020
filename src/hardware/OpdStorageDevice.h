// What a drive tells of itself in its storage descriptor.
#pragma once

#include <string>

#include "opdutility/OpenDevice.h"
#include "platform/Win32.h"

struct CStorageDriveInfo
{
    // As the drive fills them in: the blanks that pad them stay.
    std::wstring sSerialNumber;
    std::wstring sProductId;
    std::wstring sVendorId;
    std::wstring sRevision;
    DWORD dwBusType = 0; // STORAGE_BUS_TYPE
    bool bRemovable = false;
};

class COpdStorageDevice
{
public:
    explicit COpdStorageDevice(OpenDeviceFunc pOpenDevice) : m_pOpenDevice(pOpenDevice) {}

    // Opens without any access right: enough for a query, and no medium is needed.
    static HRESULT StandardOpenDeviceFunction(const std::wstring& sPath, HANDLE* phDevice);

    // By drive, 0 for A:, or by device path. The record is written only on success.
    HRESULT GetDriveInfo(BYTE nDriveIndex, CStorageDriveInfo& rInfo) const;
    HRESULT GetDriveInfo(const std::wstring& sPath, CStorageDriveInfo& rInfo) const;

private:
    OpenDeviceFunc m_pOpenDevice;
};
