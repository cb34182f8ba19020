#include <gmock/gmock.h>

#include <regex>

#include "hardware/OpdUsbDeviceTree.h"
#include "hardware/SamplePc.h"
#include "support/FakeUsbPc.h"

namespace
{

struct CUsbPc : CFakeUsbPc
{
    CTestFolder folder;

    CFakeUsbPort& Port(std::size_t nHub, std::size_t nPort) { return usb.Hubs[nHub].Ports[nPort - 1]; }
    std::string Dump(bool bBrief)
    {
        COpdUsbDeviceTree tree(COpdUsbDeviceTree::StandardOpenDeviceFunction);
        EXPECT_EQ(tree.DumpUsbDeviceTree(folder / L"usb.txt", bBrief), HRESULT_FROM_WIN32(ERROR_NO_MORE_ITEMS));
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

std::ptrdiff_t Count(const std::string& sText, const char* pPattern)
{
    const std::regex Pattern(pPattern);
    return std::distance(std::sregex_iterator(sText.begin(), sText.end(), Pattern), {});
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
    EXPECT_EQ(pc.Dump(false), std::regex_replace(GoldenDump(L"UsbDeviceTree-Detail.txt"),
                                                 std::regex("0x0[23] \\((High|Super) "), "0x01 (Full "));
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
    EXPECT_EQ(Count(sPort, "<Endpoint Descriptor>"), 30);
    EXPECT_EQ(Count(sPort, "wDescriptorLength"), 3);

    pc.Port(0, 1).Languages.assign(126, 0x409);
    pc.Port(0, 1).sConfiguration = std::string("\x09\x02\x0F\xFF\x01\x01\x00\x80\x64", 9);
    while (pc.Port(0, 1).sConfiguration.size() < 0xFF0F)
        pc.Port(0, 1).sConfiguration += std::string("\x09\x04\x00\x00\x00\x08\x06\x50\x01", 9);
    std::size_t nAsked = 0;
    pc.usb.Tamper = [&](CFakeRequest& rRequest, DWORD&) { nAsked += rRequest.Out.size() == 267; };
    pc.Dump(true);
    EXPECT_LT(nAsked, 1100u);
}

// What one device gets wrong costs its own lines: the next port follows, and nothing stays open.
TEST(UsbDeviceTree, LosesOnlyWhatADeviceGotWrong)
{
    constexpr DWORD Fails = 1000, Answers = 1001;
    constexpr DWORD Name = 0x220420, Descriptor = 0x220410;
    const char *const pNoName = "[Port6] \r\n", *const pNoConfiguration = "!<Configuration",
                      *const pNoProduct = "iProduct               : 0x03 ()\r\n";
    const struct
    {
        DWORD dwCode, dwSize; // of the request; of any size: 0
        DWORD dwAt, dwValue;  // what the device at port 6 of the root hub answers: a byte, or a size
        const char* pTold;    // in its lines; behind "!", not in them
    } aCases[] = {
        { 0x220448, 0, Answers, 0, "Speed       : 0x01 (Full" },
        { Name, 0, Fails, 0, pNoName },
        { Name, 0, 4, 10, pNoName },
        { Name, 0, 7, 0xFF, "\\0007\r\n" }, // a length of 4 GB
        { Name, 10, 4, 14, "Driver Key Name        : {36\r\n" },
        { Descriptor, 0, Fails, 0, pNoConfiguration },
        { Descriptor, 0, Answers, 20, pNoConfiguration },
        { Descriptor, 133, 14, 31, pNoConfiguration }, // longer than before
        { Descriptor, 133, 21, 0, "!<Interface" },     // a record without a length
        { Descriptor, 133, 21, 10, "!<Interface" },
        { Descriptor, 267, 13, 4, pNoProduct }, // of another type
        { Descriptor, 267, 12, 3, pNoProduct }, // of an odd length
    };
    const std::string sAll = GoldenDump(L"UsbDeviceTree-Detail.txt");
    const std::string sOthers = sAll.substr(0, sAll.find("            [Port6]"));
    for (const auto& rCase : aCases)
    {
        CUsbPc pc;
        pc.usb.Tamper = [&](CFakeRequest& rRequest, DWORD& rdwError) {
            if (rRequest.dwCode != rCase.dwCode || rRequest.In.size() < 5 || rRequest.In[0] != 6 ||
                (rCase.dwSize != 0 && rRequest.Out.size() != rCase.dwSize))
                return;
            if (rCase.dwAt < Fails)
                rRequest.Out[rCase.dwAt] = static_cast<BYTE>(rCase.dwValue);
            rRequest.dwReturned = rCase.dwAt == Answers ? rCase.dwValue : rRequest.dwReturned;
            rdwError = rCase.dwAt == Fails ? ERROR_GEN_FAILURE : rdwError;
        };
        const std::string sText = pc.Dump(false);
        ASSERT_TRUE(sText.starts_with(sOthers)) << sText;
        const bool bWithout = rCase.pTold[0] == '!';
        EXPECT_EQ(sText.find(rCase.pTold + bWithout, sOthers.size()) == sText.npos, bWithout) << rCase.pTold << sText;
    }
}

// A hub that stands below itself, a broken one, and a controller that cannot be opened end at that place.
TEST(UsbDeviceTree, EndsAtHubsThatCannotBeWalked)
{
    CUsbPc pc;
    pc.Port(2, 1).Fields["external"] = pc.usb.Hubs[1].sName;
    pc.Port(2, 2).Fields["external"] = "NOWHERE";
    EXPECT_EQ(pc.Dump(true), GoldenDump(L"UsbDeviceTree.txt"));
    // A name of the controller's driver that has no room for a character, then for half of one.
    BYTE nLength = 6;
    pc.usb.Tamper = [&](CFakeRequest& rRequest, DWORD&) { rRequest.Out[0] = nLength; };
    CFileHandle hController;
    std::wstring sName;
    const std::wstring sPath = std::exchange(pc.devices.Find(2)->Interfaces[0].sPath, L"\\\\.\\gone");
    EXPECT_EQ(COpdUsbDeviceTree::StandardOpenDeviceFunction(sPath, hController.Put()), S_OK);
    EXPECT_EQ(COpdUsbApi::GetHcdDriverKeyName(hController.Get(), sName), E_FAIL);
    nLength = 7;
    EXPECT_EQ(COpdUsbApi::GetHcdDriverKeyName(hController.Get(), sName), S_OK);
    EXPECT_EQ(sName, L"{3");
    hController.Close();
    EXPECT_EQ(pc.Dump(true), "");
}

// The walk has no capabilities to tell; whoever has them gets their line.
TEST(UsbTreeWriter, WritesTheCapabilitiesOfAHub)
{
    const CTestFolder folder;
    COpdLogFile file;
    ASSERT_EQ(file.Open(folder / L"hubs.txt"), S_OK);
    for (const bool bHighSpeed : { true, false })
        CUsbTreeWriter(file, false, 1).WriteHub({ false, L"HUB", {}, nullptr, USB_HUB_CAPABILITIES{ bHighSpeed } });
    file.Close();
    const std::string sText = ReadBytes(folder / L"hubs.txt");
    EXPECT_EQ(Count(sText, "Global\r\n        Hub Capabilities       : 0x000001 \\(High Speed\\)\r\n"), 1);
    EXPECT_TRUE(sText.ends_with("\r\n        Hub Capabilities       : 00000000 (Not High Speed)\r\n"));
}

} // namespace
