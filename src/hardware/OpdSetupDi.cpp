#include "hardware/OpdSetupDi.h"

#include <cfgmgr32.h>

#include <cstddef>
#include <cstring>

#include "platform/GuidText.h"
#include "platform/HResult.h"
#include "platform/SizedRead.h"
#include "platform/Text.h"

namespace
{

static_assert(sizeof(SP_DEVINFO_DATA) == 28 && sizeof(SP_DEVICE_INTERFACE_DATA) == 28 &&
              sizeof(SP_DEVICE_INTERFACE_DETAIL_DATA_W) == 6);

constexpr DWORD PathOffset = offsetof(SP_DEVICE_INTERFACE_DETAIL_DATA_W, DevicePath);

// The sized reads here take result codes for their calls' status: so a failure stays one even without an error number.
constexpr HRESULT TooSmall = HResultFromWin32(ERROR_INSUFFICIENT_BUFFER);

bool IsSizeTold(HRESULT hr)
{
    return hr == TooSmall || SUCCEEDED(hr);
}

std::wstring ReadInterfacePath(const CFunctionLog& log, HDEVINFO hSet, SP_DEVICE_INTERFACE_DATA& rInterface,
                               SP_DEVINFO_DATA* pDevice)
{
    HRESULT hr = E_UNEXPECTED;
    // Nothing but the size is asked first: the device record is for the call that has a buffer.
    const auto GetDetail = [&](BYTE* pBuffer, DWORD& rdwSize) {
        const DWORD cbHeader = sizeof(SP_DEVICE_INTERFACE_DETAIL_DATA_W);
        if (pBuffer != nullptr)
            std::memcpy(pBuffer, &cbHeader, sizeof cbHeader);
        auto* const pDetail = reinterpret_cast<SP_DEVICE_INTERFACE_DETAIL_DATA_W*>(pBuffer);
        SP_DEVINFO_DATA* const pWanted = pBuffer != nullptr ? pDevice : nullptr;
        hr = ::SetupDiGetDeviceInterfaceDetailW(hSet, &rInterface, pDetail, rdwSize, &rdwSize, pWanted)
                 ? S_OK
                 : LastErrorResult();
        return static_cast<DWORD>(hr);
    };
    constexpr CFormat<HRESULT> failed(L"::SetupDiGetDeviceInterfaceDetail() failed. [0x%08X]");
    CSizedRead read(static_cast<DWORD>(TooSmall));
    read.AskSize(GetDetail);
    if (!IsSizeTold(hr))
        log.FailCode(hr, failed);
    // A size that does not even hold the header is no size.
    if (read.Size() < sizeof(SP_DEVICE_INTERFACE_DETAIL_DATA_W))
        log.FailCode(E_UNEXPECTED, failed);
    if (!read.Allocate())
        log.Fail(E_OUTOFMEMORY, L"CHeapPtr<UINT8>::AllocateBytes( %u ) failed.", read.Size());
    read.Read(GetDetail);
    log.Check(hr, failed);
    const auto Path = read.Rows<wchar_t>(PathOffset, read.Size());
    return std::wstring(UpToZero({ Path.data(), Path.size() }));
}

} // namespace

HRESULT COpdSetupDi::GetClassDevices(const GUID& rGuid, CDeviceInfoSet& rhSet)
{
    CFunctionLog log;
    return log.Run([&] {
        rhSet.Close(); // before the call, whose last error it could change
        rhSet.Attach(::SetupDiGetClassDevsW(&rGuid, nullptr, nullptr, DIGCF_PRESENT | DIGCF_DEVICEINTERFACE));
        if (rhSet)
            return;
        const HRESULT hr = LastErrorResult();
        log.FailCode(hr, L"::SetupDiGetClassDevs( %s ) failed. [0x%08X]", TextOfGuid(rGuid));
    });
}

HRESULT COpdSetupDi::GetClassDevices(const std::wstring& sEnumerator, CDeviceInfoSet& rhSet)
{
    CFunctionLog log;
    return log.Run([&] {
        rhSet.Close(); // before the call, whose last error it could change
        rhSet.Attach(::SetupDiGetClassDevsW(nullptr, sEnumerator.c_str(), nullptr, DIGCF_ALLCLASSES | DIGCF_PRESENT));
        if (!rhSet)
            log.FailCode(LastErrorResult(), L"::SetupDiGetClassDevs( %s ) failed. [0x%08X]", sEnumerator);
    });
}

HRESULT COpdSetupDi::GetDevInfoData(HDEVINFO hSet, DWORD nIndex, SP_DEVINFO_DATA& rData)
{
    CFunctionLog log;
    return log.Run([&] {
        rData = {};
        rData.cbSize = sizeof rData;
        if (::SetupDiEnumDeviceInfo(hSet, nIndex, &rData))
            return;
        const HRESULT hr = LastErrorResult();
        log.FailCode(hr, L"::SetupDiEnumDeviceInfo( 0x%08X, %d ) failed. [0x%08X]", HandleToULong(hSet), nIndex);
    });
}

HRESULT COpdSetupDi::GetDeviceInterfaceData(HDEVINFO hSet, const GUID& rGuid, DWORD nIndex,
                                            SP_DEVICE_INTERFACE_DATA& rData)
{
    CFunctionLog log;
    return log.Run([&] {
        rData = {};
        rData.cbSize = sizeof rData;
        if (::SetupDiEnumDeviceInterfaces(hSet, nullptr, &rGuid, nIndex, &rData))
            return;
        const HRESULT hr = LastErrorResult();
        log.FailCode(hr, L"::SetupDiEnumDeviceInterfaces( %s, %u ) failed. [0x%08X]", TextOfGuid(rGuid), nIndex);
    });
}

HRESULT COpdSetupDi::GetDeviceInterfaceDetail(HDEVINFO hSet, SP_DEVICE_INTERFACE_DATA& rInterface, std::wstring& rsPath)
{
    CFunctionLog log;
    return log.Run([&] { rsPath = ReadInterfacePath(log, hSet, rInterface, nullptr); });
}

HRESULT COpdSetupDi::GetDeviceInterfaceDetail(HDEVINFO hSet, SP_DEVICE_INTERFACE_DATA& rInterface,
                                              SP_DEVINFO_DATA& rDevice, std::wstring& rsPath)
{
    CFunctionLog log;
    return log.Run([&] {
        rDevice = {};
        rDevice.cbSize = sizeof rDevice;
        rsPath = ReadInterfacePath(log, hSet, rInterface, &rDevice);
    });
}

CDeviceProperty ReadDeviceProperty(const CFunctionLog& log, HDEVINFO hSet, SP_DEVINFO_DATA& rDevice, DWORD dwProperty,
                                   MissingProperty eMissing)
{
    const bool bTold = eMissing == MissingProperty::Told;
    CDeviceProperty property;
    HRESULT hr = E_UNEXPECTED;
    DWORD dwStored = 0;
    const auto Get = [&](BYTE* pBuffer, DWORD& rdwSize) {
        const BOOL bSucceeded = ::SetupDiGetDeviceRegistryPropertyW(hSet, &rDevice, dwProperty, &property.ulType,
                                                                    pBuffer, rdwSize, &rdwSize);
        hr = bSucceeded ? S_OK : LastErrorResult(bTold ? E_UNEXPECTED : E_FAIL);
        dwStored = rdwSize;
        return static_cast<DWORD>(hr);
    };
    constexpr CFormat<DWORD, HRESULT> failed(L"::SetupDiGetDeviceRegistryProperty( 0x%08X ) failed. [0x%08X]");
    CSizedRead read(static_cast<DWORD>(TooSmall), sizeof(wchar_t));
    read.AskSize(Get);
    if (!IsSizeTold(hr) && !bTold)
        log.Throw(hr);
    if (!IsSizeTold(hr))
        log.FailCode(hr, failed, dwProperty);
    if (!read.Allocate())
        log.Fail(E_OUTOFMEMORY, L"CHeapPtr<UINT8>::AllocateBytes( %u ) failed.", read.Size());
    read.Read(Get);
    log.Check(hr, failed, dwProperty);
    const auto Stored = read.Rows<BYTE>(0, dwStored);
    property.Data.assign(Stored.begin(), Stored.end());
    return property;
}

HRESULT COpdSetupDi::GetDeviceRegistryProperty(HDEVINFO hSet, SP_DEVINFO_DATA& rDevice, DWORD dwProperty,
                                               CDeviceProperty& rProperty)
{
    CFunctionLog log;
    return log.Run([&] { rProperty = ReadDeviceProperty(log, hSet, rDevice, dwProperty, MissingProperty::Told); });
}

HRESULT COpdSetupDi::GetDeviceInstanceId(HDEVINFO hSet, SP_DEVINFO_DATA& rDevice, std::wstring& rsId)
{
    CFunctionLog log;
    return log.Run([&] {
        // Sizes are characters here, with the terminator; the system's own limit is one without it.
        DWORD dwLength = 0;
        constexpr CFormat<DWORD, HRESULT> failed(L"::SetupDiGetDeviceInstanceId( 0x%08X ) failed. [0x%08X]");
        const BOOL bAsked = ::SetupDiGetDeviceInstanceIdW(hSet, &rDevice, nullptr, 0, &dwLength);
        if (const HRESULT hr = bAsked ? S_OK : LastErrorResult(); !IsSizeTold(hr))
            log.FailCode(hr, failed, HandleToULong(hSet));
        if (dwLength > MAX_DEVICE_ID_LEN + 1)
            log.Fail(E_OUTOFMEMORY, L"CHeapPtr<TCHAR>::Allocate( %u ) failed.", dwLength);
        std::wstring sId(dwLength + 1, L'\0');
        if (!::SetupDiGetDeviceInstanceIdW(hSet, &rDevice, sId.data(), dwLength + 1, nullptr))
            log.FailCode(LastErrorResult(), failed, HandleToULong(hSet));
        rsId = UpToZero(sId);
    });
}
