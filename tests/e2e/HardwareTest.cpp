// -collect:hardware through the real platform: on the bare machine, and over virtual hardware. There the program's own
// handles lead through a kernel driver to the fake PC of this process, so that its golden files hold for the run too.
#include <windows.h>

#include <winioctl.h>

#include <ntddscsi.h>

#include <cstring>
#include <filesystem>
#include <optional>
#include <regex>
#include <set>

#include <gmock/gmock.h>

#include "e2e/Program.h"
#include "e2e/driver/TestDriver.h"
#include "hardware/SamplePc.h"
#include "platform/Format.h"
#include "platform/Text.h"
#include "platform/WideText.h"
#include "support/FakePcUsb.h"

namespace
{

using ::testing::IsSupersetOf;

// A record of a failure that a run must have, and why.
struct CExpectedRecord
{
    int nCount;
    const char* pMessage; // a pattern
    const char* pWhy;
};

// Every record behind the banner must be in one of the tables, as often as it says there.
void CheckLog(const CInstallation& rInstallation, std::vector<CExpectedRecord> Expected)
{
    // clang-format off
    static constexpr CExpectedRecord Frame[] = {
        { 1, R"(\[CKelvarinApp::Main\] CoCreateInstance\(VlmSxs\) failed: 0x80040154)", "the product is not installed" },
        { 1, R"(\[CKelvarinApp::Main\] => \*\*\* collect: hardware \*\*\*)", "start" },
        { 1, R"(\[CKelvarinApp::CollectHardwareInfo\] CHardwareInfoCollector::Collect\( ".*" \) \[0x00000000\])", "result" },
        { 1, R"(\[CKelvarinApp::Main\] <= \*\*\* collect: hardware \*\*\*)", "end" },
        { 1, R"(\[CHardwareInfoCollector::OutputPcModelName\] CRegKey::Open\( ".*\\SystemInformation\\" \) failed. \[2\])", "no such key in Wine" },
        { 1, R"(\[CHardwareInfoCollector::Collect\] OutputPcModelName\(\) failed.\[0x80004005\])", "follows" },
        { 1, R"(\[CHardwareInfoCollector::OutputPcModelNumber\] CRegKey::Open\( ".*\\OemInfo\\" \) failed. \[2\])", "no such key in Wine" },
        { 1, R"(\[CHardwareInfoCollector::Collect\] OutputPcModelNumber\(\) failed.\[0x80004005\])", "follows" },
        { 1, R"(\[COpdStorageDevice::StandardOpenDeviceFunction\] ::CreateFile\( "\\\\.\\Z:" \) failed. \[0x8007.{4}\])", "the host's root is no device" },
        { 1, R"(\[COpdStorageDevice::GetDriveInfo\] OpenDevice\( "\\\\.\\Z:" \) failed. \[0x8007.{4}\])", "follows" },
        { 1, R"(\[COpdStorageDevice::GetDriveInfo\] COpdStorageDevice::GetDriveInfo\( "\\\\.\\Z:" \) failed. \[0x8007.{4}\])", "follows" },
        { 1, R"(\[CHardwareInfoCollector::OutputStorageDeviceInfo\] COpdStorageDevice::GetDriveInfo\( Z: \) failed. \[0x8007.{4}\])", "follows" },
    };
    // clang-format on
    Expected.insert(Expected.end(), std::begin(Frame), std::end(Frame));
    for (const CLogLine& rLine : rInstallation.LogLines())
    {
        if (rLine.sText.starts_with("--") || rLine.sText == Utf8(rInstallation.Folder() / L"Kelvarin.exe"))
            continue;
        const auto Fits = [&](const CExpectedRecord& rRecord) {
            return rRecord.nCount > 0 && std::regex_match(rLine.sText, std::regex(rRecord.pMessage));
        };
        const auto it = std::ranges::find_if(Expected, Fits);
        if (it == Expected.end())
            ADD_FAILURE() << "not explained: " << rLine.sText;
        else
            --it->nCount;
    }
    for (const CExpectedRecord& rRecord : Expected)
        EXPECT_EQ(rRecord.nCount, 0) << rRecord.pMessage << ": " << rRecord.pWhy;
}

std::set<std::string> FilesIn(const std::wstring& sFolder)
{
    std::set<std::string> Names;
    for (const auto& rEntry : std::filesystem::directory_iterator(sFolder))
        Names.insert(rEntry.path().filename().string());
    return Names;
}

// The part of a report from a head to the next separator, without both separators.
std::string Section(const std::string& sReport, const std::string& sHead)
{
    const std::size_t nStart = sReport.find(sHead);
    if (nStart == sReport.npos)
        return "no " + sHead;
    std::string sText = sReport.substr(nStart, sReport.find(std::string(48, '_'), nStart) - nStart);
    std::erase(sText, '\r');
    return sText;
}

// A PC that has none of the devices must cost nothing but their lines.
TEST(HardwareOfTheBareMachine, LeavesAllFilesAndExplainedFailures)
{
    const CInstallation installation;
    EXPECT_EQ(installation.Run(L"-collect:hardware").dwExitCode, 0u);
    CheckLog(
        installation,
        {
            { 2, R"(\[COpdHardwareTree::DumpDeviceTree\] ::CM_Locate_DevNode\( .* \) failed. \[CONFIGRET:0x00000013\])",
              "Wine has no tree of nodes" },
            { 2,
              R"(\[COpdSetupDi::GetDeviceInterfaceData\] ::SetupDiEnumDeviceInterfaces\( \{3ABF6F2D-.*\}, 0 \) failed. \[0x80070103\])",
              "no USB controller, and the end of the list counts as a failure" },
            { 2,
              R"(\[COpdUsbDeviceTree::EnumerateUsbHostControllers\] .*_USB_HOST_CONTROLLER, 0 \) failed. \[0x80070103\])",
              "follows" },
            { 2,
              R"(\[COpdUsbDeviceTree::DumpUsbDeviceTree\] .*::EnumerateUsbHostControllers\(\) failed. \[0x80070103\])",
              "follows" },
        });
    const std::string sLine = "_{98}\r\n", sTime = R"(\[\d+/\d+/\d+ \d+:\d+:\d+\])",
                      sDevices = "(_{98}\r\n\\[DEVINFO:\\d+\\]\r\n(SPDRP_.*\r\n|   .*\r\n)*\r\n)*";
    const std::map<std::string, std::string> Forms = {
        { "DeviceList-All.txt", sLine + sTime + " ALL CLASSES\r\n\r\n" + sDevices },
        { "DeviceList-Present.txt", sLine + sTime + " ALL CLASSES \\(PRESENT\\)\r\n\r\n" + sDevices },
        { "DeviceTree.txt", "" },
        { "DeviceTree-Detail.txt", "" },
        { "HardwareInfo.txt",
          "_{48}\r\n\\[\\d{4}/\\d\\d/\\d\\d \\d\\d:\\d\\d:\\d\\d\\] Version "
          "[\\d.]+\r\n_{48}\r\n\\[PC\\]\r\n\r\n_{48}\r\n"
          "\\[Tolvane PD "
          "Driver\\]\r\n(.*\r\n)*_{48}\r\n\\[ASPI\\]\r\n(.*\r\n)*_{48}\r\n\\[Memory\\]\r\n(.*\r\n)*_{48}\r\n"
          "\\[Display\\]\r\n(.*\r\n)*_{48}\r\n\\[LogicalDrives\\] \\(C:\\) "
          "\\(Z:\\)\r\n\r\n_{48}\r\n\\[Drive\\(C:\\)\\]\r\n(.*\r\n)*" },
        { "UsbDeviceTree.txt", "" },
        { "UsbDeviceTree-Detail.txt", "" },
    };
    std::set<std::string> Names;
    for (const auto& [sName, sForm] : Forms)
    {
        Names.insert(sName);
        const std::string sText = ReadBytes(installation.Folder() / L"out\\" + ToWide(sName));
        EXPECT_TRUE(std::regex_match(sText, std::regex(sForm))) << sName << ":\n" << sText;
    }
    EXPECT_EQ(FilesIn(installation.Folder() / L"out"), Names);
}

constexpr GUID HubClass{ 0xf18a0e88, 0xc30c, 0x11d0, { 0x88, 0x15, 0x00, 0xa0, 0xc9, 0x06, 0xbe, 0xd8 } };

// The flash drive as storage and as a SCSI device.
DWORD AnswerFlashDrive(CFakeRequest& rRequest)
{
    const auto Put = [&](std::size_t nAt, const void* pBytes, std::size_t nSize) {
        if (nAt + nSize > rRequest.Out.size())
            throw std::runtime_error("no room for the answer");
        std::memcpy(rRequest.Out.data() + nAt, pBytes, nSize);
        rRequest.dwReturned = std::max(rRequest.dwReturned, static_cast<DWORD>(nAt + nSize));
    };
    if (rRequest.dwCode == IOCTL_STORAGE_GET_DEVICE_NUMBER)
    {
        const STORAGE_DEVICE_NUMBER Number{ FILE_DEVICE_DISK, 1, 0 };
        Put(0, &Number, sizeof Number);
        return ERROR_SUCCESS;
    }
    if (rRequest.dwCode == IOCTL_STORAGE_QUERY_PROPERTY)
    {
        static constexpr char aTexts[] = "SanDisk\0Cruzer Blade\0001.26\0004C530001";
        STORAGE_DEVICE_DESCRIPTOR Descriptor{};
        Descriptor.Version = Descriptor.Size = sizeof Descriptor + sizeof aTexts;
        Descriptor.RemovableMedia = TRUE;
        Descriptor.BusType = BusTypeUsb;
        Descriptor.VendorIdOffset = sizeof Descriptor;
        Descriptor.ProductIdOffset = sizeof Descriptor + 8;
        Descriptor.ProductRevisionOffset = sizeof Descriptor + 21;
        Descriptor.SerialNumberOffset = sizeof Descriptor + 26;
        Put(0, &Descriptor, sizeof Descriptor);
        Put(sizeof Descriptor, aTexts, sizeof aTexts);
        return ERROR_SUCCESS;
    }
    SCSI_PASS_THROUGH Command;
    static constexpr UCHAR Inquiry[] = { 0x12, 0, 0, 0, 56, 0 };
    if (rRequest.dwCode != IOCTL_SCSI_PASS_THROUGH || rRequest.In.size() < sizeof Command)
        return ERROR_INVALID_FUNCTION;
    std::memcpy(&Command, rRequest.In.data(), sizeof Command);
    if (Command.CdbLength != 6 || std::memcmp(Command.Cdb, Inquiry, 6) != 0 || Command.DataTransferLength != 56)
        return ERROR_INVALID_PARAMETER;
    Command.ScsiStatus = 0;
    Put(0, &Command, sizeof Command);
    Put(Command.DataBufferOffset,
        "\0\x80\x06\x02\x33\0\0\0SanDisk Cruzer Blade    1.26LOT 7\0\x01\xFE\0\0\0\0\0\0\0\0\0\0\0", 56);
    return ERROR_SUCCESS;
}

// The described PC in this process, and the program's way to it.
struct CDescribedPc
{
    CFakePcDevices devices;
    CFakePcIo io;
    CFakePcUsb usb{ TEST_DATA L"\\hardware\\UsbPc.txt", devices, io };

    CDescribedPc() { io.Add(L"\\\\?\\disk1", AnswerFlashDrive); }

    // The path of a node's interface; of a hub it is made of the node's id.
    std::wstring PathOf(const CFakeNode& rNode) const
    {
        if (!rNode.Interfaces.empty())
            return rNode.Interfaces[0].sPath;
        std::wstring sStart = rNode.sId + L'#';
        ReplaceAll(sStart, L"\\", L"#");
        for (const CFakeUsbHub& rHub : usb.Hubs)
        {
            if (ToWide(rHub.sName).starts_with(sStart))
                return L"\\\\.\\" + ToWide(rHub.sName);
        }
        return {};
    }

    NodeAnswer AnswerNode(const NodeQuestion& rQuestion)
    {
        const DEVINST hNode = rQuestion.Node - NODE_FIRST;
        DEVINST hFound = 0;
        for (DEVINST h = 1; rQuestion.Id[0] != L'\0' && h <= devices.Nodes().size(); ++h)
        {
            if (EqualsNoCase(devices.Find(h)->sId, rQuestion.Id))
                hFound = h;
        }
        NodeAnswer answer{};
        auto* const pText = reinterpret_cast<wchar_t*>(answer.Data);
        answer.Value = std::min<ULONG>(rQuestion.Room, sizeof answer.Data);
        switch (rQuestion.Function)
        {
        case NODE_LOCATE:
            answer.Result = hFound != 0 ? CR_SUCCESS : ::CM_Locate_DevNodeW(&hFound, nullptr, CM_LOCATE_DEVNODE_NORMAL);
            break;
        case NODE_CHILD:
            answer.Result = ::CM_Get_Child(&hFound, hNode, 0);
            break;
        case NODE_SIBLING:
            answer.Result = ::CM_Get_Sibling(&hFound, hNode, 0);
            break;
        case NODE_PARENT:
            answer.Result = ::CM_Get_Parent(&hFound, hNode, 0);
            break;
        case NODE_ID_SIZE:
            answer.Result = ::CM_Get_Device_ID_Size(&answer.Value, hNode, 0);
            break;
        case NODE_ID:
            answer.Result = ::CM_Get_Device_IDW(hNode, pText, rQuestion.Room, 0);
            break;
        default:
            answer.Result = ::CM_Get_DevNode_Registry_PropertyW(
                hNode, rQuestion.Property, &answer.Type, rQuestion.Room != 0 ? pText : nullptr, &answer.Value, 0);
        }
        if (hFound != 0)
            answer.Value = hFound + NODE_FIRST;
        return answer;
    }
};

// Answers one request of the program from the fake PC, as if this process had sent it there. Not inlined: the compiler
// would keep the imports of before the fake.
[[gnu::noinline]] RelayAnswer Answer(CDescribedPc& rPc, const RelayRequest& rRequest, const std::wstring& sPath)
{
    RelayAnswer answer{ rRequest.Id, ERROR_SUCCESS, 0, {} };
    if (rRequest.Device == RELAY_NO_DEVICE)
    {
        NodeQuestion question;
        std::memcpy(&question, rRequest.In, sizeof question);
        const NodeAnswer node = rPc.AnswerNode(question);
        answer.OutSize = sizeof node;
        std::memcpy(answer.Out, &node, sizeof node);
        return answer;
    }
    const CFileHandle hDevice(::CreateFileW(sPath.c_str(), 0, 0, nullptr, OPEN_EXISTING, 0, nullptr));
    RelayRequest request = rRequest;
    if (!::DeviceIoControl(hDevice.Get(), request.Code, request.In, request.InSize, answer.Out,
                           std::min<DWORD>(request.OutSize, RELAY_DATA), &answer.OutSize, nullptr))
        answer.Error = ::GetLastError();
    return answer;
}

// What stands in a listing of one handle or other; the handles of two runs differ.
std::string WithoutHandles(const std::string& sText)
{
    return std::regex_replace(sText, std::regex("(Device Handle +: 0x)[0-9A-F]{8}"), "$1");
}

// No file system, and so no volume; Wine tells the type of a drive by its file system.
const char FlashDriveSection[] = R"([Drive(Q:)]

  *** STORAGE DEVICE DESCRIPTOR ***
  VendorId       : "SanDisk"
  ProductId      : "Cruzer Blade"
  Revision       : "1.26"
  SerialNumber   : "4C530001"
  Removable      : Yes
  BusType        : USB
  DriveType      : NO ROOT DIR
  TargetPath     : "\Device\KelvarinTest03"

  *** USB DEVICE DESCRIPTOR ***
  bLength           : 0x12
  bDescriptorType   : 0x01
  bcdUSB            : 0x0200
  bDeviceClass      : 0x00 "Use class information in the Interface Descriptors"
  bDeviceSubClass   : 0x00
  bDeviceProtocol   : 0x00
  bMaxPacketSize0   : 0x40
  idVendor          : 0x0781
  idProduct         : 0x5567
  bcdDevice         : 0x0100
  iManufacturer     : 0x0001 "SanDisk"
  iProduct          : 0x0002 "Cruzer Blade"
  iSerialNumber     : 0x0003 "4C530001"
  bNumConfigurations: 0x01

  *** USB INTERFACE DESCRIPTOR ***
  bLength           : 0x09
  bDescriptorType   : 0x04
  bInterfaceNumber  : 0x00
  bAlternateSetting : 0x00
  bNumEndpoints     : 0x02
  bInterfaceClass   : 0x08 "Mass Storage"
  bInterfaceSubClass: 0x06 "SCSI transparent command set"
  bInterfaceProtocol: 0x50 "Bulk-Only (BBB) Transport"
  iInterface        : 0x00

  *** SCSI INQUIRY COMMAND 2 ***
  VENDOR IDENTIFICATION : "SanDisk "
  PRODUCT IDENTIFICATION: "Cruzer Blade    "
  PRODUCT REVISION LEVEL: "1.26"
  Vendor Specific       : "LOT 7"
    4C 4F 54 20 37 00 01 FE 00 00 00 00 00 00 00 00 00 00 00 00

)";

TEST(HardwareOfTheDescribedPc, IsReportedAsByTheComponentsThatReadIt)
{
    const CInstallation installation;
    std::vector<CFakeNode> Nodes;
    std::vector<std::wstring> Paths;
    std::optional<CDescribedPc> pc(std::in_place);
    for (std::size_t n = 1; n < pc->devices.Nodes().size(); ++n)
    {
        Nodes.push_back(pc->devices.Nodes()[n]);
        Paths.push_back(pc->PathOf(Nodes.back()));
    }
    pc.reset(); // the system's own devices are to be seen while they are made
    CTestDriver driver;
    for (std::size_t n = 0; n < Nodes.size(); ++n)
    {
        const bool bHub = Nodes[n].Interfaces.empty() && !Paths[n].empty();
        driver.Add(Nodes[n],
                   bHub                ? HubClass
                   : !Paths[n].empty() ? Nodes[n].Interfaces[0].Guid
                                       : GUID{},
                   Paths[n] == L"\\\\?\\disk1" ? L"Q:" : L"");
    }
    for (const CFakeNode& rNode : Nodes)
        driver.Describe(rNode);

    pc.emplace();
    const CProgramWithNodes program(installation.CommandLine(L"-collect:hardware"));
    RelayRequest request;
    for (const ULONGLONG ullEnd = ::GetTickCount64() + 30000; program.IsRunning() && ::GetTickCount64() < ullEnd;)
    {
        if (!driver.Take(request))
        {
            ::Sleep(1);
            continue;
        }
        RelayAnswer answer = Answer(*pc, request, request.Device < Paths.size() ? Paths[request.Device] : L"");
        EXPECT_TRUE(driver.Control(RELAY_GIVE, answer));
    }
    EXPECT_EQ(program.ExitCode(), 0u);
    pc.reset();

    const std::wstring sOut = installation.Folder() / L"out\\";
    EXPECT_EQ(ReadBytes(sOut + L"UsbDeviceTree.txt"), GoldenDump(L"UsbDeviceTree.txt"));
    EXPECT_EQ(WithoutHandles(ReadBytes(sOut + L"UsbDeviceTree-Detail.txt")),
              WithoutHandles(GoldenDump(L"UsbDeviceTree-Detail.txt")));
    EXPECT_EQ(Section(ReadBytes(sOut + L"HardwareInfo.txt"), "[Drive(Q:)]"), FlashDriveSection);
    EXPECT_THAT(FilesIn(sOut), IsSupersetOf({ "GUID_DEVINTERFACE_DISK(PRESENT).txt",
                                              "GUID_DEVINTERFACE_USB_HOST_CONTROLLER(PRESENT).txt",
                                              "GUID_DEVINTERFACE_USB_HUB(PRESENT).txt" }));
    CheckLog(
        installation,
        {
            { 1, R"(\[CHardwareInfoCollector::GetVolumeInfo\] ::GetVolumeInformation\( Q:\\ \) failed. \[0x80070001\])",
              "no file system on it" },
            { 1,
              R"(\[COpdUsbDeviceInfo::StandardOpenDeviceFunction\] ::CreateFile\( ".*VID_0781.*\{F18A0E88-.*" \) failed. \[0x80070002\])",
              "on the way up from the disk: the flash drive is no hub, its parent is" },
            { 32, R"(\[COpdCmApi::GetDevNodeDriverName\] .*\( 0x4000000[15], CM_DRP_DRIVER \) failed. \[0x80004005\])",
              "root and disk have no driver key; 9 and 7 searches in each tree pass them" },
            { 8, R"(\[COpdUsbApi::GetStringDescriptor\] ::DeviceIoControl\( .* \) failed. \[0x8007001F\])",
              "3 texts that the audio interface lacks in German, and the languages of a hub without texts, in each "
              "tree" },
            { 6,
              R"(\[COpdUsbApi::GetStringDescriptors\] .*::GetStringDescriptor\( 0x\w+, 2, [14], 1 \) failed. \[0x80004005\])",
              "follows" },
            { 2, R"(\[COpdUsbApi::GetAllStringDescriptors\] .*\( String Descriptor 0 \) failed. \[0x80004005\])",
              "follows" },
            { 2,
              R"(\[COpdUsbDeviceTree::EnumerateUsbHubPorts\] COpdUsbApi::GetAllStringDescriptors\( 0x\w+, 1 \) failed. \[0x80004005\])",
              "follows" },
            { 2,
              R"(\[COpdSetupDi::GetDeviceInterfaceData\] ::SetupDiEnumDeviceInterfaces\( \{3ABF6F2D-.*\}, 1 \) failed. \[0x80070103\])",
              "the end of the list counts as a failure" },
            { 2,
              R"(\[COpdUsbDeviceTree::EnumerateUsbHostControllers\] .*_USB_HOST_CONTROLLER, 1 \) failed. \[0x80070103\])",
              "follows" },
            { 2,
              R"(\[COpdUsbDeviceTree::DumpUsbDeviceTree\] .*::EnumerateUsbHostControllers\(\) failed. \[0x80070103\])",
              "follows" },
        });
}

} // namespace
