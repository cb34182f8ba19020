#include <gmock/gmock.h>

#include <cstring>
#include <random>

#include "hardware/OpdUsbDeviceInfo.h"
#include "hardware/OpdUsbDeviceTree.h"
#include "hardware/SamplePc.h"
#include "support/FakePcUsb.h"
#include "support/FuzzRounds.h"

namespace
{

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

// A count from a device must not be believed: there are thirty pipes, and as many HID entries as the record holds. Nor
// is a device asked for the same text a million times.
TEST(UsbDeviceTree, ClampsCounts)
{
    CUsbPc pc;
    pc.Port(0, 1).dwOpenPipes = 4000000000;
    pc.Port(0, 1).sConfiguration = std::string(
                                       "\x09\x02\x1E\x00\x01\x01\x00\x80\x64\x09\x21\x10\x01\x00\xFF\x22\x41\x00", 18) +
                                   std::string("\x0C\x21\x10\x01\x00\xFF\x22\x41\x00\x22\x05\x00", 12);
    const std::string sPort = pc.DumpPort(1);
    EXPECT_EQ(Count(sPort, "<Endpoint Descriptor>"), 30u);
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
    const auto Short = [](DWORD dwReturned) {
        return [=](CFakeRequest& rRequest, DWORD&) { rRequest.dwReturned = dwReturned; };
    };
    const auto Byte = [](std::size_t nAt, BYTE nValue, std::size_t nSize = 0) {
        return [=](CFakeRequest& rRequest, DWORD&) {
            if (nSize == 0 || rRequest.Out.size() == nSize)
                rRequest.Out[nAt] = nValue;
        };
    };
    constexpr DWORD Name = 0x220420, Descriptor = 0x220410;
    const char* const pNoConfiguration = "!<Configuration";
    const struct
    {
        std::function<void(CFakeRequest&, DWORD&)> Change;
        const char* pTold; // in the device's lines; behind "!", not in them
    } aCases[] = {
        { OnPort(6, 0x220448, Short(0)), "Speed       : 0x01 (Full" },
        { OnPort(6, Name, Fail), "[Port6] \r\n" },
        { OnPort(6, Name, Byte(4, 10)), "[Port6] \r\n" },
        { OnPort(6, Name, Byte(7, 0xFF)), "\\0007\r\n" }, // a length of 4 GB
        { OnPort(6, Name, Byte(4, 14, 10)), "Driver Key Name        : {36\r\n" },
        { OnPort(6, Descriptor, Fail), pNoConfiguration },
        { OnPort(6, Descriptor, Short(20)), pNoConfiguration },
        { OnPort(6, Descriptor, Byte(14, 31, 133)), pNoConfiguration }, // longer than before
        { OnPort(6, Descriptor, Byte(21, 0, 133)), "!<Interface" },     // a record without a length
        { OnPort(6, Descriptor, Byte(21, 10, 133)), "!<Interface" },
        { OnPort(6, Descriptor, Byte(13, 4, 267)), "iProduct               : 0x03 ()\r\n" }, // a string of another type
        { OnPort(6, Descriptor, Byte(12, 3, 267)), "iProduct               : 0x03 ()\r\n" }, // and of an odd length
    };
    const std::string sAll = GoldenDump(L"UsbDeviceTree-Detail.txt");
    const std::string sOthers = sAll.substr(0, sAll.find("            [Port6]"));
    for (const auto& rCase : aCases)
    {
        CUsbPc pc;
        pc.usb.Tamper = rCase.Change;
        const std::string sText = pc.Dump(false);
        ASSERT_TRUE(sText.starts_with(sOthers)) << sText;
        const std::string sPort = sText.substr(sOthers.size());
        const bool bWithout = rCase.pTold[0] == '!';
        EXPECT_EQ(sPort.find(rCase.pTold + bWithout) == sPort.npos, bWithout) << rCase.pTold << sPort;
    }
}

// A hub that stands below itself, a broken one, and a controller that cannot be opened end at that place.
TEST(UsbDeviceTree, EndsAtHubsThatCannotBeWalked)
{
    CUsbPc pc;
    pc.Port(2, 1).Fields["external"] = pc.usb.Hubs[1].sName;
    pc.Port(2, 2).Fields["external"] = "NOWHERE";
    EXPECT_EQ(pc.Dump(true), GoldenDump(L"UsbDeviceTree.txt"));
    pc.devices.Find(2)->Interfaces[0].sPath = L"\\\\.\\gone";
    EXPECT_EQ(pc.Dump(true), "");
}

// Mutated answers to every request, of the whole tree and on the way from a drive: no crash, no endless loop, nothing
// left open.
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
    for (int nRound = FuzzRounds(100); nRound > 0; --nRound)
    {
        pc.Dump(nRound % 4 == 0);
        USB_DEVICE_DESCRIPTOR Device;
        std::vector<USB_INTERFACE_DESCRIPTOR> Interfaces;
        COpdUsbDeviceInfo(COpdUsbDeviceInfo::StandardOpenDeviceFunction)
            .GetUsbDescriptors('F' - 'A', Device, &Interfaces, nullptr, nullptr, nullptr);
        EXPECT_EQ(pc.io.OpenHandles(), 0u);
    }
}

} // namespace
