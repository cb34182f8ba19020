#include "hardware/OpdUsbDeviceInfo.h"

#include <algorithm>
#include <cstring>

#include "collect/StepResult.h"
#include "hardware/OpdCmApi.h"
#include "hardware/UsbInterfaceWalk.h"
#include "platform/Drive.h"
#include "platform/Text.h"

namespace
{

// GUID_DEVINTERFACE_USB_HUB, as it stands in a hub's device path.
constexpr const wchar_t* HubClass = L"F18A0E88-C30C-11D0-8815-00A0C906BED8";

// More ancestors than this no node has.
constexpr int MaxLevels = 2048;

DEVINST ParentNode(const CFunctionLog& log, DEVINST hNode)
{
    DEVINST hParent = 0;
    const CONFIGRET cr = ::CM_Get_Parent(&hParent, hNode, 0);
    // The call may succeed without telling a node.
    if (cr != CR_SUCCESS || hParent == 0)
        log.Fail(E_FAIL, L"::CM_Get_Parent() failed. [CONFIGRET:0x%08X]", cr);
    return hParent;
}

// The device path of a node, were it a hub.
std::wstring HubPath(const CFunctionLog& log, DEVINST hNode)
{
    std::wstring sId;
    log.Check(COpdCmApi::GetDeviceId(hNode, sId), L"COpdCmApi::GetDeviceId( 0x%08X ) failed. [0x%08X]", hNode);
    ReplaceAll(sId, L"\\", L"#");
    log.Trace(L"[Parent] %s", sId);
    const std::wstring sPath = FormatText(L"\\\\.\\%s#{%s}", sId, HubClass);
    log.Trace(L"[UsbHub] %s", sPath);
    return sPath;
}

// The first text of that index: one language is enough here.
std::wstring FirstTextOf(const COpdUsbApi::CStringList& rStrings, BYTE nIndex)
{
    const auto it = std::ranges::find(rStrings, nIndex, &COpdUsbApi::SUsbStringDescriptor::nDescriptorIndex);
    return it != rStrings.end() ? it->sText : std::wstring();
}

void HandOver(std::wstring* psTarget, const std::wstring& sText)
{
    if (psTarget != nullptr)
        *psTarget = sText;
}

void AppendInterfaces(const CFunctionLog& log, CUsbBytes Configuration,
                      std::vector<USB_INTERFACE_DESCRIPTOR>& rInterfaces)
{
    WalkUsbConfiguration(log, Configuration, [&](CUsbBytes Record) {
        if (Record[1] != USB_INTERFACE_DESCRIPTOR_TYPE)
            return true;
        if (!IsUsbInterfaceLength(Record.size()))
        {
            log.Error(L"pCommonDescriptor->bLength != sizeof(USB_INTERFACE_DESCRIPTOR)");
            return false;
        }
        USB_INTERFACE_DESCRIPTOR Interface;
        static_assert(sizeof Interface == UsbInterfaceLength);
        std::memcpy(&Interface, Record.data(), sizeof Interface);
        rInterfaces.push_back(Interface);
        return true;
    });
}

// Reads configuration and texts of a device whose port is known. What cannot be read costs itself only.
void ReadDevice(const CFunctionLog& log, HANDLE hHub, DWORD nPort, const USB_DEVICE_DESCRIPTOR& rDevice,
                const CUsbDescriptorTargets& rTargets)
{
    std::vector<BYTE> Configuration;
    HRESULT hr = COpdUsbApi::GetConfigDescriptor(hHub, nPort, 0, Configuration);
    if (FAILED(hr))
    {
        log.Warning(L"COpdUsbApi::GetConfigDescriptor( 0x%08X, %u ) failed. [0x%08X]", HandleToULong(hHub), nPort, hr);
        return;
    }
    COpdUsbApi::CStringList strings;
    hr = COpdUsbApi::GetAllStringDescriptors(hHub, nPort, rDevice, Configuration, strings);
    Tolerate(log, hr, L"COpdUsbApi::GetAllStringDescriptors( 0x%08X, %u ) failed. [0x%08X]", HandleToULong(hHub),
             nPort);
    if (!strings.empty())
    {
        HandOver(rTargets.psManufacturer, FirstTextOf(strings, rDevice.iManufacturer));
        HandOver(rTargets.psProduct, FirstTextOf(strings, rDevice.iProduct));
        HandOver(rTargets.psSerial, FirstTextOf(strings, rDevice.iSerialNumber));
    }
    if (rTargets.pInterfaces != nullptr)
        AppendInterfaces(log, Configuration, *rTargets.pInterfaces);
}

} // namespace

HRESULT COpdUsbDeviceInfo::StandardOpenDeviceFunction(const std::wstring& sPath, HANDLE* phDevice)
{
    CFunctionLog log;
    return log.Run([&] { OpenDevicePath(log, sPath, 0, FILE_SHARE_READ | FILE_SHARE_WRITE, 0, phDevice); });
}

HRESULT COpdUsbDeviceInfo::GetUsbDescriptors(BYTE nDriveIndex, USB_DEVICE_DESCRIPTOR& rDevice,
                                             std::vector<USB_INTERFACE_DESCRIPTOR>* pInterfaces,
                                             std::wstring* psManufacturer, std::wstring* psProduct,
                                             std::wstring* psSerial) const
{
    CFunctionLog log;
    return log.Run([&] {
        const wchar_t cDrive = DriveLetter(nDriveIndex);
        DWORD dwNumber = 0;
        log.Check(GetDeviceNumber(nDriveIndex, dwNumber), L"COpdUsbDeviceInfo::GetDeviceNumber( %c: ) failed. [0x%08X]",
                  cDrive);
        log.Trace(L"DeviceNumber: %u", dwNumber);

        DEVINST hDisk = 0;
        log.Check(FindDeviceInstanceHandleByDeviceNumber(dwNumber, hDisk),
                  L"COpdUsbDeviceInfo::FindDeviceInstanceHandleByDeviceNumber( %c:, %d ) failed. [0x%08X]", cDrive,
                  dwNumber);
        log.Trace(L"DevInst: %u", hDisk);

        std::wstring sId;
        CFileHandle hHub;
        log.Check(GetUsbDeviceInstanceIdAndParentUsbHub(hDisk, sId, hHub),
                  L"COpdUsbDeviceInfo::GetUsbDeviceInstancePath() failed. [0x%08X]");
        log.Trace(L"UsbDeviceInstanceId: %s", sId);

        std::wstring sManufacturer, sProduct, sSerial;
        log.Check(GetUsbDescriptors(hHub.Get(), sId, rDevice, { pInterfaces, &sManufacturer, &sProduct, &sSerial }),
                  L"COpdUsbDeviceInfo::GetUsbDescriptors( 0x%08X, %s ) failed. [0x%08X]", HandleToULong(hHub.Get()),
                  sId);
        HandOver(psManufacturer, sManufacturer);
        HandOver(psProduct, sProduct);
        HandOver(psSerial, sSerial);
    });
}

HRESULT COpdUsbDeviceInfo::GetDeviceNumber(BYTE nDriveIndex, DWORD& rdwNumber) const
{
    CFunctionLog log;
    return log.Run([&] {
        const std::wstring sPath = DriveDevicePath(nDriveIndex);
        log.Check(GetDeviceNumber(sPath, rdwNumber), L"COpdUsbDeviceInfo::GetDeviceNumber( \"%s\" ) failed. [0x%08X]",
                  sPath);
    });
}

HRESULT COpdUsbDeviceInfo::GetDeviceNumber(const std::wstring& sPath, DWORD& rdwNumber) const
{
    CFunctionLog log;
    return log.Run([&] {
        CFileHandle hDevice;
        log.Check(m_pOpenDevice(sPath, hDevice.Put()), L"OpenDevice( \"%s\" ) failed. [0x%08X]", sPath);
        const HRESULT hr = COpdUsbApi::GetStorageDeviceNumber(hDevice.Get(), rdwNumber);
        log.Check(hr, L"COpdUsbApi::GetStorageDeviceNumber( \"%s\" ) failed. [0x%08X]", sPath);
    });
}

HRESULT COpdUsbDeviceInfo::FindDeviceInstanceHandleByDeviceNumber(DWORD dwNumber, DEVINST& rhDevice) const
{
    CFunctionLog log;
    return log.Run([&] {
        CDeviceInfoSet hSet;
        const HRESULT hrSet = COpdSetupDi::GetClassDevices(GUID_DEVINTERFACE_DISK, hSet);
        log.Check(hrSet, L"COpdSetupDi::GetClassDevices( GUID_DEVINTERFACE_DISK ) failed. [0x%08X]");
        constexpr CFormat<DWORD, HRESULT> failed(
            L"COpdSetupDi::GetDeviceInterfaceData( GUID_DEVINTERFACE_DISK, %d ) failed. [0x%08X]");
        WalkInterfaces(
            log, hSet.Get(), GUID_DEVINTERFACE_DISK, failed, [&](DWORD, SP_DEVICE_INTERFACE_DATA& rInterface) {
                SP_DEVINFO_DATA Device;
                std::wstring sPath;
                const HRESULT hr = COpdSetupDi::GetDeviceInterfaceDetail(hSet.Get(), rInterface, Device, sPath);
                if (FAILED(hr) || sPath.empty())
                {
                    log.Warning(L"COpdSetupDi::GetDeviceInterfaceDetail() failed. [0x%08X]", hr);
                    return false;
                }
                // A disk that cannot be opened ends the search, even if the wanted one stands behind it.
                DWORD dwFound = 0;
                log.Check(GetDeviceNumber(sPath, dwFound),
                          L"COpdUsbDeviceInfo::GetDeviceNumber( \"%s\" ) failed. [0x%08X]", sPath);
                log.Trace(L"[DeviceNumber:%d] %s", dwFound, sPath);
                if (dwFound == dwNumber)
                    rhDevice = Device.DevInst;
                return dwFound == dwNumber;
            });
    });
}

HRESULT COpdUsbDeviceInfo::GetUsbDeviceInstanceIdAndParentUsbHub(DEVINST hDisk, std::wstring& rsInstanceId,
                                                                 CFileHandle& rhHub) const
{
    CFunctionLog log;
    return log.Run([&] {
        DEVINST hCurrent = hDisk;
        CFileHandle hHub;
        for (int nLevel = 0; !hHub; ++nLevel)
        {
            if (nLevel == MaxLevels)
                log.Fail(E_UNEXPECTED, L"The node 0x%08X has no end of parents.", hDisk);
            const DEVINST hParent = ParentNode(log, hCurrent);
            // What does not open under a hub's path is no hub.
            if (FAILED(m_pOpenDevice(HubPath(log, hParent), hHub.Put())))
                hCurrent = hParent;
        }
        log.Check(COpdCmApi::GetDeviceId(hCurrent, rsInstanceId),
                  L"COpdUsbDeviceInfo::GetDeviceId( 0x%08X ) failed. [0x%08X]", hCurrent);
        log.Trace(L"[Device] %s", rsInstanceId);
        rhHub = std::move(hHub);
    });
}

HRESULT COpdUsbDeviceInfo::FindDeviceInstanceIdByDriverKey(const std::wstring& sDriverKey,
                                                           std::wstring& rsInstanceId) const
{
    CFunctionLog log;
    return log.Run([&] {
        CDeviceInfoSet hSet;
        log.Check(COpdSetupDi::GetClassDevices(L"USB", hSet),
                  L"COpdSetupDi::GetClassDevices( \"USB\" ) failed. [0x%08X]");
        const DWORD dwSet = HandleToULong(hSet.Get());
        for (DWORD nIndex = 0;; ++nIndex)
        {
            SP_DEVINFO_DATA Device;
            HRESULT hr = COpdSetupDi::GetDevInfoData(hSet.Get(), nIndex, Device);
            log.Check(hr, L"COpdSetupDi::GetDevInfoData( 0x%08X, %d  ) failed. [0x%08X]", dwSet, nIndex);
            CDeviceProperty driver;
            hr = COpdSetupDi::GetDeviceRegistryProperty(hSet.Get(), Device, SPDRP_DRIVER, driver);
            if (FAILED(hr))
            {
                log.Warning(L"COpdSetupDi::GetDeviceRegistryProperty( 0x%08X, SPDRP_DRIVER ) failed. [0x%08X]", dwSet,
                            hr);
                continue;
            }
            log.Trace(L"[DriverKey:%d] %s", nIndex, driver.Text());
            if (!EqualsNoCase(driver.Text(), sDriverKey))
                continue;
            hr = COpdSetupDi::GetDeviceInstanceId(hSet.Get(), Device, rsInstanceId);
            if (SUCCEEDED(hr))
                return;
            log.Warning(L"COpdSetupDi::GetDeviceInstanceId( 0x%08X ) failed. [0x%08X]", dwSet, hr);
        }
    });
}

HRESULT COpdUsbDeviceInfo::GetUsbDescriptors(HANDLE hHub, const std::wstring& sInstanceId,
                                             USB_DEVICE_DESCRIPTOR& rDevice,
                                             const CUsbDescriptorTargets& rTargets) const
{
    CFunctionLog log;
    return log.Run([&] {
        const DWORD dwHub = HandleToULong(hHub);
        USB_NODE_INFORMATION Info;
        log.Check(COpdUsbApi::GetUsbNodeInformation(hHub, Info),
                  L"COpdUsbApi::GetUsbNodeInformation( 0x%08X ) failed. [0x%08X]", dwHub);
        const DWORD nPorts = Info.u.HubInformation.HubDescriptor.bNumberOfPorts;
        DWORD nPort = 1;
        std::unique_ptr<CUsbConnection> pConnection;
        while (nPort <= nPorts && !IsDeviceOnPort(log, hHub, nPort, sInstanceId, pConnection))
            ++nPort;
        if (nPort > nPorts)
            log.Fail(E_FAIL, L"USB DEVICE DESCRIPTOR was not found. ( 0x%08X, \"%s\" )", dwHub, sInstanceId);
        rDevice = pConnection->DeviceDescriptor;
        ReadDevice(log, hHub, nPort, rDevice, rTargets);
    });
}

bool COpdUsbDeviceInfo::IsDeviceOnPort(const CFunctionLog& log, HANDLE hHub, DWORD nPort,
                                       const std::wstring& sInstanceId,
                                       std::unique_ptr<CUsbConnection>& rpConnection) const
{
    const DWORD dwHub = HandleToULong(hHub);
    HRESULT hr = COpdUsbApi::GetUsbNodeConnectionInformation(hHub, nPort, rpConnection);
    if (FAILED(hr))
    {
        log.Warning(L"COpdUsbApi::GetUsbNodeConnectionInformation( 0x%08X, %u ) failed. [0x%08X]", dwHub, nPort, hr);
        return false;
    }
    if (rpConnection->dwConnectionStatus == UsbNoDeviceConnected)
        return false;
    std::wstring sDriverKey, sFound;
    hr = COpdUsbApi::GetDriverKeyName(hHub, nPort, sDriverKey);
    if (FAILED(hr))
    {
        log.Warning(L"COpdUsbApi::GetDriverKeyName( 0x%08X, %d ) failed. [0x%08X]", dwHub, nPort, hr);
        return false;
    }
    hr = FindDeviceInstanceIdByDriverKey(sDriverKey, sFound);
    Tolerate(log, hr, L"COpdUsbDeviceInfo::FindDeviceInstanceIdByDriverKey( %s ) failed. [0x%08X]", sDriverKey);
    return SUCCEEDED(hr) && EqualsNoCase(sFound, sInstanceId);
}
