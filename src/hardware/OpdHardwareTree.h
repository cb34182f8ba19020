// The device tree of the Configuration Manager as a text file.
#pragma once

#include <string>

#include "hardware/OpdHardwareString.h"
#include "platform/Win32.h"

#include <cfgmgr32.h>

class COpdLogFile;

class COpdHardwareTree
{
public:
    // Depth first from the root. In brief a line for each node, with its name; in detail a block of its properties.
    // What a node does not tell is left out. A line that its depth makes too long for a line file is lost.
    HRESULT DumpDeviceTree(const std::wstring& sPath, bool bBrief);
    HRESULT DumpDeviceTree(const std::wstring& sPath) { return DumpDeviceTree(sPath, true); }

private:
    static void DumpNode(COpdLogFile& rFile, DEVINST hNode, const std::wstring& sIndent);
    static std::wstring NodeName(DEVINST hNode);
    static bool GetPropertyLines(DEVINST hNode, ULONG ulProperty, COpdHardwareString::CLines& rLines);
    static HRESULT GetDevNodeRegistryProperty(DEVINST hNode, ULONG ulProperty, CDeviceProperty& rProperty);
    static HRESULT GetPropertyString(ULONG ulProperty, const CDeviceProperty& rProperty,
                                     COpdHardwareString::CLines& rLines);
};
