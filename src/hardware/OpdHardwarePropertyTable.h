// The properties that the dumps ask for, and those with a form of their own.
#pragma once

#include <algorithm>
#include <functional>

#include "hardware/OpdHardwareString.h"
#include "platform/Table.h"

#include <cfgmgr32.h>

inline constexpr CNameRow<ULONG> PropertyRows[] = {
    { CM_DRP_DEVICEDESC, L"DEVICEDESC" },
    { CM_DRP_HARDWAREID, L"HARDWAREID" },
    { CM_DRP_COMPATIBLEIDS, L"COMPATIBLEIDS" },
    { CM_DRP_SERVICE, L"SERVICE" },
    { CM_DRP_CLASS, L"CLASS" },
    { CM_DRP_CLASSGUID, L"CLASSGUID" },
    { CM_DRP_DRIVER, L"DRIVER" },
    { CM_DRP_CONFIGFLAGS, L"CONFIGFLAGS" },
    { CM_DRP_MFG, L"MFG" },
    { CM_DRP_FRIENDLYNAME, L"FRIENDLYNAME" },
    { CM_DRP_LOCATION_INFORMATION, L"LOCATION_INFORMATION" },
    { CM_DRP_PHYSICAL_DEVICE_OBJECT_NAME, L"PHYSICAL_DEVICE_OBJECT_NAME" },
    { CM_DRP_CAPABILITIES, L"CAPABILITIES" },
    { CM_DRP_UI_NUMBER, L"UI_NUMBER" },
    { CM_DRP_UPPERFILTERS, L"UPPERFILTERS" },
    { CM_DRP_LOWERFILTERS, L"LOWERFILTERS" },
    { CM_DRP_BUSTYPEGUID, L"BUSTYPEGUID" },
    { CM_DRP_LEGACYBUSTYPE, L"LEGACYBUSTYPE" },
    { CM_DRP_BUSNUMBER, L"BUSNUMBER" },
    { CM_DRP_ENUMERATOR_NAME, L"ENUMERATOR_NAME" },
    { CM_DRP_SECURITY, L"SECURITY" },
    { CM_DRP_SECURITY_SDS, L"SECURITY_SDS" },
    { CM_DRP_DEVTYPE, L"DEVTYPE" },
    { CM_DRP_EXCLUSIVE, L"EXCLUSIVE" },
    { CM_DRP_CHARACTERISTICS, L"CHARACTERISTICS" },
    { CM_DRP_ADDRESS, L"ADDRESS" },
    { CM_DRP_UI_NUMBER_DESC_FORMAT, L"UI_NUMBER_DESC_FORMAT" },
    { CM_DRP_DEVICE_POWER_DATA, L"DEVICE_POWER_DATA" },
    { CM_DRP_REMOVAL_POLICY, L"REMOVAL_POLICY" },
    { CM_DRP_REMOVAL_POLICY_HW_DEFAULT, L"REMOVAL_POLICY_HW_DEFAULT" },
    { CM_DRP_REMOVAL_POLICY_OVERRIDE, L"REMOVAL_POLICY_OVERRIDE" },
    { CM_DRP_INSTALL_STATE, L"INSTALL_STATE" },
    { CM_DRP_LOCATION_PATHS, L"LOCATION_PATHS" },
    { CM_DRP_BASE_CONTAINERID, L"BASE_CONTAINERID" },
};
inline constexpr std::size_t NodePropertyCount = 32;
inline constexpr std::size_t PropertyNameWidth = 27;

// Each row once, in rising order.
static_assert(std::ranges::adjacent_find(PropertyRows, std::ranges::greater_equal{}, &CNameRow<ULONG>::value) ==
              std::end(PropertyRows));

struct CFormatterRow
{
    ULONG ulNumber;
    COpdHardwareString::Formatter pFormatter;
};
inline constexpr CFormatterRow FormatterRows[] = {
    { CM_DRP_CONFIGFLAGS, COpdHardwareString::GetString_CONFIGFLAGS },
    { CM_DRP_CAPABILITIES, COpdHardwareString::GetString_CAPABILITIES },
    { CM_DRP_DEVICE_POWER_DATA, COpdHardwareString::GetString_DEVICE_POWER_DATA },
    { CM_DRP_INSTALL_STATE, COpdHardwareString::GetString_INSTALL_STATE },
};
