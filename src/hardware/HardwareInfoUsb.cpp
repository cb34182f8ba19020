// The report's blocks about a USB drive: its descriptors, and what it says of itself as a SCSI device.
#include <wrl/client.h>

#include <algorithm>
#include <array>

#include "hardware/ByteFigures.h"
#include "hardware/HardwareInfoCollector.h"
#include "hardware/HardwareInfoTables.h"
#include "hardware/OpdUsbDeviceInfo.h"
#include "platform/CodePage.h"
#include "platform/Drive.h"
#include "platform/Text.h"
#include "sptioctl/StdIoCtlStdUtil.h"

namespace
{

constexpr BYTE SubclassScsi = 6;
constexpr BYTE SubclassSff8070i = 5;
constexpr BYTE InquirySize = 0x38;

using CInquiry = std::array<BYTE, InquirySize>;

// A cut of the answer as text: its exact length, up to a zero byte, nothing trimmed.
std::wstring InquiryText(const CInquiry& rInquiry, std::size_t nStart, std::size_t nLength)
{
    return ToWide(UpToZero({ reinterpret_cast<const char*>(rInquiry.data()) + nStart, nLength }));
}

void OutputDeviceDescriptor(CResultLog& rReport, const USB_DEVICE_DESCRIPTOR& rDevice,
                            const std::wstring& sManufacturer, const std::wstring& sProduct,
                            const std::wstring& sSerial)
{
    rReport.WriteLine(L"");
    rReport.WriteLine(L"  *** USB DEVICE DESCRIPTOR ***");
    rReport.WriteLine(L"  bLength           : 0x%02X", rDevice.bLength);
    rReport.WriteLine(L"  bDescriptorType   : 0x%02X", rDevice.bDescriptorType);
    rReport.WriteLine(L"  bcdUSB            : 0x%04X", WORD{ rDevice.bcdUSB });
    rReport.WriteLine(L"  bDeviceClass      : 0x%02X \"%s\"", rDevice.bDeviceClass,
                      NameOf(UsbClassTextTable, rDevice.bDeviceClass, L"Unknown"));
    rReport.WriteLine(L"  bDeviceSubClass   : 0x%02X", rDevice.bDeviceSubClass);
    rReport.WriteLine(L"  bDeviceProtocol   : 0x%02X", rDevice.bDeviceProtocol);
    rReport.WriteLine(L"  bMaxPacketSize0   : 0x%02X", rDevice.bMaxPacketSize0);
    rReport.WriteLine(L"  idVendor          : 0x%04X", WORD{ rDevice.idVendor });
    rReport.WriteLine(L"  idProduct         : 0x%04X", WORD{ rDevice.idProduct });
    rReport.WriteLine(L"  bcdDevice         : 0x%04X", WORD{ rDevice.bcdDevice });
    rReport.WriteLine(L"  iManufacturer     : 0x%04X \"%s\"", rDevice.iManufacturer, sManufacturer);
    rReport.WriteLine(L"  iProduct          : 0x%04X \"%s\"", rDevice.iProduct, sProduct);
    rReport.WriteLine(L"  iSerialNumber     : 0x%04X \"%s\"", rDevice.iSerialNumber, sSerial);
    rReport.WriteLine(L"  bNumConfigurations: 0x%02X", rDevice.bNumConfigurations);
}

void OutputInterfaceDescriptor(CResultLog& rReport, const USB_INTERFACE_DESCRIPTOR& rInterface)
{
    const bool bStorage = rInterface.bInterfaceClass == UsbClassMassStorage;
    const auto Named = [bStorage](const auto& rTable, BYTE nValue) {
        return bStorage ? FormatText(L" \"%s\"", NameOf(rTable, nValue, L"Reserved")) : std::wstring();
    };
    rReport.WriteLine(L"");
    rReport.WriteLine(L"  *** USB INTERFACE DESCRIPTOR ***");
    rReport.WriteLine(L"  bLength           : 0x%02X", rInterface.bLength);
    rReport.WriteLine(L"  bDescriptorType   : 0x%02X", rInterface.bDescriptorType);
    rReport.WriteLine(L"  bInterfaceNumber  : 0x%02X", rInterface.bInterfaceNumber);
    rReport.WriteLine(L"  bAlternateSetting : 0x%02X", rInterface.bAlternateSetting);
    rReport.WriteLine(L"  bNumEndpoints     : 0x%02X", rInterface.bNumEndpoints);
    rReport.WriteLine(L"  bInterfaceClass   : 0x%02X \"%s\"", rInterface.bInterfaceClass,
                      NameOf(UsbClassTextTable, rInterface.bInterfaceClass, L"Unknown"));
    rReport.WriteLine(L"  bInterfaceSubClass: 0x%02X%s", rInterface.bInterfaceSubClass,
                      Named(MassStorageSubclassTable, rInterface.bInterfaceSubClass));
    rReport.WriteLine(L"  bInterfaceProtocol: 0x%02X%s", rInterface.bInterfaceProtocol,
                      Named(MassStorageProtocolTable, rInterface.bInterfaceProtocol));
    rReport.WriteLine(L"  iInterface        : 0x%02X", rInterface.iInterface);
}

bool TakesScsiCommands(const USB_INTERFACE_DESCRIPTOR& rInterface)
{
    return rInterface.bInterfaceClass == UsbClassMassStorage &&
           (rInterface.bInterfaceSubClass == SubclassScsi || rInterface.bInterfaceSubClass == SubclassSff8070i);
}

} // namespace

HRESULT CHardwareInfoCollector::OutputUsbInfo(BYTE nDriveIndex)
{
    CFunctionLog log;
    return log.Run([&] {
        USB_DEVICE_DESCRIPTOR Device{};
        std::vector<USB_INTERFACE_DESCRIPTOR> Interfaces;
        std::wstring sManufacturer, sProduct, sSerial;
        const COpdUsbDeviceInfo usb(COpdUsbDeviceInfo::StandardOpenDeviceFunction);
        log.Check(usb.GetUsbDescriptors(nDriveIndex, Device, &Interfaces, &sManufacturer, &sProduct, &sSerial),
                  L"COpdUsbDeviceInfo::GetUsbDescriptors( %c: ) failed. [0x%08X]", DriveLetter(nDriveIndex));
        OutputDeviceDescriptor(*this, Device, sManufacturer, sProduct, sSerial);
        for (const USB_INTERFACE_DESCRIPTOR& rInterface : Interfaces)
            OutputInterfaceDescriptor(*this, rInterface);
        if (std::ranges::any_of(Interfaces, TakesScsiCommands))
            OutputInquiry(log, nDriveIndex);
    });
}

void CHardwareInfoCollector::OutputInquiry(const CFunctionLog& log, BYTE nDriveIndex)
{
    const wchar_t cLetter = DriveLetter(nDriveIndex);
    const Microsoft::WRL::ComPtr<sptioctl::ISptIoCtl> pSptIoCtl = sptioctl::CSptIoCtlStdUtil::CreateSptIoCtl();
    if (!pSptIoCtl)
        log.Fail(E_POINTER, L"sptioctl::CSptIoCtlStdUtil::CreateSptIoCtl() failed.");
    log.Check(pSptIoCtl->Open(nDriveIndex), L"ISptIoCtl::Open( %c: ) failed. [0x%08X]", cLetter);

    static constexpr BYTE aCdb[] = { 0x12, 0, 0, 0, InquirySize, 0 };
    CInquiry aInquiry{};
    DWORD dwTransferred = 0;
    BYTE nSenseKey = 0, nASC = 0, nASCQ = 0;
    const HRESULT hr = pSptIoCtl->SendInDataCmd(sizeof aCdb, aCdb, aInquiry.size(), aInquiry.data(), &dwTransferred,
                                                &nSenseKey, &nASC, &nASCQ);
    if (FAILED(hr))
        log.Fail(hr,
                 L"ISptIoCtl::SendInDataCmd( %c: INQUIRY ) failed. [0x%08X][SenseKey:0x%02X ASC:0x%02X ASCQ:0x%02X]",
                 cLetter, hr, nSenseKey, nASC, nASCQ);

    WriteLine(L"");
    WriteLine(L"  *** SCSI INQUIRY COMMAND 2 ***");
    WriteLine(L"  VENDOR IDENTIFICATION : \"%s\"", InquiryText(aInquiry, 8, 8));
    WriteLine(L"  PRODUCT IDENTIFICATION: \"%s\"", InquiryText(aInquiry, 16, 16));
    WriteLine(L"  PRODUCT REVISION LEVEL: \"%s\"", InquiryText(aInquiry, 32, 4));
    WriteLine(L"  Vendor Specific       : \"%s\"", InquiryText(aInquiry, 36, 20));
    WriteLine(L"    %s", HexText(std::span<const BYTE>(aInquiry).subspan(36, 20)));
    log.Check(pSptIoCtl->Close(), L"ISptIoCtl::Close( %c: ) failed. [0x%08X]", cLetter);
}
