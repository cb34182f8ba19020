#include "hardware/OpdStorageDevice.h"

#include <winioctl.h>

#include <cstring>
#include <span>
#include <vector>

#include "log/FunctionLog.h"
#include "platform/Allocation.h"
#include "platform/CodePage.h"
#include "platform/Drive.h"
#include "platform/HResult.h"
#include "platform/Handle.h"
#include "platform/Table.h"
#include "platform/Text.h"

namespace
{

constexpr DWORD SmallBlock = 4096;
constexpr DWORD LargeBlock = 40960;

// The text at an offset in the block that the device has told. 0 means none; -1 occurs as well.
std::wstring TextAt(std::span<const BYTE> Block, DWORD dwOffset)
{
    if (dwOffset == 0 || dwOffset >= Block.size())
        return {};
    return ToWide(UpToZero({ reinterpret_cast<const char*>(Block.data()) + dwOffset, Block.size() - dwOffset }));
}

// A cleared block in place of the old one; false when there is no memory.
bool Renew(std::vector<BYTE>& rBlock, DWORD dwSize)
{
    rBlock.clear();
    return TryResize(rBlock, dwSize);
}

HRESULT QueryProperty(HANDLE hDevice, std::span<BYTE> Block)
{
    STORAGE_PROPERTY_QUERY Query{};
    static_assert(sizeof Query == 12);
    Query.PropertyId = StorageDeviceProperty;
    Query.QueryType = PropertyStandardQuery;
    DWORD dwReturned = 0;
    const BOOL bSucceeded = ::DeviceIoControl(hDevice, IOCTL_STORAGE_QUERY_PROPERTY, &Query, sizeof Query, Block.data(),
                                              Block.size(), &dwReturned, nullptr);
    return bSucceeded ? S_OK : LastErrorResult();
}

// Asks for the descriptor, once more with a larger block where the device wants one. A part of it is enough.
void QueryDescriptor(const CFunctionLog& log, HANDLE hDevice, const std::wstring& sPath, std::vector<BYTE>& rBlock)
{
    if (!Renew(rBlock, SmallBlock))
        log.Fail(E_OUTOFMEMORY, L"ATL::CHeapPtr<STORAGE_DEVICE_DESCRIPTOR>::AllocateBytes( %d ) failed.", SmallBlock);
    HRESULT hr = QueryProperty(hDevice, rBlock);
    if (SUCCEEDED(hr))
        return;
    log.Error(L"::DeviceIoControl( IOCTL_STORAGE_QUERY_PROPERTY, \"%s\" ) failed. [0x%08X]", sPath, hr);
    if (hr == HResultFromWin32(ERROR_INSUFFICIENT_BUFFER))
    {
        if (!Renew(rBlock, LargeBlock))
            log.Fail(E_OUTOFMEMORY, L"ATL::CHeapPtr<STORAGE_DEVICE_DESCRIPTOR>::Reallocate( %d ) failed.", LargeBlock);
        hr = QueryProperty(hDevice, rBlock);
        if (SUCCEEDED(hr))
            return;
        log.Error(L"::DeviceIoControl( IOCTL_STORAGE_QUERY_PROPERTY, \"%s\" ) failed. [0x%08X]", sPath, hr);
    }
    if (hr != HResultFromWin32(ERROR_MORE_DATA))
        log.Throw(hr);
}

} // namespace

HRESULT COpdStorageDevice::StandardOpenDeviceFunction(const std::wstring& sPath, HANDLE* phDevice)
{
    CFunctionLog log;
    return log.Run([&] { OpenDevicePath(log, sPath, 0, FILE_SHARE_READ | FILE_SHARE_WRITE, 0, phDevice); });
}

HRESULT COpdStorageDevice::GetDriveInfo(BYTE nDriveIndex, CStorageDriveInfo& rInfo) const
{
    CFunctionLog log;
    return log.Run([&] {
        const std::wstring sPath = DriveDevicePath(nDriveIndex);
        log.Check(GetDriveInfo(sPath, rInfo), L"COpdStorageDevice::GetDriveInfo( \"%s\" ) failed. [0x%08X]", sPath);
    });
}

HRESULT COpdStorageDevice::GetDriveInfo(const std::wstring& sPath, CStorageDriveInfo& rInfo) const
{
    CFunctionLog log;
    return log.Run([&] {
        CFileHandle hDevice;
        log.Check(m_pOpenDevice(sPath, hDevice.Put()), L"OpenDevice( \"%s\" ) failed. [0x%08X]", sPath);
        std::vector<BYTE> Block;
        QueryDescriptor(log, hDevice.Get(), sPath, Block);

        STORAGE_DEVICE_DESCRIPTOR Descriptor;
        static_assert(sizeof Descriptor <= SmallBlock);
        std::memcpy(&Descriptor, Block.data(), sizeof Descriptor);
        rInfo.sSerialNumber = TextAt(Block, Descriptor.SerialNumberOffset);
        rInfo.sProductId = TextAt(Block, Descriptor.ProductIdOffset);
        rInfo.sVendorId = TextAt(Block, Descriptor.VendorIdOffset);
        rInfo.sRevision = TextAt(Block, Descriptor.ProductRevisionOffset);
        rInfo.dwBusType = RawNumber(Descriptor.BusType);
        rInfo.bRemovable = Descriptor.RemovableMedia != 0;
    });
}
