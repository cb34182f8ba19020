// The USB topology as text: host controllers, root hubs, ports and what is plugged into them.
#pragma once

#include <string>
#include <vector>

#include "hardware/UsbTreeWriter.h"
#include "opdutility/OpenDevice.h"

class COpdUsbDeviceTree
{
public:
    explicit COpdUsbDeviceTree(OpenDeviceFunc pOpenDevice) : m_pOpenDevice(pOpenDevice) {}

    // Opens for writing, as hubs and controllers demand it.
    static HRESULT StandardOpenDeviceFunction(const std::wstring& sPath, HANDLE* phDevice);

    // Creates or empties the file. Brief: one line a node; otherwise with all descriptors. The walk always ends with
    // 0x80070103 behind the last controller, so that a complete dump gives that code.
    HRESULT DumpUsbDeviceTree(const std::wstring& sPath, bool bBrief);
    HRESULT DumpUsbDeviceTree(const std::wstring& sPath) { return DumpUsbDeviceTree(sPath, true); }

private:
    // One dump: where it goes, the hubs of its controller so far, and those on the way to where it is.
    struct CWalk
    {
        COpdLogFile& rLogFile;
        bool bBrief;
        std::size_t nHubs = 0;
        std::vector<std::wstring> OpenHubs = {};
    };

    HRESULT EnumerateUsbHostControllers(CWalk& rWalk, unsigned nDepth);
    HRESULT EnumerateUsbRootHub(const std::wstring& sName, CWalk& rWalk, unsigned nDepth);
    HRESULT EnumerateUsbHub(const std::wstring& sName, CWalk& rWalk, unsigned nDepth);
    HRESULT EnumerateUsbHubPorts(HANDLE hHub, DWORD nPorts, CWalk& rWalk, unsigned nDepth);

    void DumpController(const CFunctionLog& log, DWORD nNumber, const std::wstring& sPath, CWalk& rWalk,
                        unsigned nDepth);
    void DumpHub(const CFunctionLog& log, const std::wstring& sName, bool bRoot, CWalk& rWalk, unsigned nDepth);
    void DumpPort(const CFunctionLog& log, HANDLE hHub, DWORD nPort, CWalk& rWalk, unsigned nDepth);
    void DumpExternalHub(const CFunctionLog& log, HANDLE hHub, DWORD nPort, CWalk& rWalk, unsigned nDepth);

    OpenDeviceFunc m_pOpenDevice;
};
