#include "hardware/OpdStorageDevice.h"

#include <winioctl.h>

#include <cstring>
#include <memory>
#include <new>
#include <span>

#include "log/FunctionLog.h"
#include "platform/HResult.h"
#include "platform/Handle.h"
#include "platform/WideText.h"

namespace
{

constexpr DWORD SmallBlock = 4096;
constexpr DWORD LargeBlock = 40960;

// The output of a query.
class CQueryBlock
{
public:
    // A new cleared block in place of the old one; false when there is no memory.
    bool Allocate(DWORD dwSize)
    {
        m_pBytes.reset(new (std::nothrow) BYTE[dwSize]());
        m_dwSize = dwSize;
        return m_pBytes != nullptr;
    }
    std::span<BYTE> Bytes() const { return { m_pBytes.get(), m_dwSize }; }

    // The text at an offset that the device has told. 0 means none; -1 occurs as well.
    std::wstring TextAt(DWORD dwOffset) const
    {
        if (dwOffset == 0 || dwOffset >= m_dwSize)
            return {};
        const std::string_view sRest(reinterpret_cast<const char*>(m_pBytes.get()) + dwOffset, m_dwSize - dwOffset);
        return ToWide(sRest.substr(0, sRest.find('\0')));
    }

private:
    std::unique_ptr<BYTE[]> m_pBytes;
    DWORD m_dwSize = 0;
};

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
void QueryDescriptor(const CFunctionLog& log, HANDLE hDevice, const std::wstring& sPath, CQueryBlock& rBlock)
{
    if (!rBlock.Allocate(SmallBlock))
        log.Fail(E_OUTOFMEMORY, L"ATL::CHeapPtr<STORAGE_DEVICE_DESCRIPTOR>::AllocateBytes( %d ) failed.", SmallBlock);
    HRESULT hr = QueryProperty(hDevice, rBlock.Bytes());
    if (SUCCEEDED(hr))
        return;
    log.Error(L"::DeviceIoControl( IOCTL_STORAGE_QUERY_PROPERTY, \"%s\" ) failed. [0x%08X]", sPath, hr);
    if (hr == HResultFromWin32(ERROR_INSUFFICIENT_BUFFER))
    {
        if (!rBlock.Allocate(LargeBlock))
            log.Fail(E_OUTOFMEMORY, L"ATL::CHeapPtr<STORAGE_DEVICE_DESCRIPTOR>::Reallocate( %d ) failed.", LargeBlock);
        hr = QueryProperty(hDevice, rBlock.Bytes());
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
    return log.Run([&] { OpenDevicePath(log, sPath, 0, FILE_SHARE_READ | FILE_SHARE_WRITE, phDevice); });
}

HRESULT COpdStorageDevice::GetDriveInfo(BYTE nDriveIndex, CStorageDriveInfo& rInfo) const
{
    CFunctionLog log;
    return log.Run([&] {
        const std::wstring sPath = FormatText(L"\\\\.\\%c:", static_cast<wchar_t>(L'A' + nDriveIndex));
        log.Check(GetDriveInfo(sPath, rInfo), L"COpdStorageDevice::GetDriveInfo( \"%s\" ) failed. [0x%08X]", sPath);
    });
}

HRESULT COpdStorageDevice::GetDriveInfo(const std::wstring& sPath, CStorageDriveInfo& rInfo) const
{
    CFunctionLog log;
    return log.Run([&] {
        CFileHandle hDevice;
        log.Check(m_pOpenDevice(sPath, hDevice.Put()), L"OpenDevice( \"%s\" ) failed. [0x%08X]", sPath);
        CQueryBlock block;
        QueryDescriptor(log, hDevice.Get(), sPath, block);

        STORAGE_DEVICE_DESCRIPTOR Descriptor;
        static_assert(sizeof Descriptor <= SmallBlock);
        std::memcpy(&Descriptor, block.Bytes().data(), sizeof Descriptor);
        rInfo.sSerialNumber = block.TextAt(Descriptor.SerialNumberOffset);
        rInfo.sProductId = block.TextAt(Descriptor.ProductIdOffset);
        rInfo.sVendorId = block.TextAt(Descriptor.VendorIdOffset);
        rInfo.sRevision = block.TextAt(Descriptor.ProductRevisionOffset);
        // As a number: a drive may give one that the platform's type does not have.
        static_assert(sizeof Descriptor.BusType == sizeof rInfo.dwBusType);
        std::memcpy(&rInfo.dwBusType, &Descriptor.BusType, sizeof rInfo.dwBusType);
        rInfo.bRemovable = Descriptor.RemovableMedia != 0;
    });
}
