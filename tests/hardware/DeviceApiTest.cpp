#include <gmock/gmock.h>

#include "hardware/OpdCmApi.h"
#include "hardware/OpdHardwareString.h"
#include "hardware/OpdSetupDi.h"
#include "support/FakePcDevices.h"
#include "support/TestFolder.h"

namespace
{

using namespace std::string_literals;

// Between the question for the size and the one for the data a device may change or go: neither more than the room nor
// more than was stored may be taken over.
TEST(DeviceProperty, SurvivesWhatChangesBetweenTheTwoCalls)
{
    CFakePcDevices pc;
    const struct
    {
        CFakeProperty Property;
        HRESULT hr;
        std::string sBytes;
    } aCases[] = {
        { { REG_BINARY, "" }, S_OK, "" },
        { { REG_BINARY, "abc", "abcdefgh" }, S_OK, "abcdefgh" },
        { { REG_BINARY, "abc", "a" }, S_OK, "a" },
        { { REG_BINARY, "abc", nullptr, CR_SUCCESS, 1000 }, S_OK, "abc"s + std::string(997, '\0') },
        { { REG_BINARY, "abc", nullptr, CR_SUCCESS, 2 }, S_OK, "ab" },
        { { REG_BINARY, "abc", nullptr, CR_SUCCESS, 0xFFFFFFFF }, E_OUTOFMEMORY, "" },
        { { REG_BINARY, "abc", nullptr, CR_FAILURE }, E_FAIL, "" },
    };
    for (const auto& rCase : aCases)
    {
        SP_DEVINFO_DATA device{
            sizeof device, {}, pc.Add(0, { .Properties = { { CM_DRP_DEVICE_POWER_DATA, rCase.Property } } }), 0
        };
        CDeviceInfoSet hSet;
        ASSERT_EQ(COpdSetupDi::GetClassDevices(L"", hSet), S_OK);
        CDeviceProperty node, inSet;
        EXPECT_EQ(COpdCmApi::GetDevNodeRegistryProperty(device.DevInst, CM_DRP_DEVICE_POWER_DATA, node), rCase.hr);
        EXPECT_EQ(FAILED(COpdSetupDi::GetDeviceRegistryProperty(hSet.Get(), device, SPDRP_DEVICE_POWER_DATA, inSet)),
                  FAILED(rCase.hr));
        EXPECT_EQ(std::string(node.Data.begin(), node.Data.end()).substr(0, rCase.sBytes.size()), rCase.sBytes);
        EXPECT_EQ(inSet.Data, node.Data);
    }
    EXPECT_EQ(pc.OpenSets(), 0u);
}

// What the dumps of the sample PC do not reach.
TEST(HardwareString, NamesEveryValueAndRefusesEveryOtherSize)
{
    const auto Number = [](DWORD dwValue) { return std::string(reinterpret_cast<const char*>(&dwValue), 4); };
    std::string sPower(56, '\0');
    sPower[4] = 99; // most recent state
    sPower[52] = 8; // deepest wake
    const struct
    {
        COpdHardwareString::Formatter pFormatter;
        ULONG ulType;
        std::string sBytes;
        HRESULT hr;
        std::string sLines; // joined
    } aCases[] = {
        { COpdHardwareString::GetString_CONFIGFLAGS, REG_DWORD, Number(0xFFFC1FFF), S_OK,
          "0xFFFC1FFF/DISABLED/REMOVED/MANUAL INSTALL/IGNORE BOOT LC/NET BOOT/REINSTALL/FAILED INSTALL/CANT STOP A "
          "CHILD/OK REMOVE ROM/"
          "NO REMOVE EXIT/FINISH INSTALL/NEEDS FORCED CONFIG/" },
        { COpdHardwareString::GetString_CONFIGFLAGS, REG_DWORD, Number(0x3F000), S_OK,
          "0x0003F000/PARTIAL LOG CONF/SUPPRESS SURPRISE/VERIFY HARDWARE/FINISH INSTALL UI/FINISH INSTALL ACTION/" },
        { COpdHardwareString::GetString_CAPABILITIES, REG_DWORD, Number(0x2B), S_OK,
          "0x0000002B/LOCK SUPPORTED/EJECT SUPPORTED/DOCK DEVICE/SILENT INSTALL/" },
        { COpdHardwareString::GetString_CAPABILITIES, REG_DWORD, "123", E_INVALIDARG, "" },
        { COpdHardwareString::GetString_INSTALL_STATE, REG_DWORD, Number(1), S_OK, "Needs Reinstall/" },
        { COpdHardwareString::GetString_INSTALL_STATE, REG_DWORD, "", E_INVALIDARG, "" },
        { COpdHardwareString::GetString_DEVICE_POWER_DATA, REG_BINARY, sPower, S_OK,
          "MostRecentPowerState: Unknown (0x00000063)/Capabilities: /D1 Latency: 0/D2 Latency: 0/D3 Latency: 0/"
          "PowerState[Unspecified]: Unspecified/PowerState[Working]    : Unspecified/PowerState[Sleeping1]  : "
          "Unspecified/"
          "PowerState[Sleeping2]  : Unspecified/PowerState[Sleeping3]  : Unspecified/PowerState[Hibernate]  : "
          "Unspecified/"
          "PowerState[Shutdown]   : Unspecified/PowerState[Maximum]    : Unknown (0x00000008)/DeepestSystemWake: "
          "Unknown (0x00000008)/" },
        { COpdHardwareString::GetString_DEVICE_POWER_DATA, REG_BINARY, std::string(55, '\0'), E_INVALIDARG, "" },
        { COpdHardwareString::GetString_Default, REG_DWORD, Number(0xABCDEF01), S_OK, "0xABCDEF01/" },
        { COpdHardwareString::GetString_Default, REG_DWORD, "12345", S_OK, "" },
        { COpdHardwareString::GetString_Default, REG_QWORD, "1234567", S_OK, "" },
        { COpdHardwareString::GetString_Default, REG_EXPAND_SZ, "%\0a\0"s, S_OK, "%a/" },
        { COpdHardwareString::GetString_Default, REG_MULTI_SZ, "a\0\0\0b\0\0\0\0\0c\0\0\0"s, S_OK, "a/b/" },
        { COpdHardwareString::GetString_Default, REG_MULTI_SZ, "a", S_OK, "" },
        { COpdHardwareString::GetString_Default, REG_BINARY, "", S_OK, "/" },
    };
    for (const auto& rCase : aCases)
    {
        COpdHardwareString::CLines Lines;
        EXPECT_EQ(rCase.pFormatter({ rCase.ulType, { rCase.sBytes.begin(), rCase.sBytes.end() } }, Lines), rCase.hr);
        std::string sLines;
        for (const std::wstring& sLine : Lines)
            sLines += Utf8(sLine) + '/';
        EXPECT_EQ(sLines, rCase.sLines);
    }
}

} // namespace
