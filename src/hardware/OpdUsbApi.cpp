// Names and nodes. The descriptors are read in OpdUsbApiDescriptors.cpp.
#include "hardware/OpdUsbApi.h"

#include <algorithm>
#include <cstring>
#include <new>
#include <optional>

#include "log/FunctionLog.h"
#include "platform/Allocation.h"
#include "platform/HResult.h"
#include "platform/Text.h"

namespace
{

// A name that is asked twice: with a record of one character for its length, then with a block of that length. The
// records begin with the port, where there is one, then the length, then the name. A request that fails, or answers
// nothing, is told and thrown.
class CNameRequest
{
public:
    CNameRequest(const CFunctionLog& log, HANDLE hDevice, DWORD dwCode, const wchar_t* pCodeName,
                 std::optional<DWORD> dwPort = {})
        : m_log(log),
          m_hDevice(hDevice),
          m_dwCode(dwCode),
          m_pCodeName(pCodeName),
          m_dwPort(dwPort),
          m_nNameAt(dwPort ? 2 * sizeof(DWORD) : sizeof(DWORD))
    {
    }

    // The length that the device gives the whole record; any number.
    DWORD AskLength()
    {
        BYTE aRecord[2 * sizeof(DWORD) + sizeof(WCHAR)] = {};
        Send(aRecord, static_cast<DWORD>(m_nNameAt) + sizeof(WCHAR));
        std::memcpy(&m_dwLength, aRecord + m_nNameAt - sizeof(DWORD), sizeof m_dwLength);
        return m_dwLength;
    }

    std::wstring Read() const
    {
        // A name of the system has at most as many bytes as a 16-bit length can tell.
        const DWORD dwLength = std::min<DWORD>(m_dwLength, 0xFFFF + 2 * sizeof(DWORD));
        const std::size_t nBlock = std::max<std::size_t>(dwLength, m_nNameAt) + sizeof(WCHAR);
        std::vector<BYTE> Block;
        if (!TryResize(Block, nBlock))
            m_log.Throw(E_OUTOFMEMORY, L"CHeapPtr<UINT8>::AllocateBytes( %u ) failed.", nBlock);
        Send(Block.data(), dwLength);
        std::wstring sName((nBlock - m_nNameAt) / sizeof(WCHAR), L'\0');
        std::memcpy(sName.data(), Block.data() + m_nNameAt, sName.size() * sizeof(WCHAR));
        return std::wstring(UpToZero(sName));
    }

private:
    void Send(BYTE* pRecord, DWORD dwSize) const
    {
        if (m_dwPort)
            std::memcpy(pRecord, &*m_dwPort, sizeof *m_dwPort);
        // The name of a root hub takes no input: the same code with one asks a hub for its information.
        const bool bInput = m_dwCode != IOCTL_USB_GET_ROOT_HUB_NAME;
        DWORD dwReturned = 0;
        const BOOL bSucceeded = ::DeviceIoControl(m_hDevice, m_dwCode, bInput ? pRecord : nullptr, bInput ? dwSize : 0,
                                                  pRecord, dwSize, &dwReturned, nullptr);
        if (bSucceeded && dwReturned != 0)
            return;
        const HRESULT hr = LastErrorResult(E_FAIL);
        const std::wstring sPort = m_dwPort ? FormatText(L"%u, ", *m_dwPort) : std::wstring();
        m_log.ThrowCode(hr, L"::DeviceIoControl( 0x%08X, %s%s ) failed. [0x%08X]", HandleToULong(m_hDevice), sPort,
                        m_pCodeName);
    }

    const CFunctionLog& m_log;
    HANDLE m_hDevice;
    DWORD m_dwCode;
    const wchar_t* m_pCodeName;
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
        CNameRequest request(log, hController, IOCTL_GET_HCD_DRIVERKEY_NAME, L"IOCTL_GET_HCD_DRIVERKEY_NAME");
        const DWORD dwLength = request.AskLength();
        if (dwLength <= sizeof(USB_HCD_DRIVERKEY_NAME))
            log.Fail(E_FAIL, L"stHcdDriverKeyName.ActualLength(%d) <= sizeof(USB_HCD_DRIVERKEY_NAME)", dwLength);
        rsName = request.Read();
    });
}

HRESULT COpdUsbApi::GetDriverKeyName(HANDLE hHub, DWORD dwPort, std::wstring& rsName)
{
    CFunctionLog log;
    return log.Run([&] {
        CNameRequest request(log, hHub, IOCTL_USB_GET_NODE_CONNECTION_DRIVERKEY_NAME,
                             L"IOCTL_USB_GET_NODE_CONNECTION_DRIVERKEY_NAME", dwPort);
        const DWORD dwLength = request.AskLength();
        if (dwLength <= sizeof(USB_NODE_CONNECTION_DRIVERKEY_NAME))
            log.Fail(E_FAIL, L"stDriverKeyName.ActualLength(%d) <= sizeof(USB_NODE_CONNECTION_DRIVERKEY_NAME)",
                     dwLength);
        rsName = request.Read();
    });
}

HRESULT COpdUsbApi::GetRootHubName(HANDLE hController, std::wstring& rsName)
{
    CFunctionLog log;
    return log.Run([&] {
        CNameRequest request(log, hController, IOCTL_USB_GET_ROOT_HUB_NAME, L"IOCTL_USB_GET_ROOT_HUB_NAME");
        request.AskLength();
        rsName = request.Read();
    });
}

HRESULT COpdUsbApi::GetExternalHubName(HANDLE hHub, DWORD dwPort, std::wstring& rsName)
{
    CFunctionLog log;
    return log.Run([&] {
        CNameRequest request(log, hHub, IOCTL_USB_GET_NODE_CONNECTION_NAME, L"IOCTL_USB_GET_NODE_CONNECTION_NAME",
                             dwPort);
        request.AskLength();
        rsName = request.Read();
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
