// The lines of the USB device tree: each node, and each block of a node, at its indent.
#pragma once

#include <optional>
#include <string>

#include "hardware/OpdUsbApi.h"
#include "opdutility/OpdLogFile.h"

struct CUsbControllerNode
{
    DWORD nNumber;
    std::wstring sDescription;
    std::wstring sPath;
    std::wstring sDriverKey;
    HANDLE hDevice;
};

struct CUsbHubNode
{
    bool bRoot;
    std::wstring sName;
    USB_HUB_INFORMATION Info;
    HANDLE hDevice;
    // Never asked for here: the format of the line is fixed, for a caller that has them.
    std::optional<USB_HUB_CAPABILITIES> Capabilities = {};
};

struct CUsbPortNode
{
    DWORD nPort;
    std::wstring sDescription;
    std::wstring sDriverKey;
    const CUsbConnection& rConnection;
    const COpdUsbApi::CStringList& rStrings;
};

// Writes at one depth. Lines that cannot be written are lost alone.
class CUsbTreeWriter
{
public:
    CUsbTreeWriter(COpdLogFile& rLogFile, bool bBrief, unsigned nDepth);

    void WriteController(const CUsbControllerNode& rNode);
    void WriteHub(const CUsbHubNode& rNode);
    void WritePort(const CUsbPortNode& rNode);
    // The blocks of all records of the configuration; nothing in the brief form.
    void WriteConfiguration(const CFunctionLog& log, CUsbBytes Configuration, const COpdUsbApi::CStringList& rStrings);

private:
    template <typename... Args>
    void Line(CFormat<std::wstring, Args...> format, const Args&... args)
    {
        m_rLogFile.WriteLine(format, m_sIndent, args...);
    }
    void Spacer() { Line(L"%s "); }
    void Separator();

    void WriteHubCharacteristics(const CUsbHubNode& rNode);
    void WriteConnection(const CUsbConnection& rConnection);
    void WriteDevice(const USB_DEVICE_DESCRIPTOR& rDevice, const COpdUsbApi::CStringList& rStrings);
    void WritePipes(const CUsbConnection& rConnection);

    void WriteRecord(CUsbBytes Record, const COpdUsbApi::CStringList& rStrings);
    void WriteConfigurationBlock(CUsbBytes Record, const COpdUsbApi::CStringList& rStrings);
    void WriteInterfaceBlock(CUsbBytes Record, const COpdUsbApi::CStringList& rStrings);
    void WriteEndpointBlock(CUsbBytes Record);
    void WriteHidBlock(CUsbBytes Record);
    void WriteUnknownBlock(CUsbBytes Record);

    COpdLogFile& m_rLogFile;
    bool m_bBrief;
    std::wstring m_sIndent;
};

// The texts of that index, joined: one for each language, and again for each time that the index was read.
[[nodiscard]] std::wstring UsbTextOf(const COpdUsbApi::CStringList& rStrings, BYTE nIndex);
