#include <gmock/gmock.h>

#include <algorithm>

#include "hardware/OpdUsbDeviceInfo.h"
#include "support/FakeUsbPc.h"
#include "support/Golden.h"

namespace
{

// What a drive's device has told, on one line; the result code of a way that did not end there.
std::string Told(wchar_t cDrive)
{
    USB_DEVICE_DESCRIPTOR Device{};
    std::vector<USB_INTERFACE_DESCRIPTOR> Interfaces;
    std::wstring sManufacturer, sProduct, sSerial;
    const HRESULT hr = COpdUsbDeviceInfo(COpdUsbDeviceInfo::StandardOpenDeviceFunction)
                           .GetUsbDescriptors(static_cast<BYTE>(cDrive - L'A'), Device, &Interfaces, &sManufacturer,
                                              &sProduct, &sSerial);
    std::wstring sText = FormatText(L"%04X %04X|%s|%s|%s|", Device.idVendor, Device.idProduct, sManufacturer, sProduct,
                                    sSerial);
    for (const USB_INTERFACE_DESCRIPTOR& rInterface : Interfaces)
        sText += FormatText(L"%u.%u:%02X/%02X ", rInterface.bInterfaceNumber, rInterface.bAlternateSetting,
                            rInterface.bInterfaceClass, rInterface.bInterfaceProtocol);
    return Utf8(SUCCEEDED(hr) ? sText : FormatText(L"%08X", hr));
}

// The report names the maker of a drive by this way; the wrong text would name the wrong one. The first language wins;
// an index without a text is empty.
TEST(UsbDeviceInfo, ReadsTheTextsOfTheDeviceOfADrive)
{
    CFakeUsbPc pc;
    std::string& rsLanguages = pc.root["220410 01 00 00 00 00 00 00 03"];
    rsLanguages = Bytes("06 03 07 04 09 04");
    pc.root["220410 01 00 00 00 00 00 02 03 07 04"] = Bytes("0C 03 \"Stick");
    pc.root.erase("220410 01 00 00 00 00 00 03 03 09 04");
    EXPECT_EQ(Told(L'E'), "0781 5567|SanDisk|Stick||0.0:08/50 ");
    rsLanguages = Bytes("02 03");
    EXPECT_EQ(Told(L'E'), "0781 5567||||0.0:08/50 ");
    // An interface of eleven bytes counts, one of ten ends the walk.
    std::string& rsConfiguration = pc.root["220410 01 00 00 00 00 00 00 02"];
    rsConfiguration = Bytes("09 02 27 00 01 01 00 80 64  0B 04 00 00 00 08 06 50 00 01 00 "
                            "0A 04 01 00 00 08 06 50 00 01  09 04 02 00 00 08 06 50 00");
    EXPECT_EQ(Told(L'E'), "0781 5567||||0.0:08/50 ");
    rsConfiguration.clear();
    EXPECT_EQ(Told(L'E'), "0781 5567||||");
}

// A drive must not get the name of another one's device: each step's failure ends the way, or passes a device over.
TEST(UsbDeviceInfo, TellsWhereTheWayEnds)
{
    constexpr DEVINST Disk = 5; // the one of drive E, in front of that of drive F
    const std::string sOther = "174C 55AA|asmedia|ASMT1051|MSFT30NA7C|0.0:08/50 0.1:08/62 ";
    const struct
    {
        wchar_t cDrive;
        std::function<void(CFakeUsbPc&)> Change;
        std::string sTold;
    } aCases[] = {
        { L'G', [](CFakeUsbPc&) {}, "80070002" },
        { L'E', [](CFakeUsbPc& rPc) { rPc.devices.Find(Disk)->Interfaces.clear(); }, "80070103" },
        // The disk in front of the wanted one cannot be opened; a path without its header is passed over.
        { L'F', [](CFakeUsbPc& rPc) { rPc.devices.Find(Disk)->Interfaces[0].sPath = L"\\\\.\\gone"; }, "80070002" },
        { L'F', [](CFakeUsbPc& rPc) { rPc.devices.Find(Disk)->Interfaces[0].sPath = L"x"; }, sOther },
        // A disk that is on no hub: up to the top of the tree. Then trees that are none.
        { L'E', [](CFakeUsbPc& rPc) { rPc.devices.Find(Disk)->hParent = 1; }, "80004005" },
        { L'E', [](CFakeUsbPc& rPc) { rPc.devices.bRelationsUntouched = true; }, "80004005" },
        { L'E', [](CFakeUsbPc& rPc) { rPc.devices.Find(Disk)->hParent = Disk; }, "8000FFFF" },
        { L'E', [](CFakeUsbPc& rPc) { rPc.root["220448 01 00 00 00"] = Bytes("00"); }, "80004005" },
        // A device without a driver in front of the wanted one, and a port that does not answer.
        { L'F', [](CFakeUsbPc& rPc) { rPc.devices.Find(3)->Properties.clear(); }, sOther },
        { L'F', [](CFakeUsbPc& rPc) { rPc.root.erase("220420 02 00 00 00"); }, sOther },
    };
    std::string sLog;
    for (const auto& rCase : aCases)
    {
        CFakeUsbPc pc;
        rCase.Change(pc);
        const CLogWatch watch;
        EXPECT_EQ(Told(rCase.cDrive), rCase.sTold) << &rCase - aCases;
        std::vector<std::string> Records = watch.Records();
        Records.erase(std::ranges::unique(Records).begin(), Records.end()); // a tree without a top is climbed long
        sLog += "== " + std::to_string(&rCase - aCases) + "\r\n" + Joined(Records);
    }
    ExpectGolden(L"hardware\\UsbDeviceInfo.log", sLog, L"");
}

} // namespace
