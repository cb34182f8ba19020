#include "hardware/OpdHardwareString.h"

#include <algorithm>
#include <cstring>
#include <iterator>

#include "hardware/ByteFigures.h"
#include "hardware/OpdHardwareStringTable.h"
#include "log/FunctionLog.h"
#include "platform/FlagTable.h"

namespace
{

static_assert(sizeof(CM_POWER_DATA) == 56);

// The data as one value; it must have that size.
template <typename T>
T ValueOf(const CDeviceProperty& rProperty)
{
    T value;
    std::memcpy(&value, rProperty.Data.data(), sizeof value);
    return value;
}

DWORD NumberOf(const CFunctionLog& log, const CDeviceProperty& rProperty)
{
    if (rProperty.Data.size() != sizeof(UINT32))
        log.Fail(E_INVALIDARG, L"ulDataSize != sizeof(UINT32)");
    return ValueOf<DWORD>(rProperty);
}

// Of a state that the table does not have.
constexpr CFormat<DWORD> UnknownValue(L"Unknown (0x%08X)");

// The number itself, then a line for each of its bits.
template <std::size_t N>
void AppendFlags(const CNameRow<DWORD> (&aTable)[N], DWORD dwValue, COpdHardwareString::CLines& rLines)
{
    rLines.push_back(FormatText(L"0x%08X", dwValue));
    ForEachFlag(aTable, dwValue, [&](const wchar_t* pName) { rLines.emplace_back(pName); });
}

void AppendPowerStates(const CM_POWER_DATA& rPower, COpdHardwareString::CLines& rLines)
{
    static constexpr const wchar_t* aLabels[] = {
        L"PowerState[Unspecified]: ", L"PowerState[Working]    : ", L"PowerState[Sleeping1]  : ",
        L"PowerState[Sleeping2]  : ", L"PowerState[Sleeping3]  : ", L"PowerState[Hibernate]  : ",
        L"PowerState[Shutdown]   : ",
    };
    static_assert(std::size(aLabels) == std::size(decltype(rPower.PD_PowerStateMapping){}));
    for (std::size_t n = 0; n < std::size(aLabels); ++n)
        rLines.push_back(aLabels[n] +
                         NameOr(DevicePowerStateNames, RawNumber(rPower.PD_PowerStateMapping[n]), UnknownValue));
    // There is no eighth entry. The dumps have always shown the word behind the seven, a system state, as if it were
    // one.
    rLines.push_back(L"PowerState[Maximum]    : " +
                     NameOr(DevicePowerStateNames, RawNumber(rPower.PD_DeepestSystemWake), UnknownValue));
}

std::wstring BinaryText(const std::vector<BYTE>& rData)
{
    // The blank stands behind every byte, the last one too.
    return rData.empty() ? std::wstring() : HexText(rData) + L' ';
}

void AppendList(std::wstring_view sList, COpdHardwareString::CLines& rLines)
{
    while (!sList.empty() && sList.front() != L'\0')
    {
        const std::wstring_view sEntry = UpToZero(sList);
        rLines.emplace_back(sEntry);
        sList.remove_prefix(std::min(sEntry.size() + 1, sList.size()));
    }
}

} // namespace

HRESULT COpdHardwareString::GetString_CAPABILITIES(const CDeviceProperty& rProperty, CLines& rLines)
{
    CFunctionLog log;
    return log.Run([&] { AppendFlags(CapabilityNames, NumberOf(log, rProperty), rLines); });
}

HRESULT COpdHardwareString::GetString_CONFIGFLAGS(const CDeviceProperty& rProperty, CLines& rLines)
{
    CFunctionLog log;
    return log.Run([&] { AppendFlags(ConfigFlagNames, NumberOf(log, rProperty), rLines); });
}

HRESULT COpdHardwareString::GetString_DEVICE_POWER_DATA(const CDeviceProperty& rProperty, CLines& rLines)
{
    CFunctionLog log;
    return log.Run([&] {
        if (rProperty.Data.size() != sizeof(CM_POWER_DATA))
            log.Fail(E_INVALIDARG, L"ulDataSize != sizeof(CM_POWER_DATA)");
        const auto power = ValueOf<CM_POWER_DATA>(rProperty);
        rLines.push_back(L"MostRecentPowerState: " +
                         NameOr(DevicePowerStateNames, RawNumber(power.PD_MostRecentPowerState), UnknownValue));
        rLines.push_back(L"Capabilities: " + FlagsText(PowerCapabilityNames, power.PD_Capabilities, L" | "));
        rLines.push_back(FormatText(L"D1 Latency: %u", power.PD_D1Latency));
        rLines.push_back(FormatText(L"D2 Latency: %u", power.PD_D2Latency));
        rLines.push_back(FormatText(L"D3 Latency: %u", power.PD_D3Latency));
        AppendPowerStates(power, rLines);
        rLines.push_back(L"DeepestSystemWake: " +
                         NameOr(SystemPowerStateNames, RawNumber(power.PD_DeepestSystemWake), UnknownValue));
    });
}

HRESULT COpdHardwareString::GetString_INSTALL_STATE(const CDeviceProperty& rProperty, CLines& rLines)
{
    CFunctionLog log;
    return log.Run([&] { rLines.push_back(NameOr(InstallStateNames, NumberOf(log, rProperty), UnknownValue)); });
}

HRESULT COpdHardwareString::GetString_Default(const CDeviceProperty& rProperty, CLines& rLines)
{
    CFunctionLog log;
    return log.Run([&] {
        const std::size_t nSize = rProperty.Data.size();
        switch (rProperty.ulType)
        {
        case REG_BINARY:
            rLines.push_back(BinaryText(rProperty.Data));
            break;
        case REG_DWORD:
            if (nSize == sizeof(DWORD))
                rLines.push_back(FormatText(L"0x%08X", ValueOf<DWORD>(rProperty)));
            break;
        case REG_QWORD:
            // Sixteen digits, but only the low half has ever been shown.
            if (nSize == sizeof(ULONGLONG))
                rLines.push_back(FormatText(L"0x%016X", static_cast<DWORD>(ValueOf<ULONGLONG>(rProperty))));
            break;
        case REG_MULTI_SZ:
            AppendList(rProperty.Characters(), rLines);
            break;
        default: // REG_SZ, REG_EXPAND_SZ, and what has no form of its own
            rLines.push_back(rProperty.Text());
            break;
        }
    });
}
