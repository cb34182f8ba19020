// Names and nodes. The descriptors are read in OpdUsbApiDescriptors.cpp.
#include "hardware/OpdUsbApi.h"

#include <algorithm>
#include <cstring>
#include <new>
#include <optional>

#include "log/FunctionLog.h"
#include "platform/HResult.h"

namespace
{

// A name that is asked twice: with a record of one character for its length, then with a block of that length. The
// records begin with the port, where there is one, then the length, then the name.
class CNameRequest
{
public:
    // Without an input the request takes none at all.
    enum class Input
    {
        None,
        Record
    };

    CNameRequest(HANDLE hDevice, DWORD dwCode, Input eInput, std::optional<DWORD> dwPort = {})
        : m_hDevice(hDevice),
          m_dwCode(dwCode),
          m_eInput(eInput),
          m_dwPort(dwPort),
          m_nNameAt(dwPort ? 2 * sizeof(DWORD) : sizeof(DWORD))
    {
    }

    // Each gives a failed code when the request failed or answered nothing.
    HRESULT AskLength()
    {
        BYTE aRecord[2 * sizeof(DWORD) + sizeof(WCHAR)] = {};
        const HRESULT hr = Send(aRecord, static_cast<DWORD>(m_nNameAt + sizeof(WCHAR)));
        std::memcpy(&m_dwLength, aRecord + m_nNameAt - sizeof(DWORD), sizeof m_dwLength);
        return hr;
    }
    DWORD Length() const { return m_dwLength; }

    // Reads the name into rsName.
    HRESULT Read(const CFunctionLog& log, std::wstring& rsName) const
    {
        // A name of the system has at most as many bytes as a 16-bit length can tell.
        const DWORD dwLength = std::min<DWORD>(m_dwLength, 0xFFFF + 2 * sizeof(DWORD));
        const std::size_t nBlock = std::max<std::size_t>(dwLength, m_nNameAt) + sizeof(WCHAR);
        const std::unique_ptr<BYTE[]> pBlock(new (std::nothrow) BYTE[nBlock]());
        if (!pBlock)
            log.Throw(E_OUTOFMEMORY, L"CHeapPtr<UINT8>::AllocateBytes( %u ) failed.", nBlock);
        const HRESULT hr = Send(pBlock.get(), dwLength);
        if (FAILED(hr))
            return hr;
        std::wstring sName((nBlock - m_nNameAt) / sizeof(WCHAR), L'\0');
        std::memcpy(sName.data(), pBlock.get() + m_nNameAt, sName.size() * sizeof(WCHAR));
        rsName = sName.substr(0, sName.find(L'\0'));
        return S_OK;
    }

private:
    HRESULT Send(BYTE* pRecord, DWORD dwSize) const
    {
        if (m_dwPort)
            std::memcpy(pRecord, &*m_dwPort, sizeof *m_dwPort);
        const bool bInput = m_eInput == Input::Record;
        DWORD dwReturned = 0;
        const BOOL bSucceeded = ::DeviceIoControl(m_hDevice, m_dwCode, bInput ? pRecord : nullptr, bInput ? dwSize : 0,
                                                  pRecord, dwSize, &dwReturned, nullptr);
        return bSucceeded && dwReturned != 0 ? S_OK : LastErrorResult(E_FAIL);
    }

    HANDLE m_hDevice;
    DWORD m_dwCode;
    Input m_eInput;
    std::optional<DWORD> m_dwPort;
    std::size_t m_nNameAt;
    DWORD m_dwLength = 0;
};

std::unique_ptr<CUsbConnection> NewConnection(const CFunctionLog& log, DWORD dwPort)
{
    std::unique_ptr<CUsbConnection> pConnection(new (std::nothrow) CUsbConnection{});
    if (!pConnection)
        log.Throw(E_OUTOFMEMORY, L"ATL::CHeapPtr<UINT8>::AllocateBytes( %d ) failed.", sizeof(CUsbConnection));
    pConnection->dwConnectionIndex = dwPort;
    return pConnection;
}

BOOL AskConnection(HANDLE hHub, DWORD dwCode, CUsbConnection& rConnection, DWORD& rdwReturned)
{
    rdwReturned = 0;
    return ::DeviceIoControl(hHub, dwCode, &rConnection, sizeof rConnection, &rConnection, sizeof rConnection,
                             &rdwReturned, nullptr);
}

// The request of systems before the speeds were three. Both records agree but for the one field.
void AskOldConnection(const CFunctionLog& log, HANDLE hHub, DWORD dwPort, CUsbConnection& rConnection)
{
    const auto pOld = NewConnection(log, dwPort);
    DWORD dwReturned = 0;
    if (!AskConnection(hHub, IOCTL_USB_GET_NODE_CONNECTION_INFORMATION, *pOld, dwReturned))
    {
        const HRESULT hr = LastErrorResult();
        log.Throw(E_FAIL, L"::DeviceIoControl( 0x%08X, IOCTL_USB_GET_NODE_CONNECTION_INFORMATION ) failed. [0x%08X]",
                  HandleToULong(hHub), hr);
    }
    rConnection = *pOld;
    rConnection.nSpeed = pOld->nSpeed != 0 ? UsbLowSpeed : UsbFullSpeed;
}

} // namespace

HRESULT COpdUsbApi::GetStorageDeviceNumber(HANDLE hDevice, DWORD& rdwNumber)
{
    CFunctionLog log;
    return log.Run([&] {
        STORAGE_DEVICE_NUMBER Number{};
        static_assert(sizeof Number == 12);
        DWORD dwReturned = 0;
        if (!::DeviceIoControl(hDevice, IOCTL_STORAGE_GET_DEVICE_NUMBER, nullptr, 0, &Number, sizeof Number,
                               &dwReturned, nullptr))
            log.ThrowCode(LastErrorResult(), L"::DeviceIoControl( IOCTL_STORAGE_GET_DEVICE_NUMBER ) failed. [0x%08X]");
        rdwNumber = Number.DeviceNumber;
    });
}

HRESULT COpdUsbApi::GetHcdDriverKeyName(HANDLE hController, std::wstring& rsName)
{
    CFunctionLog log;
    return log.Run([&] {
        const auto Require = [&](HRESULT hr) {
            if (FAILED(hr))
                log.ThrowCode(hr, L"::DeviceIoControl( 0x%08X, IOCTL_GET_HCD_DRIVERKEY_NAME ) failed. [0x%08X]",
                              HandleToULong(hController));
        };
        CNameRequest request(hController, IOCTL_GET_HCD_DRIVERKEY_NAME, CNameRequest::Input::Record);
        Require(request.AskLength());
        if (request.Length() <= sizeof(USB_HCD_DRIVERKEY_NAME))
            log.Fail(E_FAIL, L"stHcdDriverKeyName.ActualLength(%d) <= sizeof(USB_HCD_DRIVERKEY_NAME)",
                     request.Length());
        Require(request.Read(log, rsName));
    });
}

HRESULT COpdUsbApi::GetDriverKeyName(HANDLE hHub, DWORD dwPort, std::wstring& rsName)
{
    CFunctionLog log;
    return log.Run([&] {
        const auto Require = [&](HRESULT hr) {
            if (FAILED(hr))
                log.ThrowCode(
                    hr,
                    L"::DeviceIoControl( 0x%08X, %u, IOCTL_USB_GET_NODE_CONNECTION_DRIVERKEY_NAME ) failed. [0x%08X]",
                    HandleToULong(hHub), dwPort);
        };
        CNameRequest request(hHub, IOCTL_USB_GET_NODE_CONNECTION_DRIVERKEY_NAME, CNameRequest::Input::Record, dwPort);
        Require(request.AskLength());
        if (request.Length() <= sizeof(USB_NODE_CONNECTION_DRIVERKEY_NAME))
            log.Fail(E_FAIL, L"stDriverKeyName.ActualLength(%d) <= sizeof(USB_NODE_CONNECTION_DRIVERKEY_NAME)",
                     request.Length());
        Require(request.Read(log, rsName));
    });
}

HRESULT COpdUsbApi::GetRootHubName(HANDLE hController, std::wstring& rsName)
{
    CFunctionLog log;
    return log.Run([&] {
        const auto Require = [&](HRESULT hr) {
            if (FAILED(hr))
                log.ThrowCode(hr, L"::DeviceIoControl( 0x%08X, IOCTL_USB_GET_ROOT_HUB_NAME ) failed. [0x%08X]",
                              HandleToULong(hController));
        };
        // Without an input: the same code with one asks a hub for its information.
        CNameRequest request(hController, IOCTL_USB_GET_ROOT_HUB_NAME, CNameRequest::Input::None);
        Require(request.AskLength());
        Require(request.Read(log, rsName));
    });
}

HRESULT COpdUsbApi::GetExternalHubName(HANDLE hHub, DWORD dwPort, std::wstring& rsName)
{
    CFunctionLog log;
    return log.Run([&] {
        const auto Require = [&](HRESULT hr) {
            if (FAILED(hr))
                log.ThrowCode(hr,
                              L"::DeviceIoControl( 0x%08X, %d, IOCTL_USB_GET_NODE_CONNECTION_NAME ) failed. [0x%08X]",
                              HandleToULong(hHub), dwPort);
        };
        CNameRequest request(hHub, IOCTL_USB_GET_NODE_CONNECTION_NAME, CNameRequest::Input::Record, dwPort);
        Require(request.AskLength());
        Require(request.Read(log, rsName));
    });
}

HRESULT COpdUsbApi::GetUsbNodeInformation(HANDLE hHub, USB_NODE_INFORMATION& rInfo)
{
    CFunctionLog log;
    return log.Run([&] {
        rInfo = {};
        DWORD dwReturned = 0;
        const BOOL bSucceeded = ::DeviceIoControl(hHub, IOCTL_USB_GET_NODE_INFORMATION, &rInfo, sizeof rInfo, &rInfo,
                                                  sizeof rInfo, &dwReturned, nullptr);
        if (!bSucceeded || dwReturned == 0)
        {
            const HRESULT hr = LastErrorResult();
            log.ThrowCode(hr, L"::DeviceIoControl( 0x%08X, IOCTL_USB_GET_NODE_INFORMATION ) failed. [0x%08X]",
                          HandleToULong(hHub));
        }
    });
}

HRESULT COpdUsbApi::GetUsbNodeConnectionInformation(HANDLE hHub, DWORD dwPort,
                                                    std::unique_ptr<CUsbConnection>& rpConnection)
{
    CFunctionLog log;
    return log.Run([&] {
        auto pConnection = NewConnection(log, dwPort);
        DWORD dwReturned = 0;
        const BOOL bSucceeded = AskConnection(hHub, IOCTL_USB_GET_NODE_CONNECTION_INFORMATION_EX, *pConnection,
                                              dwReturned);
        if (!bSucceeded)
        {
            const HRESULT hr = LastErrorResult();
            log.Warning(L"::DeviceIoControl( 0x%08X, IOCTL_USB_GET_NODE_CONNECTION_INFORMATION_EX ) failed. [0x%08X]",
                        HandleToULong(hHub), hr);
        }
        if (!bSucceeded || dwReturned == 0)
            AskOldConnection(log, hHub, dwPort, *pConnection);
        rpConnection = std::move(pConnection);
    });
}
