#include <gmock/gmock.h>

#include "hardware/OpdUsbDeviceInfo.h"
#include "support/FakeUsbPc.h"
#include "support/TestFolder.h"

namespace
{

// What a drive's device has told, on one line.
struct CAsked
{
    HRESULT hr = E_FAIL;
    USB_DEVICE_DESCRIPTOR Device{};
    std::vector<USB_INTERFACE_DESCRIPTOR> Interfaces;
    std::wstring sManufacturer = L"-", sProduct = L"-", sSerial = L"-";

    explicit CAsked(wchar_t cDrive)
    {
        const COpdUsbDeviceInfo info(COpdUsbDeviceInfo::StandardOpenDeviceFunction);
        hr = info.GetUsbDescriptors(static_cast<BYTE>(cDrive - L'A'), Device, &Interfaces, &sManufacturer, &sProduct,
                                    &sSerial);
    }
    std::string Told() const
    {
        std::wstring sText = FormatText(L"%04X %04X|%s|%s|%s|", Device.idVendor, Device.idProduct, sManufacturer,
                                        sProduct, sSerial);
        for (const USB_INTERFACE_DESCRIPTOR& rInterface : Interfaces)
            sText += FormatText(L"%u.%u:%02X/%02X ", rInterface.bInterfaceNumber, rInterface.bAlternateSetting,
                                rInterface.bInterfaceClass, rInterface.bInterfaceProtocol);
        return Utf8(sText);
    }
};

struct CUsbDrives : CFakeUsbPc
{
    // The node of the disk of that number.
    DEVINST Disk(DWORD dwNumber)
    {
        for (DEVINST h = 1; h <= devices.Nodes().size(); ++h)
        {
            const auto& rInterfaces = devices.Find(h)->Interfaces;
            if (!rInterfaces.empty() && rInterfaces[0].sPath == FormatText(L"\\\\?\\disk%u", dwNumber))
                return h;
        }
        return 0;
    }
};

// The report names the maker of a drive by this way; the wrong port would name the wrong one.
TEST(UsbDeviceInfo, FindsTheDeviceOfADrive)
{
    CUsbDrives pc;
    EXPECT_EQ(CAsked(L'E').Told(), "0781 5567|SanDisk|Cruzer Blade|4C530001|0.0:08/50 ");
    EXPECT_EQ(CAsked(L'F').Told(), "174C 55AA|asmedia|ASMT1051|MSFT30NA7C|0.0:08/50 0.1:08/62 ");
    // A slot of a card reader behind two hubs: it is the device on the nearest one.
    EXPECT_EQ(CAsked(L'L').Told(), "058F 6362|Generic|Mass Storage Device|058F63626476|0.0:08/50 ");
    // The first language wins; an index without a text is empty.
    CFakeUsbPort& rPort = pc.usb.Hubs[0].Ports[0];
    rPort.Languages = { 0x407, 0x409 };
    rPort.Strings[{ 2, 0x407 }] = L"Stick";
    rPort.Strings.erase({ 3, 0x409 });
    EXPECT_EQ(CAsked(L'E').Told(), "0781 5567|SanDisk|Stick||0.0:08/50 ");
    rPort.Languages.clear();
    EXPECT_EQ(CAsked(L'E').Told(), "0781 5567||||0.0:08/50 ");
    // An interface of eleven bytes counts, one of ten ends the walk.
    rPort.sConfiguration = std::string(
                               "\x09\x02\x27\x00\x01\x01\x00\x80\x64\x0B\x04\x00\x00\x00\x08\x06\x50\x00\x01\x00", 20) +
                           std::string("\x0A\x04\x01\x00\x00\x08\x06\x50\x00\x01\x09\x04\x02\x00\x00\x08\x06\x50\x00",
                                       19);
    EXPECT_EQ(CAsked(L'E').Told(), "0781 5567||||0.0:08/50 ");
    rPort.sConfiguration.clear();
    EXPECT_EQ(CAsked(L'E').Told(), "0781 5567||||");
}

// A drive must not get the name of another one's device: each step's failure ends the way, or passes a device over.
TEST(UsbDeviceInfo, TellsWhereTheWayEnds)
{
    const HRESULT NoMore = HRESULT_FROM_WIN32(ERROR_NO_MORE_ITEMS), NoFile = HRESULT_FROM_WIN32(ERROR_FILE_NOT_FOUND);
    const struct
    {
        wchar_t cDrive;
        std::function<void(CUsbDrives&)> Change;
        HRESULT hr;
    } aCases[] = {
        { L'G', [](CUsbDrives&) {}, NoFile },
        { L'E', [](CUsbDrives& rPc) { rPc.devices.Find(rPc.Disk(1))->Interfaces.clear(); }, NoMore },
        // The disk in front of the wanted one cannot be opened; a path without its header is passed over.
        { L'F', [](CUsbDrives& rPc) { rPc.devices.Find(rPc.Disk(1))->Interfaces[0].sPath = L"\\\\.\\gone"; }, NoFile },
        { L'F', [](CUsbDrives& rPc) { rPc.devices.Find(rPc.Disk(1))->Interfaces[0].sPath = L"x"; }, S_OK },
        // A disk that is on no hub: up to the top of the tree. Then trees that are none.
        { L'E', [](CUsbDrives& rPc) { rPc.devices.Find(rPc.Disk(1))->hParent = 1; }, E_FAIL },
        { L'E', [](CUsbDrives& rPc) { rPc.devices.bRelationsUntouched = true; }, E_FAIL },
        { L'E', [](CUsbDrives& rPc) { rPc.devices.Find(rPc.Disk(1))->hParent = rPc.Disk(1); }, E_UNEXPECTED },
        { L'E', [](CUsbDrives& rPc) { rPc.usb.Hubs[0].Ports[0].dwStatus = 0; }, E_FAIL },
        // A device without a driver in front of the wanted one, and a port that does not answer.
        { L'F', [](CUsbDrives& rPc) { rPc.devices.Find(3)->Properties.clear(); }, S_OK },
        { L'F', [](CUsbDrives& rPc) { rPc.usb.Hubs[0].Ports[1].Fields.erase("key"); }, S_OK },
    };
    for (const auto& rCase : aCases)
    {
        CUsbDrives pc;
        rCase.Change(pc);
        const CAsked asked(rCase.cDrive);
        EXPECT_EQ(asked.hr, rCase.hr) << &rCase - aCases;
        EXPECT_EQ(asked.sProduct, SUCCEEDED(rCase.hr) ? L"ASMT1051" : L"-");
    }
}

} // namespace
