#include <gmock/gmock.h>

#include <algorithm>
#include <regex>
#include <sstream>

#include "hardware/OpdUsbDeviceTree.h"
#include "support/FakeUsbPc.h"
#include "support/Golden.h"

namespace
{

struct CUsbPc : CFakeUsbPc
{
    CTestFolder folder;

    std::string Dump(bool bBrief)
    {
        COpdUsbDeviceTree tree(COpdUsbDeviceTree::StandardOpenDeviceFunction);
        EXPECT_EQ(tree.DumpUsbDeviceTree(folder / L"usb.txt", bBrief), HRESULT_FROM_WIN32(ERROR_NO_MORE_ITEMS));
        return ReadBytes(folder / L"usb.txt");
    }
};

std::ptrdiff_t Count(const std::string& sText, const char* pPattern)
{
    const std::regex Pattern(pPattern);
    return std::distance(std::sregex_iterator(sText.begin(), sText.end(), Pattern), {});
}

// Support reads these files, and compares them from one PC to the next. Before the newer request a device was slow or
// not; the pipes must come through.
TEST(UsbDeviceTree, IsWrittenInBriefAndInDetail)
{
    CUsbPc pc;
    const std::string sDetail = pc.Dump(false);
    ExpectGolden(L"hardware\\UsbDeviceTree-Detail.txt", sDetail, L"");
    ExpectGolden(L"hardware\\UsbDeviceTree.txt", pc.Dump(true), L"");
    pc.io.Tamper = [](const auto&, CFakeRequest& rRequest, DWORD& rdwError) {
        rdwError = rRequest.dwCode == 0x220448 ? ERROR_INVALID_FUNCTION : rdwError;
    };
    EXPECT_EQ(pc.Dump(false), std::regex_replace(sDetail, std::regex("0x0[23] \\((High|Super) "), "0x01 (Full "));
}

// A count from a device must not be believed: there are thirty pipes, and as many HID entries as the record holds. Nor
// is a device asked for the same text a million times.
TEST(UsbDeviceTree, ClampsCounts)
{
    CUsbPc pc;
    const std::string sBefore = pc.Dump(false);
    std::string& rsConfiguration = pc.root["220410 01 00 00 00 00 00 00 02"];
    pc.root["220448 01 00 00 00"].replace(23, 4, Bytes("00 28 6B EE"));
    rsConfiguration = Bytes(
        "09 02 1E 00 01 01 00 80 64  09 21 10 01 00 FF 22 41 00  0C 21 10 01 00 FF 22 41 00 22 05 00");
    const std::string sAfter = pc.Dump(false);
    // Two pipes were there before, and two in the configuration that went.
    EXPECT_EQ(Count(sAfter, "<Endpoint Descriptor>") - Count(sBefore, "<Endpoint Descriptor>"), 30 - 2 - 2);
    EXPECT_EQ(Count(sAfter, "wDescriptorLength") - Count(sBefore, "wDescriptorLength"), 3);

    pc.root["220410 01 00 00 00 00 00 00 03"] = Bytes("FE 03");
    for (int n = 0; n < 126; ++n)
        pc.root["220410 01 00 00 00 00 00 00 03"] += Bytes("09 04");
    rsConfiguration = Bytes("09 02 0F FF 01 01 00 80 64");
    while (rsConfiguration.size() < 0xFF0F)
        rsConfiguration += Bytes("09 04 00 00 00 08 06 50 01");
    std::size_t nAsked = 0;
    pc.io.Tamper = [&](const auto&, CFakeRequest& rRequest, DWORD&) { nAsked += rRequest.Out.size() == 267; };
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
    std::string sLog;
    for (const auto& rCase : aCases)
    {
        CUsbPc pc;
        const CLogWatch usual;
        const std::string sAll = pc.Dump(false), sOthers = sAll.substr(0, sAll.find("            [Port6]"));
        const std::vector<std::string> Usual = usual.Records();
        pc.io.Tamper = [&](const auto&, CFakeRequest& rRequest, DWORD& rdwError) {
            if (rRequest.dwCode != rCase.dwCode || rRequest.In.size() < 5 || rRequest.In[0] != 6 ||
                (rCase.dwSize != 0 && rRequest.Out.size() != rCase.dwSize))
                return;
            if (rCase.dwAt < Fails)
                rRequest.Out[rCase.dwAt] = static_cast<BYTE>(rCase.dwValue);
            rRequest.dwReturned = rCase.dwAt == Answers ? rCase.dwValue : rRequest.dwReturned;
            rdwError = rCase.dwAt == Fails ? ERROR_GEN_FAILURE : rdwError;
        };
        const CLogWatch watch;
        const std::string sText = pc.Dump(false);
        sLog += "== " + std::to_string(&rCase - aCases) + "\r\n";
        for (const std::string& rRecord : watch.Records())
            sLog += std::ranges::count(Usual, rRecord) == 0 ? rRecord + "\r\n" : "";
        ASSERT_TRUE(sText.starts_with(sOthers)) << sText;
        const bool bWithout = rCase.pTold[0] == '!';
        EXPECT_EQ(sText.find(rCase.pTold + bWithout, sOthers.size()) == sText.npos, bWithout) << rCase.pTold << sText;
    }
    ExpectGolden(L"hardware\\UsbDeviceTree.log", sLog, L"");
}

// A hub that stands below itself, a broken one, and a controller that cannot be opened end at that place.
TEST(UsbDeviceTree, EndsAtHubsThatCannotBeWalked)
{
    CUsbPc pc;
    const std::string sBefore = pc.Dump(true);
    auto& rInner = pc.io.Answers[L"\\\\.\\USB#VID_0424&PID_2502#6&4&0&1#{f18a0e88-c30c-11d0-8815-00a0c906bed8}"];
    rInner["220448 01 00 00 00"][20] = rInner["220448 02 00 00 00"][20] = 1;
    rInner["220414 01 00 00 00"] = pc.root["220414 03 00 00 00"];
    rInner["220414 02 00 00 00"] = Bytes("18 00 00 00 \"NOWHERE|");
    EXPECT_EQ(pc.Dump(true), sBefore);
    pc.devices.Find(2)->Interfaces[0].sPath = L"\\\\.\\gone";
    EXPECT_EQ(pc.Dump(true), "");
}

// Eight hubs that each name all of them are no loop, but a walk of a hundred thousand hubs.
TEST(UsbDeviceTree, EndsAtMoreHubsThanABusHas)
{
    CUsbPc pc;
    std::ostringstream Hubs;
    for (int nHub = 1; nHub <= 8; ++nHub)
    {
        Hubs << "device \\\\.\\hub" << nHub << "\nanswer 220408 00 00 00 00 = 09 29 08 00 00\n";
        for (int nPort = 1; nPort <= 8; ++nPort)
            Hubs << "answer 220448 0" << nPort
                 << " 00 00 00 = 12 01 00 02 09 00 01 40 00 00 00 00 00 00 00 00 00 00 00 00 01\n"
                 << "answer 220414 0" << nPort << " 00 00 00 = 12 00 00 00 \"hub" << nPort << "|\n";
    }
    pc.io.Describe(pc.folder.Write(L"hubs.txt", Hubs.str()));
    pc.root["220414 03 00 00 00"] = Bytes("12 00 00 00 \"hub1|");
    std::size_t nHubs = 0;
    pc.io.Tamper = [&](const auto&, CFakeRequest& rRequest, DWORD&) {
        nHubs += rRequest.dwCode == 0x220408 && !rRequest.In.empty();
    };
    for (int nDump = 1; nDump <= 2; ++nDump)
    {
        pc.Dump(true);
        EXPECT_EQ(nHubs, 127u * static_cast<unsigned>(nDump));
    }
}

} // namespace
