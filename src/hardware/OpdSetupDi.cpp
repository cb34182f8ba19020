#include "hardware/OpdSetupDi.h"

#include <cfgmgr32.h>

#include <cstddef>
#include <cstring>

#include "platform/GuidText.h"
#include "platform/HResult.h"
#include "platform/SizedRead.h"

namespace
{

static_assert(sizeof(SP_DEVINFO_DATA) == 28 && sizeof(SP_DEVICE_INTERFACE_DATA) == 28 &&
              sizeof(SP_DEVICE_INTERFACE_DETAIL_DATA_W) == 6);

constexpr DWORD PathOffset = offsetof(SP_DEVICE_INTERFACE_DETAIL_DATA_W, DevicePath);
constexpr auto TooSmall = static_cast<DWORD>(HResultFromWin32(ERROR_INSUFFICIENT_BUFFER));

// The status of a call as the sized read takes it; to be asked at once. A failure stays one even without an error
// number.
DWORD StatusOf(BOOL bSucceeded, HRESULT hrOtherwise = E_UNEXPECTED)
{
    return static_cast<DWORD>(bSucceeded ? S_OK : LastErrorResult(hrOtherwise));
}
bool IsSizeTold(DWORD dwStatus)
{
    return dwStatus == TooSmall || SUCCEEDED(static_cast<HRESULT>(dwStatus));
}

DWORD NumberOf(HDEVINFO hSet)
{
    return static_cast<DWORD>(reinterpret_cast<ULONG_PTR>(hSet));
}

std::wstring ReadInterfacePath(const CFunctionLog& log, HDEVINFO hSet, SP_DEVICE_INTERFACE_DATA& rInterface,
                               SP_DEVINFO_DATA* pDevice)
{
    // Nothing but the size is asked first: the device record is for the call that has a buffer.
    const auto GetDetail = [&](BYTE* pBuffer, DWORD& rdwSize) {
        const DWORD cbHeader = sizeof(SP_DEVICE_INTERFACE_DETAIL_DATA_W);
        if (pBuffer != nullptr)
            std::memcpy(pBuffer, &cbHeader, sizeof cbHeader);
        auto* const pDetail = reinterpret_cast<SP_DEVICE_INTERFACE_DETAIL_DATA_W*>(pBuffer);
        SP_DEVINFO_DATA* const pWanted = pBuffer != nullptr ? pDevice : nullptr;
        return StatusOf(::SetupDiGetDeviceInterfaceDetailW(hSet, &rInterface, pDetail, rdwSize, &rdwSize, pWanted));
    };
    constexpr CFormat<HRESULT> failed(L"::SetupDiGetDeviceInterfaceDetail() failed. [0x%08X]");
    CSizedRead read(TooSmall);
    if (const DWORD dwStatus = read.AskSize(GetDetail); !IsSizeTold(dwStatus))
        log.FailCode(static_cast<HRESULT>(dwStatus), failed);
    // A size that does not even hold the header is no size.
    if (read.Size() < sizeof(SP_DEVICE_INTERFACE_DETAIL_DATA_W))
        log.FailCode(E_UNEXPECTED, failed);
    if (!read.Allocate())
        log.Fail(E_OUTOFMEMORY, L"CHeapPtr<UINT8>::AllocateBytes( %u ) failed.", read.Size());
    if (const auto hr = static_cast<HRESULT>(read.Read(GetDetail)); FAILED(hr))
        log.FailCode(hr, failed);
    const auto Path = read.Rows<wchar_t>(PathOffset, read.Size());
    const std::wstring_view sPath(Path.data(), Path.size());
    return std::wstring(sPath.substr(0, sPath.find(L'\0')));
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
        log.FailCode(hr, L"::SetupDiEnumDeviceInfo( 0x%08X, %d ) failed. [0x%08X]", NumberOf(hSet), nIndex);
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
    DWORD dwStored = 0;
    const auto Get = [&](BYTE* pBuffer, DWORD& rdwSize) {
        const BOOL bSucceeded = ::SetupDiGetDeviceRegistryPropertyW(hSet, &rDevice, dwProperty, &property.ulType,
                                                                    pBuffer, rdwSize, &rdwSize);
        const DWORD dwStatus = StatusOf(bSucceeded, bTold ? E_UNEXPECTED : E_FAIL);
        dwStored = rdwSize;
        return dwStatus;
    };
    constexpr CFormat<DWORD, HRESULT> failed(L"::SetupDiGetDeviceRegistryProperty( 0x%08X ) failed. [0x%08X]");
    CSizedRead read(TooSmall);
    if (const DWORD dwStatus = read.AskSize(Get); !IsSizeTold(dwStatus))
    {
        if (!bTold)
            log.Throw(static_cast<HRESULT>(dwStatus));
        log.FailCode(static_cast<HRESULT>(dwStatus), failed, dwProperty);
    }
    if (!read.Allocate())
        log.Fail(E_OUTOFMEMORY, L"CHeapPtr<UINT8>::AllocateBytes( %u ) failed.", read.Size());
    if (const auto hr = static_cast<HRESULT>(read.Read(Get)); FAILED(hr))
        log.FailCode(hr, failed, dwProperty);
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
        const DWORD dwStatus = StatusOf(::SetupDiGetDeviceInstanceIdW(hSet, &rDevice, nullptr, 0, &dwLength));
        if (!IsSizeTold(dwStatus))
            log.FailCode(static_cast<HRESULT>(dwStatus), L"::SetupDiGetDeviceInstanceId( 0x%08X ) failed. [0x%08X]",
                         NumberOf(hSet));
        if (dwLength > MAX_DEVICE_ID_LEN + 1)
            log.Fail(E_OUTOFMEMORY, L"CHeapPtr<TCHAR>::Allocate( %u ) failed.", dwLength);
        std::wstring sId(dwLength + 1, L'\0');
        if (!::SetupDiGetDeviceInstanceIdW(hSet, &rDevice, sId.data(), dwLength + 1, nullptr))
            log.FailCode(LastErrorResult(), L"::SetupDiGetDeviceInstanceId( 0x%08X ) failed. [0x%08X]", NumberOf(hSet));
        rsId = sId.substr(0, sId.find(L'\0'));
    });
}
