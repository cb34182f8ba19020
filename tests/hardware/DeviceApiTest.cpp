#include <gmock/gmock.h>

#include <algorithm>
#include <cstring>

#include "hardware/OpdCmApi.h"
#include "hardware/OpdHardwareString.h"
#include "hardware/OpdSetupDi.h"
#include "support/FakePcDevices.h"
#include "support/LogWatch.h"
#include "support/TestFolder.h"

namespace
{

using namespace std::string_literals;
using ::testing::ElementsAre;

constexpr GUID Class{ 0x53f56307, 0xb6bf, 0x11d0, { 0x94, 0xf2, 0x00, 0xa0, 0xc9, 0x1e, 0xfb, 0x8b } };

std::string BytesOf(const CDeviceProperty& rProperty)
{
    return { rProperty.Data.begin(), rProperty.Data.end() };
}

// Between the question for the size and the one for the data a device may change or go: neither more than the room nor
// more than was stored may be taken over.
TEST(DeviceProperty, SurvivesWhatChangesBetweenTheTwoCalls)
{
    CFakePcDevices pc;
    const struct
    {
        CFakeProperty Property;
        HRESULT hr;
        std::string sBytes, sRecord; // of the Configuration Manager
        HRESULT hrSet;
        std::string sRecordSet;
    } aCases[] = {
        { { REG_BINARY, "abc" }, S_OK, "abc", "", S_OK, "" },
        { { REG_BINARY, "" }, S_OK, "", "", S_OK, "" },
        { { REG_BINARY, "abc", "abcdefgh" }, S_OK, "abcdefgh", "", S_OK, "" },
        { { REG_BINARY, "abc", "a" }, S_OK, "a", "", S_OK, "" },
        { { REG_BINARY, "abc", nullptr, CR_SUCCESS, 1000 }, S_OK, "abc"s + std::string(997, '\0'), "", S_OK, "" },
        { { REG_BINARY, "abc", nullptr, CR_SUCCESS, 2 }, S_OK, "ab", "", S_OK, "" },
        { { REG_BINARY, "abc", nullptr, CR_SUCCESS, 0xFFFFFFFF }, E_OUTOFMEMORY, "",
          "CHeapPtr<UINT8>::AllocateBytes( 4294967295 ) failed.", E_OUTOFMEMORY,
          "CHeapPtr<UINT8>::AllocateBytes( 4294967295 ) failed." },
        { { REG_BINARY, "abc", nullptr, CR_FAILURE }, E_FAIL, "", "::CM_Get_DevNode_Registry_Property( 0x0000001F ) failed. [CONFIGRET:0x00000013]",
          HRESULT_FROM_WIN32(ERROR_GEN_FAILURE), "::SetupDiGetDeviceRegistryProperty( 0x0000001E ) failed. [0x8007001F]" },
    };
    for (const auto& rCase : aCases)
    {
        SP_DEVINFO_DATA device{ sizeof device, {}, pc.Add(0, { .Properties = { { CM_DRP_DEVICE_POWER_DATA, rCase.Property } } }), 0 };
        CDeviceInfoSet hSet;
        ASSERT_EQ(COpdSetupDi::GetClassDevices(L"", hSet), S_OK);
        CDeviceProperty node, inSet;
        const CLogWatch watch;
        EXPECT_EQ(COpdCmApi::GetDevNodeRegistryProperty(device.DevInst, CM_DRP_DEVICE_POWER_DATA, node), rCase.hr);
        EXPECT_EQ(COpdSetupDi::GetDeviceRegistryProperty(hSet.Get(), device, SPDRP_DEVICE_POWER_DATA, inSet), rCase.hrSet);
        EXPECT_EQ(BytesOf(node).substr(0, rCase.sBytes.size()), rCase.sBytes);
        EXPECT_EQ(BytesOf(inSet), BytesOf(node));
        std::vector<std::string> Expected;
        if (!rCase.sRecord.empty())
            Expected = { "[COpdCmApi::GetDevNodeRegistryProperty] " + rCase.sRecord, "[COpdSetupDi::GetDeviceRegistryProperty] " + rCase.sRecordSet };
        EXPECT_EQ(watch.Records(), Expected);
    }
    EXPECT_EQ(pc.OpenSets(), 0u);
}

// The USB reports name their devices by this search; it must find the first one, and end when there is none.
TEST(CmApi, FindsADescriptionByDriverKey)
{
    CFakePcDevices pc;
    const auto Node = [](const std::wstring& sDriver, CFakeProperty description) {
        return CFakeNode{ .Properties = { { CM_DRP_DRIVER, FakeText(sDriver) }, { CM_DRP_DEVICEDESC, std::move(description) } } };
    };
    const DEVINST hRoot = pc.Add(0, {}), hHub = pc.Add(hRoot, Node(L"{a}\\0001", FakeText(L"Hub")));
    pc.Add(hHub, Node(L"{A}\\0002", FakeText(L"Mouse")));
    pc.Add(hRoot, Node(L"{a}\\0002", FakeText(L"Second")));
    pc.Add(hRoot, Node(L"{a}\\0003", { REG_SZ, "" }));
    const CLogWatch watch;
    std::wstring sText;
    EXPECT_EQ(COpdCmApi::GetDeviceDescByDriverKeyName(L"{A}\\0002", sText), S_OK);
    EXPECT_EQ(Utf8(sText), "Mouse");
    EXPECT_EQ(pc.sRelations, "c1 c2 ");
    pc.sRelations.clear();
    EXPECT_EQ(COpdCmApi::GetDeviceDescByDriverKeyName(L"{a}\\0009", sText), E_FAIL);
    EXPECT_EQ(pc.sRelations, "c1 c2 c3 s3 p3 s2 c4 s4 c5 s5 p5 s1 p1 ");
    EXPECT_EQ(COpdCmApi::GetDeviceDescByDriverKeyName(L"{a}\\0003", sText), E_UNEXPECTED);
    pc.crLocate = CR_NO_SUCH_DEVNODE;
    EXPECT_EQ(COpdCmApi::GetDeviceDescByDriverKeyName(L"{a}\\0002", sText), E_FAIL);
    const std::string NoDriver = "[COpdCmApi::GetDevNodeDriverName] "
                                 "COpdCmApi::GetDevNodeRegistryProperty( 0x00000001, CM_DRP_DRIVER ) failed. [0x80004005]";
    const std::string Search = "[COpdCmApi::GetDeviceDescByDriverKeyName] ";
    EXPECT_THAT(watch.Records(),
                ElementsAre(NoDriver, NoDriver, Search + "The DevNode couldn't be found. [DriverKeyName:{a}\\0009]", NoDriver,
                            "[COpdCmApi::GetDevNodeDeviceDesc] ulDataSize == 0", Search + "COpdCmApi::GetDevNodeDeviceDesc() failed. [0x8000FFFF]",
                            Search + "::CM_Locate_DevNode( CM_LOCATE_DEVNODE_NORMAL ) failed. [CONFIGRET:0x0000000D]"));
}

// The search goes up by the parents' own links: it must ask each only once, and believe none that is no node.
TEST(CmApi, SearchesLargeTreesInLinearTime)
{
    constexpr std::size_t Levels = 1000, Nodes = 100'000;
    CFakePcDevices pc;
    const CFakeNode node{ .Properties = { { CM_DRP_DRIVER, FakeText(L"{a}\\0001") } } };
    DEVINST hNode = pc.Add(0, node);
    for (std::size_t n = 1; n < Levels; ++n)
        hNode = pc.Add(hNode, node);
    for (std::size_t n = Levels; n < Nodes; ++n)
        pc.Add(hNode, node);
    std::wstring sText;
    EXPECT_EQ(COpdCmApi::GetDeviceDescByDriverKeyName(L"{a}\\0002", sText), E_FAIL);
    EXPECT_EQ(std::ranges::count(pc.sRelations, 'c'), std::ptrdiff_t{ Nodes });
    EXPECT_EQ(std::ranges::count(pc.sRelations, 's'), std::ptrdiff_t{ Nodes });
    EXPECT_EQ(std::ranges::count(pc.sRelations, 'p'), std::ptrdiff_t{ Levels + 1 });
    pc.bRelationsUntouched = true;
    EXPECT_EQ(COpdCmApi::GetDeviceDescByDriverKeyName(L"{a}\\0002", sText), E_FAIL);
}

TEST(DeviceApi, GivesIdsAndSaysWhatItCouldNotGive)
{
    CFakePcDevices pc;
    const DEVINST hNode = pc.Add(0, { .sId = L"USB\\VID_1\\5" }), hLong = pc.Add(0, { .sId = std::wstring(201, L'x') });
    SP_DEVINFO_DATA device{ sizeof device, {}, hNode, 0 }, longId{ sizeof device, {}, hLong, 0 }, gone{ sizeof gone, {}, 9, 0 };
    const auto hSet = reinterpret_cast<HDEVINFO>(0x15);
    std::wstring sByNode, sBySet;
    const CLogWatch watch;
    EXPECT_EQ(COpdCmApi::GetDeviceId(hNode, sByNode), S_OK);
    EXPECT_EQ(COpdSetupDi::GetDeviceInstanceId(hSet, device, sBySet), S_OK);
    EXPECT_EQ(Utf8(sByNode), "USB\\VID_1\\5");
    EXPECT_EQ(sBySet, sByNode);
    EXPECT_EQ(COpdCmApi::GetDeviceId(9, sByNode), E_FAIL);
    EXPECT_EQ(COpdCmApi::GetDeviceId(hLong, sByNode), E_OUTOFMEMORY);
    EXPECT_EQ(COpdSetupDi::GetDeviceInstanceId(hSet, gone, sBySet), HRESULT_FROM_WIN32(ERROR_NO_SUCH_DEVINST));
    EXPECT_EQ(COpdSetupDi::GetDeviceInstanceId(hSet, longId, sBySet), E_OUTOFMEMORY);
    EXPECT_THAT(watch.Records(), ElementsAre("[COpdCmApi::GetDeviceId] ::CM_Get_Device_ID_Size( 0x00000009 ) failed. [0x00000005]",
                                             "[COpdCmApi::GetDeviceId] CHeapPtr<TCHAR>::Allocate( 201 ) failed.",
                                             "[COpdSetupDi::GetDeviceInstanceId] ::SetupDiGetDeviceInstanceId( 0x00000015 ) failed. [0xE000020B]",
                                             "[COpdSetupDi::GetDeviceInstanceId] CHeapPtr<TCHAR>::Allocate( 202 ) failed."));
}

// The walk from a class to the paths of its devices, as the USB parts go it.
TEST(SetupDi, WalksFromAClassToItsDevicePaths)
{
    CFakePcDevices pc;
    pc.Add(0, { .sId = L"USB\\A\\1", .Interfaces = { { Class, L"\\\\?\\usb#a" }, { {}, L"\\\\?\\other" }, { Class, L"x" } } });
    pc.Add(0, { .sId = L"PCI\\B\\1", .Interfaces = { { Class, L"\\\\?\\gone" } }, .bPresent = false });
    const DEVINST hLast = pc.Add(0, { .sId = L"USB\\C\\1", .Interfaces = { { Class, L"\\\\?\\usb#c" } } });
    CDeviceInfoSet hSet;
    SP_DEVICE_INTERFACE_DATA item;
    SP_DEVINFO_DATA device;
    std::wstring sPath;
    const CLogWatch watch;
    ASSERT_EQ(COpdSetupDi::GetClassDevices(Class, hSet), S_OK);
    ASSERT_EQ(COpdSetupDi::GetDeviceInterfaceData(hSet.Get(), Class, 0, item), S_OK);
    EXPECT_EQ(COpdSetupDi::GetDeviceInterfaceDetail(hSet.Get(), item, sPath), S_OK);
    EXPECT_EQ(Utf8(sPath), "\\\\?\\usb#a");
    ASSERT_EQ(COpdSetupDi::GetDeviceInterfaceData(hSet.Get(), Class, 1, item), S_OK);
    EXPECT_EQ(COpdSetupDi::GetDeviceInterfaceDetail(hSet.Get(), item, sPath), E_UNEXPECTED); // shorter than its own header
    ASSERT_EQ(COpdSetupDi::GetDeviceInterfaceData(hSet.Get(), Class, 2, item), S_OK);
    EXPECT_EQ(COpdSetupDi::GetDeviceInterfaceDetail(hSet.Get(), item, device, sPath), S_OK);
    EXPECT_EQ(Utf8(sPath), "\\\\?\\usb#c");
    EXPECT_EQ(device.DevInst, hLast);
    EXPECT_EQ(COpdSetupDi::GetDeviceInterfaceData(hSet.Get(), Class, 3, item), HRESULT_FROM_WIN32(ERROR_NO_MORE_ITEMS));
    ASSERT_EQ(COpdSetupDi::GetClassDevices(L"USB", hSet), S_OK);
    EXPECT_EQ(pc.OpenSets(), 1u) << "the set before it was not given back";
    EXPECT_EQ(COpdSetupDi::GetDevInfoData(hSet.Get(), 1, device), S_OK);
    EXPECT_EQ(device.DevInst, hLast);
    CDeviceProperty property;
    EXPECT_EQ(COpdSetupDi::GetDeviceRegistryProperty(hSet.Get(), device, SPDRP_DRIVER, property), HRESULT_FROM_WIN32(ERROR_INVALID_DATA));
    hSet.Close();
    EXPECT_EQ(COpdSetupDi::GetDevInfoData(reinterpret_cast<HDEVINFO>(0x15), 7, device), HRESULT_FROM_WIN32(ERROR_INVALID_USER_BUFFER));
    pc.dwSetError = ERROR_ACCESS_DENIED;
    EXPECT_EQ(COpdSetupDi::GetClassDevices(Class, hSet), E_ACCESSDENIED);
    EXPECT_EQ(COpdSetupDi::GetClassDevices(L"USB", hSet), E_ACCESSDENIED);
    const std::string Guid = "{53F56307-B6BF-11D0-94F2-00A0C91EFB8B}";
    EXPECT_THAT(pc.SetFlags, ElementsAre(18, 6, 18, 6));
    EXPECT_THAT(watch.Records(), ElementsAre("[COpdSetupDi::GetDeviceInterfaceDetail] ::SetupDiGetDeviceInterfaceDetail() failed. [0x8000FFFF]",
                                             "[COpdSetupDi::GetDeviceInterfaceData] "
                                             "::SetupDiEnumDeviceInterfaces( " + Guid + ", 3 ) failed. [0x80070103]",
                                             "[COpdSetupDi::GetDeviceRegistryProperty] "
                                             "::SetupDiGetDeviceRegistryProperty( 0x00000009 ) failed. [0x8007000D]",
                                             "[COpdSetupDi::GetDevInfoData] ::SetupDiEnumDeviceInfo( 0x00000015, 7 ) failed. [0x800706F8]",
                                             "[COpdSetupDi::GetClassDevices] ::SetupDiGetClassDevs( " + Guid + " ) failed. [0x80070005]",
                                             "[COpdSetupDi::GetClassDevices] ::SetupDiGetClassDevs( USB ) failed. [0x80070005]"));
    EXPECT_EQ(pc.OpenSets(), 0u);
}

// What the dumps of the sample PC do not reach.
TEST(HardwareString, NamesEveryValueAndRefusesEveryOtherSize)
{
    const auto Number = [](DWORD dwValue) { return std::string(reinterpret_cast<const char*>(&dwValue), 4); };
    std::string sPower(56, '\0');
    sPower[4] = 99;  // most recent state
    sPower[52] = 8;  // deepest wake
    const struct
    {
        COpdHardwareString::Formatter pFormatter;
        ULONG ulType;
        std::string sBytes;
        HRESULT hr;
        std::string sLines; // joined
    } aCases[] = {
        { COpdHardwareString::GetString_CONFIGFLAGS, REG_DWORD, Number(0xFFFC1FFF), S_OK,
          "0xFFFC1FFF/DISABLED/REMOVED/MANUAL INSTALL/IGNORE BOOT LC/NET BOOT/REINSTALL/FAILED INSTALL/CANT STOP A CHILD/OK REMOVE ROM/"
          "NO REMOVE EXIT/FINISH INSTALL/NEEDS FORCED CONFIG/" },
        { COpdHardwareString::GetString_CONFIGFLAGS, REG_DWORD, Number(0x3F000), S_OK,
          "0x0003F000/PARTIAL LOG CONF/SUPPRESS SURPRISE/VERIFY HARDWARE/FINISH INSTALL UI/FINISH INSTALL ACTION/" },
        { COpdHardwareString::GetString_CAPABILITIES, REG_DWORD, Number(0x2B), S_OK,
          "0x0000002B/LOCK SUPPORTED/EJECT SUPPORTED/DOCK DEVICE/SILENT INSTALL/" },
        { COpdHardwareString::GetString_CAPABILITIES, REG_DWORD, "123", E_INVALIDARG, "" },
        { COpdHardwareString::GetString_INSTALL_STATE, REG_DWORD, Number(1), S_OK, "Needs Reinstall/" },
        { COpdHardwareString::GetString_INSTALL_STATE, REG_DWORD, Number(2), S_OK, "Failed Install/" },
        { COpdHardwareString::GetString_INSTALL_STATE, REG_DWORD, Number(3), S_OK, "Finish Install/" },
        { COpdHardwareString::GetString_INSTALL_STATE, REG_DWORD, "", E_INVALIDARG, "" },
        { COpdHardwareString::GetString_DEVICE_POWER_DATA, REG_BINARY, sPower, S_OK,
          "MostRecentPowerState: Unknown (0x00000063)/Capabilities: /D1 Latency: 0/D2 Latency: 0/D3 Latency: 0/"
          "PowerState[Unspecified]: Unspecified/PowerState[Working]    : Unspecified/PowerState[Sleeping1]  : Unspecified/"
          "PowerState[Sleeping2]  : Unspecified/PowerState[Sleeping3]  : Unspecified/PowerState[Hibernate]  : Unspecified/"
          "PowerState[Shutdown]   : Unspecified/PowerState[Maximum]    : Unknown (0x00000008)/DeepestSystemWake: Unknown (0x00000008)/" },
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
