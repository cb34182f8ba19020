// The Configuration Manager: device nodes, their relations and properties. Its own codes are printed as they are, and
// thrown as E_FAIL.
#pragma once

#include <string>

#include "hardware/OpdDeviceProperty.h"
#include "log/FunctionLog.h"
#include "platform/Win32.h"

#include <cfgmgr32.h>

// Static operations; each gives a result code and keeps no state.
class COpdCmApi
{
public:
    // CM_DRP_...; that a node does not have the property is a failure without a record.
    static HRESULT GetDevNodeRegistryProperty(DEVINST hNode, ULONG ulProperty, CDeviceProperty& rProperty);
    static HRESULT GetDeviceId(DEVINST hNode, std::wstring& rsId);
    static HRESULT GetDevNodeDriverName(DEVINST hNode, std::wstring& rsName);
    static HRESULT GetDevNodeDeviceDesc(DEVINST hNode, std::wstring& rsText);
    // The description of the first node, depth first from the root, whose driver has that name, whatever its case.
    static HRESULT GetDeviceDescByDriverKeyName(const std::wstring& sDriverKey, std::wstring& rsText);
};

// The root of the device tree; throws with its record when there is none.
[[nodiscard]] DEVINST RootNode(const CFunctionLog& log);

// A related node, 0 when there is none.
[[nodiscard]] DEVINST ChildOf(DEVINST hNode);
[[nodiscard]] DEVINST SiblingOf(DEVINST hNode);
[[nodiscard]] DEVINST ParentOf(DEVINST hNode);

// Reads a property for a function that gives its own text for a lack of memory, with the size in it.
[[nodiscard]] CDeviceProperty ReadDevNodeProperty(const CFunctionLog& log, DEVINST hNode, ULONG ulProperty,
                                                  CFormat<DWORD> noMemory);
