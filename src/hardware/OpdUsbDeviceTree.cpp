#include "hardware/OpdUsbDeviceTree.h"

#include <algorithm>

#include "hardware/OpdCmApi.h"
#include "hardware/UsbInterfaceWalk.h"
#include "platform/Handle.h"
#include "platform/Text.h"

#include <usbiodef.h>

namespace
{

// A bus has at most that many devices: where many ports name one hub, and its ports another, the walk must end too.
constexpr std::size_t MaxHubs = 127;

// The name and the description of what is plugged into a port; empty when they cannot be had.
void ReadPortNames(const CFunctionLog& log, HANDLE hHub, DWORD nPort, CUsbPortNode& rNode)
{
    HRESULT hr = COpdUsbApi::GetDriverKeyName(hHub, nPort, rNode.sDriverKey);
    if (SUCCEEDED(hr))
        hr = COpdCmApi::GetDeviceDescByDriverKeyName(rNode.sDriverKey, rNode.sDescription);
    // One text for both.
    if (FAILED(hr))
        log.Assert(L"COpdUsbApi::GetDriverKeyName( 0x%08X, %u ) failed. [0x%08X]", HandleToULong(hHub), nPort, hr);
}

// Configuration and texts of a device that works. What cannot be read stays empty.
void ReadPortDescriptors(const CFunctionLog& log, HANDLE hHub, const CUsbPortNode& rNode,
                         std::vector<BYTE>& rConfiguration, COpdUsbApi::CStringList& rStrings)
{
    HRESULT hr = COpdUsbApi::GetConfigDescriptor(hHub, rNode.nPort, 0, rConfiguration);
    if (FAILED(hr))
        log.Assert(L"COpdUsbApi::GetConfigDescriptor( 0x%08X, %u ) failed. [0x%08X]", HandleToULong(hHub), rNode.nPort,
                   hr);
    if (rConfiguration.empty())
        return;
    hr = COpdUsbApi::GetAllStringDescriptors(hHub, rNode.nPort, rNode.rConnection.DeviceDescriptor, rConfiguration,
                                             rStrings);
    if (FAILED(hr))
        log.Assert(L"COpdUsbApi::GetAllStringDescriptors( 0x%08X, %u ) failed. [0x%08X]", HandleToULong(hHub),
                   rNode.nPort, hr);
}

// What is plugged in gives its descriptors back here, before what hangs below it is walked.
void WritePort(const CFunctionLog& log, HANDLE hHub, DWORD nPort, const CUsbConnection& rConnection,
               CUsbTreeWriter writer)
{
    COpdUsbApi::CStringList strings;
    std::vector<BYTE> Configuration;
    CUsbPortNode node{ nPort, {}, {}, rConnection, strings };
    if (rConnection.dwConnectionStatus != UsbNoDeviceConnected)
        ReadPortNames(log, hHub, nPort, node);
    if (rConnection.dwConnectionStatus == UsbDeviceConnected)
        ReadPortDescriptors(log, hHub, node, Configuration, strings);
    writer.WritePort(node);
    writer.WriteConfiguration(log, Configuration, strings);
}

} // namespace

HRESULT COpdUsbDeviceTree::StandardOpenDeviceFunction(const std::wstring& sPath, HANDLE* phDevice)
{
    CFunctionLog log;
    return log.Run([&] { OpenDevicePath(log, sPath, GENERIC_WRITE, FILE_SHARE_WRITE, 0, phDevice); });
}

HRESULT COpdUsbDeviceTree::DumpUsbDeviceTree(const std::wstring& sPath, bool bBrief)
{
    CFunctionLog log;
    return log.Run([&] {
        COpdLogFile file;
        file.OpenOrThrow(log, sPath);
        CWalk walk{ file, bBrief };
        log.Check(EnumerateUsbHostControllers(walk, 0),
                  L"COpdUsbDeviceTree::EnumerateUsbHostControllers() failed. [0x%08X]");
    });
}

HRESULT COpdUsbDeviceTree::EnumerateUsbHostControllers(CWalk& rWalk, unsigned nDepth)
{
    CFunctionLog log;
    return log.Run([&] {
        const GUID& rClass = GUID_DEVINTERFACE_USB_HOST_CONTROLLER;
        CDeviceInfoSet hSet;
        const HRESULT hrSet = COpdSetupDi::GetClassDevices(rClass, hSet);
        log.Check(hrSet, L"COpdSetupDi::GetClassDevices( GUID_DEVINTERFACE_USB_HOST_CONTROLLER ) failed. [0x%08X]");
        constexpr CFormat<DWORD, HRESULT> failed(
            L"COpdSetupDi::GetDeviceInterfaceData( GUID_DEVINTERFACE_USB_HOST_CONTROLLER, %d ) failed. [0x%08X]");
        WalkInterfaces(log, hSet.Get(), rClass, failed, [&](DWORD nIndex, SP_DEVICE_INTERFACE_DATA& rInterface) {
            std::wstring sPath;
            const HRESULT hr = COpdSetupDi::GetDeviceInterfaceDetail(hSet.Get(), rInterface, sPath);
            if (FAILED(hr) || sPath.empty())
                log.Assert(L"COpdSetupDi::GetDeviceInterfaceDetail() failed. [0x%08X]", hr);
            else
                CFunctionLog::Try([&] { DumpController(log, nIndex + 1, sPath, rWalk, nDepth); });
            return false;
        });
    });
}

// A step that fails ends the controller, with its record.
void COpdUsbDeviceTree::DumpController(const CFunctionLog& log, DWORD nNumber, const std::wstring& sPath, CWalk& rWalk,
                                       unsigned nDepth)
{
    CFileHandle hController;
    log.Check(m_pOpenDevice(sPath, hController.Put()), L"OpenDevice( \"%s\" ) failed. [0x%08X]", sPath);
    CUsbControllerNode node{ nNumber, {}, sPath, {}, hController.Get() };
    std::wstring sRootHub;
    log.Check(COpdUsbApi::GetHcdDriverKeyName(hController.Get(), node.sDriverKey),
              L"COpdUsbApi::GetHcdDriverKeyName() failed. [0x%08X]");
    log.Check(COpdUsbApi::GetRootHubName(hController.Get(), sRootHub),
              L"COpdUsbApi::GetRootHubName() failed. [0x%08X]");
    const HRESULT hr = COpdCmApi::GetDeviceDescByDriverKeyName(node.sDriverKey, node.sDescription);
    log.Check(hr, L"COpdCmApi::GetDeviceDescByDriverKeyName( %s ) failed. [0x%08X]", node.sDriverKey);
    CUsbTreeWriter(rWalk.rLogFile, rWalk.bBrief, nDepth).WriteController(node);
    rWalk.nHubs = 0;
    log.Check(EnumerateUsbRootHub(sRootHub, rWalk, nDepth + 1),
              L"COpdUsbDeviceTree::EnumerateUsbRootHub( %s ) failed. [0x%08X]", sRootHub);
}

HRESULT COpdUsbDeviceTree::EnumerateUsbRootHub(const std::wstring& sName, CWalk& rWalk, unsigned nDepth)
{
    CFunctionLog log;
    return log.Run([&] { DumpHub(log, sName, true, rWalk, nDepth); });
}

HRESULT COpdUsbDeviceTree::EnumerateUsbHub(const std::wstring& sName, CWalk& rWalk, unsigned nDepth)
{
    CFunctionLog log;
    return log.Run([&] { DumpHub(log, sName, false, rWalk, nDepth); });
}

void COpdUsbDeviceTree::DumpHub(const CFunctionLog& log, const std::wstring& sName, bool bRoot, CWalk& rWalk,
                                unsigned nDepth)
{
    // A hub below itself would be walked for ever.
    const auto IsThis = [&](const std::wstring& sOpen) { return EqualsNoCase(sOpen, sName); };
    if (rWalk.nHubs == MaxHubs || std::ranges::any_of(rWalk.OpenHubs, IsThis))
        log.Fail(E_UNEXPECTED, L"The hub \"%s\" cannot stand here.", sName);
    ++rWalk.nHubs;

    const std::wstring sPath = L"\\\\.\\" + sName;
    CFileHandle hHub;
    log.Check(m_pOpenDevice(sPath, hHub.Put()), L"OpenDevice( \"%s\" ) failed. [0x%08X]", sPath);
    USB_NODE_INFORMATION Info;
    log.Check(COpdUsbApi::GetUsbNodeInformation(hHub.Get(), Info), L"COpdUsbApi::GetHubInfo( 0x%08X ) failed. [0x%08X]",
              HandleToULong(hHub.Get()));
    const USB_HUB_INFORMATION& rHub = Info.u.HubInformation;
    CUsbTreeWriter(rWalk.rLogFile, rWalk.bBrief, nDepth).WriteHub({ bRoot, sName, rHub, hHub.Get() });

    rWalk.OpenHubs.push_back(sName);
    const HRESULT hr = EnumerateUsbHubPorts(hHub.Get(), rHub.HubDescriptor.bNumberOfPorts, rWalk, nDepth + 1);
    rWalk.OpenHubs.pop_back();
    log.Check(hr, L"COpdUsbDeviceTree::EnumerateUsbHubPorts() failed. [0x%08X]");
}

HRESULT COpdUsbDeviceTree::EnumerateUsbHubPorts(HANDLE hHub, DWORD nPorts, CWalk& rWalk, unsigned nDepth)
{
    CFunctionLog log;
    return log.Run([&] {
        for (DWORD nPort = 1; nPort <= nPorts; ++nPort)
            DumpPort(log, hHub, nPort, rWalk, nDepth);
    });
}

void COpdUsbDeviceTree::DumpPort(const CFunctionLog& log, HANDLE hHub, DWORD nPort, CWalk& rWalk, unsigned nDepth)
{
    std::unique_ptr<CUsbConnection> pConnection;
    const HRESULT hr = COpdUsbApi::GetUsbNodeConnectionInformation(hHub, nPort, pConnection);
    if (FAILED(hr))
    {
        log.Assert(L"COpdUsbApi::GetUsbNodeConnectionInformation( 0x%08X, %u ) failed. [0x%08X]", HandleToULong(hHub),
                   nPort, hr);
        return;
    }
    WritePort(log, hHub, nPort, *pConnection, CUsbTreeWriter(rWalk.rLogFile, rWalk.bBrief, nDepth));
    if (pConnection->bDeviceIsHub != 0)
        DumpExternalHub(log, hHub, nPort, rWalk, nDepth);
}

void COpdUsbDeviceTree::DumpExternalHub(const CFunctionLog& log, HANDLE hHub, DWORD nPort, CWalk& rWalk,
                                        unsigned nDepth)
{
    std::wstring sName;
    HRESULT hr = COpdUsbApi::GetExternalHubName(hHub, nPort, sName);
    if (FAILED(hr))
    {
        log.Assert(L"COpdUsbApi::GetExternalHubName( 0x%08X, %u ) failed. [0x%08X]", HandleToULong(hHub), nPort, hr);
        return;
    }
    // At the port's own depth: the hub is what stands on the port's line.
    hr = EnumerateUsbHub(sName, rWalk, nDepth);
    if (FAILED(hr))
        log.Assert(L"COpdUsbDeviceTree::EnumerateUsbHub( %s ) failed. [0x%08X]", sName, hr);
}
