// The raw data of a device property as lines of text: the first is the property's value, each further one continues it.
#pragma once

#include <string>
#include <vector>

#include "hardware/OpdDeviceProperty.h"

// Static operations without a state. Each appends its lines, or fails without having appended any.
class COpdHardwareString
{
public:
    using CLines = std::vector<std::wstring>;
    using Formatter = HRESULT (*)(const CDeviceProperty& rProperty, CLines& rLines);

    static HRESULT GetString_CAPABILITIES(const CDeviceProperty& rProperty, CLines& rLines);
    static HRESULT GetString_CONFIGFLAGS(const CDeviceProperty& rProperty, CLines& rLines);
    // A CM_POWER_DATA.
    static HRESULT GetString_DEVICE_POWER_DATA(const CDeviceProperty& rProperty, CLines& rLines);
    static HRESULT GetString_INSTALL_STATE(const CDeviceProperty& rProperty, CLines& rLines);
    // By the registry type. A number of another size than its type's has no text.
    static HRESULT GetString_Default(const CDeviceProperty& rProperty, CLines& rLines);
};
