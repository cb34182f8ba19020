// The block of properties that stands in the dumps for a node or a device.
#pragma once

#include <span>
#include <string>

#include "hardware/OpdHardwareString.h"
#include "log/FunctionLog.h"
#include "platform/Table.h"

class COpdLogFile;

// Every property has two numbers: CM_DRP_... for a node, and the one below it, SPDRP_..., for a device of a set. The
// tables here go by the first and name what both have in common. In the order of the dumps; the last two are known to
// device sets only.
[[nodiscard]] std::span<const CNameRow<ULONG>> NodeProperties();
[[nodiscard]] std::span<const CNameRow<ULONG>> DevicePropertiesByNodeNumber();

// The text of a property with that CM_DRP_... number, for the function whose log it is.
HRESULT FormatProperty(const CFunctionLog& log, ULONG ulNumber, const CDeviceProperty& rProperty,
                       COpdHardwareString::CLines& rLines);

// The lines of one property behind its label, "CM_DRP_SERVICE   : "; nothing for a property without lines.
void WriteProperty(COpdLogFile& rFile, const std::wstring& sIndent, const std::wstring& sPrefix, const wchar_t* pName,
                   const COpdHardwareString::CLines& rLines);
