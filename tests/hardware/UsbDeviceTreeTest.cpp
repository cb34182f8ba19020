#include <gmock/gmock.h>

#include <cstring>
#include <random>

#include "hardware/OpdUsbDeviceInfo.h"
#include "hardware/OpdUsbDeviceTree.h"
#include "hardware/SamplePc.h"
#include "platform/WideText.h"
#include "support/FakePcUsb.h"
#include "support/LogWatch.h"

namespace
{

using ::testing::Contains;
using ::testing::ElementsAre;
using ::testing::HasSubstr;

constexpr HRESULT NoMore = HRESULT_FROM_WIN32(ERROR_NO_MORE_ITEMS);

struct CUsbPc
{
    CFakePcDevices devices;
    CFakePcIo io;
    CFakePcUsb usb{ TEST_DATA L"\\hardware\\UsbPc.txt", devices, io };
    CTestFolder folder;

    CFakeUsbPort& Port(std::size_t nHub, std::size_t nPort) { return usb.Hubs[nHub].Ports[nPort - 1]; }
    std::string Dump(bool bBrief)
    {
        COpdUsbDeviceTree tree(COpdUsbDeviceTree::StandardOpenDeviceFunction);
        EXPECT_EQ(tree.DumpUsbDeviceTree(folder / L"usb.txt", bBrief), NoMore);
        EXPECT_EQ(io.OpenHandles(), 0u);
        EXPECT_EQ(devices.OpenSets(), 0u);
        return ReadBytes(folder / L"usb.txt");
    }
    // What is told of that port of the root hub, up to the next one.
    std::string DumpPort(int nPort)
    {
        const std::string sText = Dump(false), sStart = "\r\n            [Port";
        const std::size_t nStart = sText.find(sStart + std::to_string(nPort));
        return sText.substr(nStart, sText.find(sStart, nStart + 1) - nStart);
    }
};

// Changes the answers to one request about a port of that number; 6 is one of the root hub alone.
auto OnPort(BYTE nPort, DWORD dwCode, std::function<void(CFakeRequest&, DWORD&)> change)
{
    return [=](CFakeRequest& rRequest, DWORD& rdwError) {
        if (rRequest.dwCode == dwCode && rRequest.In.size() > 4 && rRequest.In[0] == nPort)
            change(rRequest, rdwError);
    };
}

std::size_t Count(const std::string& sText, const std::string& sWhat)
{
    std::size_t nCount = 0;
    for (std::size_t n = 0; (n = sText.find(sWhat, n)) != sText.npos; ++n)
        ++nCount;
    return nCount;
}

// Support reads these files, and compares them from one PC to the next.
TEST(UsbDeviceTree, IsWrittenInBriefAndInDetail)
{
    CUsbPc pc;
    pc.Port(0, 5).sConfiguration = pc.Port(0, 1).sConfiguration; // of the device that failed: nobody asks for it
    EXPECT_EQ(pc.Dump(false), GoldenDump(L"UsbDeviceTree-Detail.txt"));
    EXPECT_EQ(pc.Dump(true), GoldenDump(L"UsbDeviceTree.txt"));
    for (const CFakeOpening& rOpening : pc.io.Openings)
        EXPECT_TRUE(rOpening.dwAccess == GENERIC_WRITE && rOpening.dwShare == FILE_SHARE_WRITE && rOpening.dwDisposition == OPEN_EXISTING);
}

// Before the newer request a device was slow or not; the pipes must come through.
TEST(UsbDeviceTree, IsTheSameOnOldSystemsButForTheSpeeds)
{
    CUsbPc pc;
    pc.usb.bOldSystem = true;
    std::string sExpected = GoldenDump(L"UsbDeviceTree-Detail.txt");
    for (const char* const pSpeed : { "0x02 (High Speed)", "0x03 (Super Speed)" })
    {
        for (std::size_t n; (n = sExpected.find(pSpeed)) != sExpected.npos;)
            sExpected.replace(n, std::strlen(pSpeed), "0x01 (Full Speed)");
    }
    EXPECT_EQ(pc.Dump(false), sExpected);
}

TEST(UsbDeviceTree, IsEmptyWithoutControllers)
{
    CFakePcDevices devices;
    const CTestFolder folder;
    const CLogWatch watch;
    COpdUsbDeviceTree tree(COpdUsbDeviceTree::StandardOpenDeviceFunction);
    EXPECT_EQ(tree.DumpUsbDeviceTree(folder / L"usb.txt"), NoMore);
    EXPECT_EQ(ReadBytes(folder / L"usb.txt"), "");
    const char* const pControllers = "[COpdUsbDeviceTree::EnumerateUsbHostControllers] COpdSetupDi::GetDeviceInterfaceData( "
                                     "GUID_DEVINTERFACE_USB_HOST_CONTROLLER, 0 ) failed. [0x80070103]";
    const char* const pDump = "[COpdUsbDeviceTree::DumpUsbDeviceTree] COpdUsbDeviceTree::EnumerateUsbHostControllers() failed. [0x80070103]";
    EXPECT_THAT(watch.Records(), ElementsAre(HasSubstr("::SetupDiEnumDeviceInterfaces( "), pControllers, pDump));
    HANDLE* const pNowhere = nullptr;
    EXPECT_EQ(COpdUsbDeviceTree::StandardOpenDeviceFunction(L"\\\\.\\x", pNowhere), E_POINTER);
}

// A count from a device must not be believed: there are thirty pipes, and as many HID entries as the record holds. Nor
// is a device asked for the same text a million times.
TEST(UsbDeviceTree, ClampsCounts)
{
    CUsbPc pc;
    pc.Port(0, 1).dwOpenPipes = 4000000000;
    pc.Port(0, 1).sConfiguration = std::string("\x09\x02\x1E\x00\x01\x01\x00\x80\x64\x09\x21\x10\x01\x00\xFF\x22\x41\x00", 18) +
                                   std::string("\x0C\x21\x10\x01\x00\xFF\x22\x41\x00\x22\x05\x00", 12);
    const std::string sPort = pc.DumpPort(1);
    EXPECT_EQ(Count(sPort, "<Endpoint Descriptor>"), 30u);
    EXPECT_THAT(sPort, HasSubstr("Open Pipes             : 4000000000\r\n"));
    EXPECT_THAT(sPort, HasSubstr("bNumDescriptors        : 0xFF\r\n"));
    EXPECT_EQ(Count(sPort, "bDescriptorType[0]     : 0x22\r\n"), 2u);
    EXPECT_EQ(Count(sPort, "wDescriptorLength[1]   : 0x00005\r\n"), 1u);
    EXPECT_EQ(Count(sPort, "wDescriptorLength["), 3u);

    pc.Port(0, 1).Languages.assign(126, 0x409);
    pc.Port(0, 1).sConfiguration = std::string("\x09\x02\x0F\xFF\x01\x01\x00\x80\x64", 9);
    while (pc.Port(0, 1).sConfiguration.size() < 0xFF0F)
        pc.Port(0, 1).sConfiguration += std::string("\x09\x04\x00\x00\x00\x08\x06\x50\x01", 9);
    std::size_t nAsked = 0;
    pc.usb.Tamper = OnPort(1, 0x220410, [&](CFakeRequest& rRequest, DWORD&) { nAsked += rRequest.Out.size() == 267; });
    pc.Dump(true);
    EXPECT_LT(nAsked, 1100u);
}

// What one device gets wrong costs its own lines: the next port follows, and nothing stays open.
TEST(UsbDeviceTree, LosesOnlyWhatADeviceGotWrong)
{
    const auto Fail = [](CFakeRequest&, DWORD& rdwError) { rdwError = ERROR_GEN_FAILURE; };
    const auto Short = [](DWORD dwReturned) { return [=](CFakeRequest& rRequest, DWORD&) { rRequest.dwReturned = dwReturned; }; };
    const auto Byte = [](std::size_t nAt, BYTE nValue, std::size_t nSize = 0) {
        return [=](CFakeRequest& rRequest, DWORD&) {
            if (nSize == 0 || rRequest.Out.size() == nSize)
                rRequest.Out[nAt] = nValue;
        };
    };
    constexpr DWORD Name = 0x220420, Descriptor = 0x220410;
    const char* const pNoConfiguration = "!<Configuration";
    const char* const pNoTexts = "iProduct               : 0x03 ()\r\n";
    const struct
    {
        std::function<void(CFakeRequest&, DWORD&)> Change;
        const char* pTold; // in the device's lines; behind "!", not in them
        const char* pRecord;
    } aCases[] = {
        { OnPort(6, 0x220448, Short(0)), "Speed       : 0x01 (Full", "" },
        { OnPort(6, Name, Fail), "[Port6] \r\n",
          "[COpdUsbDeviceTree::EnumerateUsbHubPorts] COpdUsbApi::GetDriverKeyName( 0x7E000008, 6 ) failed. [0x8007001F]" },
        { OnPort(6, Name, Byte(4, 10)), "[Port6] \r\n",
          "[COpdUsbApi::GetDriverKeyName] stDriverKeyName.ActualLength(10) <= sizeof(USB_NODE_CONNECTION_DRIVERKEY_NAME)" },
        { OnPort(6, Name, Byte(7, 0xFF)), "\\0007\r\n", "" }, // a length of 4 GB
        { OnPort(6, Name, Byte(4, 14, 10)), "Driver Key Name        : {36\r\n", "GetDriverKeyName( 0x7E000008, 6 ) failed. [0x80004005]" },
        { OnPort(6, Descriptor, Fail), pNoConfiguration, "GetConfigDescriptor( 0x7E000008, 6 ) failed. [0x8007001F]" },
        { OnPort(6, Descriptor, Short(20)), pNoConfiguration, "GET_DESCRIPTOR_FROM_NODE_CONNECTION ) failed. Returned:20" },
        { OnPort(6, Descriptor, Byte(14, 8, 21)), pNoConfiguration, "GET_DESCRIPTOR_FROM_NODE_CONNECTION ) failed. wTotalLength:0x08" },
        { OnPort(6, Descriptor, Byte(14, 31, 133)), pNoConfiguration, "GET_DESCRIPTOR_FROM_NODE_CONNECTION ) failed. wTotalLength:0x1F" },
        { OnPort(6, Descriptor, Byte(21, 0, 133)), "!<Interface", "A descriptor without a length ends the configuration." },
        { OnPort(6, Descriptor, Byte(12, 8, 133)), pNoConfiguration, "pCommonDesc->bLength != sizeof(USB_CONFIGURATION_DESCRIPTOR)" },
        { OnPort(6, Descriptor, Byte(21, 10, 133)), "!<Interface", "pCommonDesc->bLength != sizeof(USB_INTERFACE_DESCRIPTOR)" },
        { OnPort(6, Descriptor, Byte(13, 4, 267)), pNoTexts, "GET_DESCRIPTOR_FROM_NODE_CONNECTION ) failed. bDescriptorType:0x04" },
        { OnPort(6, Descriptor, Byte(12, 3, 267)), pNoTexts, "GET_DESCRIPTOR_FROM_NODE_CONNECTION ) failed. bLength:3" },
    };
    const std::string sAll = GoldenDump(L"UsbDeviceTree-Detail.txt");
    const std::string sOthers = sAll.substr(0, sAll.find("            [Port6]"));
    for (const auto& rCase : aCases)
    {
        CUsbPc pc;
        pc.usb.Tamper = rCase.Change;
        const CLogWatch watch;
        const std::string sText = pc.Dump(false);
        ASSERT_TRUE(sText.starts_with(sOthers)) << sText;
        const std::string sPort = sText.substr(sOthers.size());
        const bool bWithout = rCase.pTold[0] == '!';
        EXPECT_EQ(sPort.find(rCase.pTold + bWithout) == sPort.npos, bWithout) << rCase.pTold << sPort;
        if (rCase.pRecord[0] != '\0')
        {
            EXPECT_THAT(watch.Records(), Contains(HasSubstr(rCase.pRecord)));
        }
    }
}

// An odd length of a string is refused, also where it agrees with what came; so is one that leaves no room for its head.
TEST(UsbApi, RefusesStringsOfOddLengths)
{
    CUsbPc pc;
    CFileHandle hHub;
    const std::wstring sPath = L"\\\\.\\" + ToWide(pc.usb.Hubs[0].sName);
    ASSERT_EQ(COpdUsbDeviceTree::StandardOpenDeviceFunction(sPath, hHub.Put()), S_OK);
    BYTE nLength = 0;
    pc.usb.Tamper = [&](CFakeRequest& rRequest, DWORD&) {
        rRequest.Out[12] = nLength;
        rRequest.dwReturned = 12u + nLength;
    };
    const std::pair<BYTE, HRESULT> aCases[] = { { 0, E_FAIL }, { 1, E_FAIL }, { 2, S_OK }, { 9, E_FAIL }, { 254, S_OK }, { 255, E_FAIL } };
    for (const auto& [nGiven, hr] : aCases)
    {
        nLength = nGiven;
        COpdUsbApi::SUsbStringDescriptor descriptor;
        EXPECT_EQ(COpdUsbApi::GetStringDescriptor(hHub.Get(), 1, 1, 0x409, descriptor), hr) << +nGiven;
        EXPECT_EQ(descriptor.RawBytes.size(), SUCCEEDED(hr) ? nGiven : 0u);
    }
}

// Seven is the least length of a controller's name that can hold anything. The second answer may be longer or shorter.
TEST(UsbApi, ReadsNamesWhoseLengthChanges)
{
    CUsbPc pc;
    CFileHandle hController;
    ASSERT_EQ(COpdUsbDeviceTree::StandardOpenDeviceFunction(pc.devices.Find(2)->Interfaces[0].sPath, hController.Put()), S_OK);
    DWORD dwTold = 0;
    std::vector<std::size_t> Sizes;
    pc.usb.Tamper = [&](CFakeRequest& rRequest, DWORD&) {
        Sizes.push_back(rRequest.Out.size());
        if (rRequest.Out.size() == 6)
            std::memcpy(rRequest.Out.data(), &dwTold, sizeof dwTold);
    };
    const std::wstring sKey = L"{36fc9e60-c465-11cf-8056-444553540000}\\0001";
    const struct
    {
        DWORD dwTold;
        HRESULT hrKey, hrHub;
        std::size_t nSize, nCharacters; // of the second call
    } aCases[] = {
        { 0, E_FAIL, E_FAIL, 0, 0 }, { 6, E_FAIL, S_OK, 6, 1 }, { 7, S_OK, S_OK, 7, 2 },
        { 24, S_OK, S_OK, 24, 10 },  { 0xFFFFFFFF, S_OK, S_OK, 65543, 43 },
    };
    for (const auto& rCase : aCases)
    {
        dwTold = rCase.dwTold;
        Sizes.clear();
        std::wstring sName;
        EXPECT_EQ(COpdUsbApi::GetHcdDriverKeyName(hController.Get(), sName), rCase.hrKey) << dwTold;
        EXPECT_EQ(Sizes.size(), dwTold > 6 ? 2u : 1u);
        if (SUCCEEDED(rCase.hrKey))
        {
            EXPECT_EQ(sName, sKey.substr(0, rCase.nCharacters));
        }
        EXPECT_EQ(COpdUsbApi::GetRootHubName(hController.Get(), sName), rCase.hrHub) << dwTold;
        EXPECT_EQ(Sizes.back(), rCase.nSize);
    }
}

// A hub that stands below itself, a broken one, and a controller that cannot be opened end at that place.
TEST(UsbDeviceTree, EndsAtHubsThatCannotBeWalked)
{
    CUsbPc pc;
    pc.Port(2, 1).Fields["external"] = pc.usb.Hubs[1].sName;
    pc.Port(2, 2).Fields["external"] = "NOWHERE";
    const CLogWatch watch;
    EXPECT_EQ(pc.Dump(true), GoldenDump(L"UsbDeviceTree.txt"));
    EXPECT_THAT(watch.Records(), Contains("[COpdUsbDeviceTree::EnumerateUsbHub] The hub \"" + pc.usb.Hubs[1].sName + "\" cannot stand here."));
    EXPECT_THAT(watch.Records(), Contains("[COpdUsbDeviceTree::EnumerateUsbHub] OpenDevice( \"\\\\.\\NOWHERE\" ) failed. [0x80070002]"));
    pc.devices.Find(2)->Interfaces[0].sPath = L"\\\\.\\gone";
    EXPECT_EQ(pc.Dump(true), "");
}

// Mutated answers to every request, of the whole tree and on the way from a drive: no crash, no endless loop, nothing left open.
TEST(UsbDeviceTree, StandsMutatedAnswers)
{
    std::mt19937 random(7);
    CUsbPc pc;
    pc.usb.Tamper = [&](CFakeRequest& rRequest, DWORD& rdwError) {
        const auto nKind = random() % 40;
        if (nKind == 0)
            rdwError = ERROR_GEN_FAILURE;
        else if (nKind == 1)
            rRequest.dwReturned = random() % 300;
        else if (nKind < 5 && !rRequest.Out.empty())
            rRequest.Out[random() % std::min<std::size_t>(rRequest.Out.size(), 80)] = static_cast<BYTE>(random());
        // As large as it may be, the tree of a PC ends.
        if (rRequest.dwCode == 0x220408 && rRequest.Out.size() == 76)
            rRequest.Out[6] %= 8;
    };
    for (int nRound = 0; nRound < 100; ++nRound)
    {
        pc.Dump(nRound % 4 == 0);
        USB_DEVICE_DESCRIPTOR Device;
        std::vector<USB_INTERFACE_DESCRIPTOR> Interfaces;
        COpdUsbDeviceInfo(COpdUsbDeviceInfo::StandardOpenDeviceFunction).GetUsbDescriptors('F' - 'A', Device, &Interfaces, nullptr, nullptr, nullptr);
        EXPECT_EQ(pc.io.OpenHandles(), 0u);
    }
}

} // namespace
