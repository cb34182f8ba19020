#include "hardware/HardwareInfoCollector.h"

#include <algorithm>
#include <cstring>
#include <random>

#include "app/KelvarinApp.h"
#include "collect/CollectorUtilFakes.h"
#include "collect/NetworkReportText.h"
#include "platform/Path.h"
#include "sptioctl/FakeDrive.h"
#include "support/FakePcUsb.h"
#include "support/FuzzRounds.h"
#include "support/LogWatch.h"

namespace
{

using namespace std::string_literals;
using ::testing::Contains;
using ::testing::ElementsAre;
using ::testing::HasSubstr;
using ::testing::Not;

struct CDrive
{
    const char*
        pTexts; // vendor, product, revision and serial number with zeros between; null: the drive does not answer
    DWORD dwBus;
    bool bRemovable;
    UINT nType;
    const wchar_t* pTarget;
    const wchar_t* pVolume = nullptr; // null: no medium
    const wchar_t* pFileSystem = nullptr;
    DWORD dwSerial = 0, dwFlags = 0;
    ULONGLONG aFigures[3] = {}; // available, free, total; 0 in all: not told
};

struct CDisplay
{
    const wchar_t* pName;
    const wchar_t* pText;
    DWORD dwFlags;
};

// The drives and displays of tests/data/hardware/HardwareInfo.txt.
const std::map<wchar_t, CDrive> SampleDrives = {
    { L'C',
      { "\0SSD 500  \0002.01\0S1",
        11,
        false,
        DRIVE_FIXED,
        L"\\Device\\HarddiskVolume2",
        L"System",
        L"NTFS",
        0xCAFE,
        0x03E706FF,
        { 107374182400, 161061273600, 500107862016 } } },
    { L'D', { "OPTI\0DVD-RW\0001.0\0", 2, true, DRIVE_CDROM, L"\\Device\\CdRom0" } },
    { L'E',
      { "SanDisk \0Cruzer Blade    \0001.00\0004C530001",
        7,
        true,
        DRIVE_REMOVABLE,
        L"\\Device\\HarddiskVolume5",
        L"",
        L"FAT32",
        0x89ABCDEF,
        0x8006,
        { 999, 1000, 1234567 } } },
    { L'F',
      { "ASMT\0002115\0000\0",
        7,
        false,
        DRIVE_FIXED,
        L"\\Device\\HarddiskVolume6",
        L"Backup 100%d",
        L"NTFS",
        1,
        0,
        { 0, 1099511627776, 0xFFFFFFFFFFFFFFFF } } },
    { L'G', { nullptr, 0, false, DRIVE_NO_ROOT_DIR, nullptr } },
    // A slot of a card reader whose device cannot be found.
    { L'H', { "Generic-\0SD/MMC\0001.00\0", 7, true, DRIVE_REMOVABLE, L"\\Device\\HarddiskVolume8" } },
    { L'I',
      { "Msft\0Virtual Disk\0001.0\0", 15, false, DRIVE_RAMDISK, L"\\Device\\HarddiskVolume9", L"Image", L"UDF", 2,
        2 } },
    { L'J', { "\0\0\0", 16, false, 7, nullptr } },
    { L'Z', { "\0\0\0", 0, false, DRIVE_REMOTE, L"\\Device\\Net" } },
};
// By their adapter; the adapters themselves have none.
const std::map<std::wstring, std::vector<CDisplay>> SampleDisplays = {
    { L"", { { L"\\\\.\\DISPLAY1", L"Graphics 100%d", 0x08000005 }, { L"\\\\.\\DISPLAY2", L"Mirror", 0x38 } } },
    { L"\\\\.\\DISPLAY1",
      { { L"\\\\.\\DISPLAY1\\Monitor0", L"Panel", 3 }, { L"\\\\.\\DISPLAY1\\Monitor1", L"Beamer", 0 } } },
};

// All that the collector asks.
struct CPc;
CPc* s_pPc;

struct CPc
{
    std::map<wchar_t, CDrive> Drives = SampleDrives;
    std::map<std::wstring, std::vector<CDisplay>> Displays = SampleDisplays;
    bool bSystemFails = false; // folders and memory
    CFakePcDevices devices;
    CFakePcIo io;
    CFakePcUsb usb{ TEST_DATA L"\\hardware\\UsbPc.txt", devices, io };
    CFakeDrive stick{ .dwTransferred = 56,
                      .sData = "\0\x80\0\0\x33\0\0\0SanDisk Cruzer Blade    1.00AB\0C\xFF"s + std::string(14, '\0') +
                               " " };
    std::vector<std::string> States; // of the progress dialog

    CPc()
    {
        s_pPc = this;
        CFakeUsbPort& rDisk = usb.Hubs[0].Ports[5];
        rDisk.sDevice[4] = 4;
        rDisk.sConfiguration.replace(14, 3, "\x08\x02\x51"); // class, subclass and protocol of an interface
        rDisk.sConfiguration[49] = 4;
        for (const auto& [cLetter, rDrive] : Drives)
        {
            if (rDrive.pTexts != nullptr)
                io.Add(FormatText(L"\\\\.\\%c:", cLetter),
                       [this, cLetter](CFakeRequest& rRequest) { return Answer(cLetter, rRequest); });
        }
    }
    ~CPc()
    {
        EXPECT_EQ(io.OpenHandles(), 0u);
        EXPECT_EQ(devices.OpenSets(), 0u);
    }

    DWORD Answer(wchar_t cLetter, CFakeRequest& rRequest)
    {
        if (rRequest.dwCode == 0x4D004)
            return stick(rRequest);
        if (rRequest.dwCode == 0x2D1080 && (cLetter == L'E' || cLetter == L'F'))
        {
            const DWORD aNumber[] = { 7, cLetter == L'E' ? 1u : 2u, 0 };
            std::memcpy(rRequest.Out.data(), aNumber, rRequest.dwReturned = sizeof aNumber);
            return ERROR_SUCCESS;
        }
        if (rRequest.dwCode != 0x2D1400)
            return ERROR_NOT_READY;
        const CDrive& rDrive = Drives.at(cLetter);
        DWORD aHead[] = { 40, 100, rDrive.bRemovable ? 0x10000u : 0, 0, 0, 0, 0, rDrive.dwBus };
        const char* pText = rDrive.pTexts;
        for (DWORD n = 3; n < 7; ++n, pText += std::strlen(pText) + 1)
        {
            aHead[n] = n * 40;
            std::strcpy(reinterpret_cast<char*>(rRequest.Out.data()) + aHead[n], pText);
        }
        std::memcpy(rRequest.Out.data(), aHead, sizeof aHead);
        return ERROR_SUCCESS;
    }
    const CDrive& Root(const std::wstring& sRoot) const
    {
        return Drives.at(sRoot.substr(1) == L":\\" ? sRoot[0] : L'\0');
    }

    static BOOL Fail(DWORD dwError)
    {
        ::SetLastError(dwError);
        return FALSE;
    }
    void NoteProgress()
    {
        CProgressDlg& rDialog = CKelvarinApp::GetApp().m_ProgressDlg;
        const std::string sState = std::to_string(rDialog.GetPercentage()) + ' ' + Utf8(rDialog.GetStatusText());
        if (States.empty() || States.back() != sState)
            States.push_back(sState);
    }

    static UINT Folder(wchar_t* pPath, UINT nSize, const wchar_t* pFolder)
    {
        s_pPc->NoteProgress();
        ::lstrcpynW(pPath, pFolder, static_cast<int>(nSize));
        return s_pPc->bSystemFails ? static_cast<UINT>(Fail(ERROR_ACCESS_DENIED)) : 6;
    }
    static UINT WINAPI Windows(wchar_t* pPath, UINT nSize) { return Folder(pPath, nSize, L"W:\\win"); }
    static UINT WINAPI System(wchar_t* pPath, UINT nSize) { return Folder(pPath, nSize, L"S:\\sys"); }
    // A driver's version is its path, but for one that has none and one whose version cannot be read.
    static std::vector<BYTE> Version(const std::wstring& sPath)
    {
        if (sPath.ends_with(L"Dravik04.mpd"))
            return {};
        return sPath.ends_with(L"ostrel.sys") ? VersionBlock({})
                                              : VersionBlock({ { 0x409, { { L"FileVersion", sPath } } } });
    }
    static bool IsDriver(const wchar_t* pPath)
    {
        return std::wcsncmp(pPath, L"W:", 2) == 0 || std::wcsncmp(pPath, L"S:", 2) == 0;
    }
    static DWORD WINAPI VersionSize(const wchar_t* pPath, DWORD* pdwIgnored)
    {
        return IsDriver(pPath) ? Version(pPath).size() : s_pPc->m_VersionSize.Original()(pPath, pdwIgnored);
    }
    static BOOL WINAPI VersionData(const wchar_t* pPath, DWORD dwIgnored, DWORD dwSize, void* pData)
    {
        if (!IsDriver(pPath))
            return s_pPc->m_VersionData.Original()(pPath, dwIgnored, dwSize, pData);
        std::memcpy(pData, Version(pPath).data(), dwSize);
        return TRUE;
    }
    static LSTATUS WINAPI OpenKey(HKEY hKey, const wchar_t* pPath, DWORD dwOptions, REGSAM dwAccess, HKEY* phKey)
    {
        s_pPc->NoteProgress();
        return s_pPc->m_Key.Original()(hKey, pPath, dwOptions, dwAccess, phKey);
    }
    static BOOL WINAPI Memory(MEMORYSTATUSEX* pStatus)
    {
        s_pPc->NoteProgress();
        if (s_pPc->bSystemFails || pStatus->dwLength != 64)
            return Fail(ERROR_ACCESS_DENIED);
        *pStatus = { 64, 42, 4294967296, 1073741824, 8589934592, 999, 1234567, 1000, 0xFFFFFFFFFFFFFFFF };
        return TRUE;
    }
    static BOOL WINAPI Display(const wchar_t* pAdapter, DWORD nIndex, DISPLAY_DEVICEW* pDevice, DWORD)
    {
        s_pPc->NoteProgress();
        const std::vector<CDisplay>& rDisplays = s_pPc->Displays[pAdapter != nullptr ? pAdapter : L""];
        if (nIndex >= rDisplays.size() || pDevice->cb != 840)
            return FALSE;
        std::wcscpy(pDevice->DeviceName, rDisplays[nIndex].pName);
        std::wcscpy(pDevice->DeviceString, rDisplays[nIndex].pText);
        pDevice->StateFlags = rDisplays[nIndex].dwFlags;
        return TRUE;
    }
    static DWORD WINAPI LogicalDrives()
    {
        s_pPc->NoteProgress();
        DWORD dwDrives = 0xFC000000; // no letters
        for (const auto& [cLetter, rDrive] : s_pPc->Drives)
            dwDrives |= 1u << (cLetter - L'A');
        return dwDrives;
    }
    static UINT WINAPI DriveType(const wchar_t* pRoot) { return s_pPc->Root(pRoot).nType; }
    static DWORD WINAPI DosDevice(const wchar_t* pName, wchar_t* pTarget, DWORD nSize)
    {
        const wchar_t* const pFound = pName[2] == L'\0' ? s_pPc->Drives.at(pName[0]).pTarget : nullptr;
        if (pFound == nullptr)
            return static_cast<DWORD>(Fail(ERROR_FILE_NOT_FOUND));
        ::lstrcpynW(pTarget, pFound, static_cast<int>(nSize));
        return 1;
    }
    static BOOL WINAPI Volume(const wchar_t* pRoot, wchar_t* pName, DWORD, DWORD* pdwSerial, DWORD* pdwMaxName,
                              DWORD* pdwFlags, wchar_t* pFileSystem, DWORD)
    {
        const CDrive& rDrive = s_pPc->Root(pRoot);
        if (rDrive.pVolume == nullptr)
            return Fail(ERROR_NOT_READY);
        std::wcscpy(pName, rDrive.pVolume);
        std::wcscpy(pFileSystem, rDrive.pFileSystem);
        *pdwSerial = rDrive.dwSerial;
        *pdwMaxName = 255;
        *pdwFlags = rDrive.dwFlags;
        return TRUE;
    }
    static BOOL WINAPI Capacity(const wchar_t* pRoot, ULARGE_INTEGER* pAvailable, ULARGE_INTEGER* pTotal,
                                ULARGE_INTEGER* pFree)
    {
        const ULONGLONG(&aFigures)[3] = s_pPc->Root(pRoot).aFigures;
        pAvailable->QuadPart = aFigures[0];
        pFree->QuadPart = aFigures[1];
        pTotal->QuadPart = aFigures[2];
        return aFigures[2] != 0 ? TRUE : Fail(ERROR_GEN_FAILURE);
    }

    CImportPatch<decltype(Windows)> m_Windows{ "GetWindowsDirectoryW", Windows };
    CImportPatch<decltype(System)> m_System{ "GetSystemDirectoryW", System };
    CImportPatch<decltype(VersionSize)> m_VersionSize{ "GetFileVersionInfoSizeW", VersionSize };
    CImportPatch<decltype(VersionData)> m_VersionData{ "GetFileVersionInfoW", VersionData };
    CImportPatch<decltype(OpenKey)> m_Key{ "RegOpenKeyExW", OpenKey };
    CImportPatch<decltype(Memory)> m_Memory{ "GlobalMemoryStatusEx", Memory };
    CImportPatch<decltype(Display)> m_Display{ "EnumDisplayDevicesW", Display };
    CImportPatch<decltype(LogicalDrives)> m_Drives{ "GetLogicalDrives", LogicalDrives };
    CImportPatch<decltype(DriveType)> m_Type{ "GetDriveTypeW", DriveType };
    CImportPatch<decltype(DosDevice)> m_Target{ "QueryDosDeviceW", DosDevice };
    CImportPatch<decltype(Volume)> m_Volume{ "GetVolumeInformationW", Volume };
    CImportPatch<decltype(Capacity)> m_Capacity{ "GetDiskFreeSpaceExW", Capacity };
};

// Without what the classes below have to say.
std::vector<std::string> OwnRecords(const CLogWatch& rWatch)
{
    std::vector<std::string> Records = rWatch.Records();
    std::erase_if(Records, [](const std::string& s) { return !s.starts_with("[CHardwareInfoCollector::"); });
    for (std::string& rRecord : Records)
        rRecord.erase(1, std::strlen("CHardwareInfoCollector::"));
    return Records;
}

// The registry's four values about the PC; null: there is none.
using CNames = const wchar_t* [4];
void Enter(CFakeRoots& rRoots, const CNames& aNames)
{
    const std::wstring sFirst = L"SYSTEM\\CurrentControlSet\\Control\\SystemInformation";
    const std::wstring sSecond = L"SOFTWARE\\Microsoft\\Windows\\CurrentVersion\\WindowsUpdate\\OemInfo";
    constexpr CNames aValues = { L"SystemManufacturer", L"SystemProductName", L"WbemOem", L"WbemProduct" };
    for (std::size_t n = 0; n < std::size(aValues); ++n)
    {
        if (aNames[n] != nullptr)
            rRoots.Machine(n < 2 ? sFirst : sSecond).SetText(aValues[n], aNames[n]);
    }
    rRoots.Enter();
}

// Support reads this report first; whoever compares two PCs does it line by line.
TEST(HardwareInfoCollector, WritesTheReport)
{
    const CTestFolder folder;
    CFakeRoots roots;
    Enter(roots, { nullptr, L"Tower 9", L"Acme", L"T-900" });
    CPc pc;
    CKelvarinApp::GetApp().m_ProgressDlg.ResetClients();
    const CLogWatch watch;
    EXPECT_EQ(CHardwareInfoCollector().Collect(folder / L"new\\out"), S_OK);
    EXPECT_EQ(ReportBody(folder / L"new\\out\\HardwareInfo.txt"), Golden(L"hardware/HardwareInfo.txt"));

    const std::vector<BYTE>& rSent = pc.stick.Record;
    ASSERT_GE(rSent.size(), 44u);
    EXPECT_EQ(std::vector<BYTE>(rSent.begin() + 28, rSent.begin() + 34), FromHex("12 00 00 00 38 00"));
    pc.NoteProgress();
    EXPECT_THAT(pc.States,
                ElementsAre("14 Collecting PC Model information...", "28 Collecting Tolvane PD Driver information...",
                            "42 Collecting ASPI information...", "57 Collecting Memory information...",
                            "71 Collecting Display Device information...",
                            "85 Collecting Storage Device information...", "100 Collecting Device information..."));
    EXPECT_THAT(OwnRecords(watch),
                ElementsAre("[OutputPcModelName] CRegKey::QueryStringValue( \"SystemManufacturer\" ) failed. [2]",
                            "[Collect] OutputPcModelName() failed.[0x80004005]",
                            "[GetVolumeInfo] ::GetVolumeInformation( D:\\ ) failed. [0x80070015]",
                            "[OutputStorageDeviceInfo] COpdStorageDevice::GetDriveInfo( G: ) failed. [0x80070002]",
                            "[GetVolumeInfo] ::GetVolumeInformation( H:\\ ) failed. [0x80070015]",
                            "[OutputUsbInfo] COpdUsbDeviceInfo::GetUsbDescriptors( H: ) failed. [0x80070015]",
                            "[GetDriveCapacity] ::GetDiskFreeSpaceEx( I:\\ ) failed. [0x8007001F]",
                            "[OutputStorageDeviceInfo] ::QueryDosDevice( J: ) failed. [0x80070002]",
                            "[GetVolumeInfo] ::GetVolumeInformation( J:\\ ) failed. [0x80070015]",
                            "[GetVolumeInfo] ::GetVolumeInformation( Z:\\ ) failed. [0x80070015]"));
    for (const wchar_t* const pName : { L"DeviceTree-Detail.txt", L"DeviceTree.txt", L"DeviceList-All.txt",
                                        L"DeviceList-Present.txt", L"UsbDeviceTree-Detail.txt", L"UsbDeviceTree.txt" })
        EXPECT_NE(ReadBytes(folder / (L"new\\out\\" + std::wstring(pName))), "") << Utf8(pName);
}

// The second key stands in only where the first one lacks something.
TEST(HardwareInfoCollector, NamesThePc)
{
    const struct
    {
        CNames aNames;
        const char* pTold;
        std::vector<std::string> Records;
    } aCases[] = {
        { { L"A", L"B", L"C", L"D" }, "Manufacturer : \"A\"\nProductName  : \"B\"\n", {} },
        // The record names the other value's text.
        { { L"A", nullptr, L"C", nullptr },
          "Manufacturer : \"A\"\nVendor: \"C\"\n",
          { "[OutputPcModelName] CRegKey::QueryStringValue( \"SystemProductName\" ) failed. [2]",
            "[Collect] OutputPcModelName() failed.[0x80004005]",
            "[OutputPcModelNumber] CRegKey::QueryStringValue( \"C\" ) failed. [2]",
            "[Collect] OutputPcModelNumber() failed.[0x80004005]" } },
    };
    for (const auto& rCase : aCases)
    {
        const CTestFolder folder;
        CFakeRoots roots;
        Enter(roots, rCase.aNames);
        CPc pc;
        pc.Drives.clear();
        const CLogWatch watch;
        EXPECT_EQ(CHardwareInfoCollector().Collect(folder.Path()), S_OK);
        EXPECT_THAT(ReportBody(folder / L"HardwareInfo.txt"),
                    HasSubstr("[PC]\n\n" + std::string(rCase.pTold) + "____"));
        EXPECT_EQ(OwnRecords(watch), rCase.Records);
    }
}

// Each stage's failure leaves its head and the other stages.
TEST(HardwareInfoCollector, GoesOnWhenAStageFails)
{
    const CTestFolder folder;
    CFakeRoots roots;
    roots.Enter();
    CPc pc;
    pc.bSystemFails = true;
    pc.Displays.clear();
    pc.Drives.clear();
    pc.devices.crLocate = CR_NO_SUCH_DEVNODE;
    pc.devices.dwSetError = ERROR_ACCESS_DENIED;
    const CLogWatch watch;
    EXPECT_EQ(CHardwareInfoCollector().Collect(folder.Path()), S_OK);
    std::string sHeads;
    for (const char* const pHead :
         { "[PC]", "[Tolvane PD Driver]", "[ASPI]", "[Memory]", "[Display]", "[LogicalDrives]" })
        sHeads += std::string(48, '_') + '\n' + pHead + "\n\n";
    EXPECT_EQ(ReportBody(folder / L"HardwareInfo.txt"), sHeads);
    EXPECT_THAT(OwnRecords(watch),
                ElementsAre("[OutputPcModelName] CRegKey::Open( "
                            "\"SYSTEM\\CurrentControlSet\\Control\\SystemInformation\\\" ) failed. [2]",
                            "[Collect] OutputPcModelName() failed.[0x80004005]", HasSubstr("OemInfo\\\" ) failed. [2]"),
                            "[Collect] OutputPcModelNumber() failed.[0x80004005]",
                            "[OutputPdDriverInfo] GetWindowsDirectory() failed.[0x8007000580070005]",
                            "[Collect] OutputPdDriverInfo() failed.[0x80070005]",
                            "[OutputGetAspiVersion] GetWindowsDirectory() failed.[0x8007000580070005]",
                            "[Collect] OutputGetAspiVersion() failed.[0x80070005]",
                            "[OutputMemoryInfo] ::GlobalMemoryStatusEx() failed. [0x80070005]",
                            "[Collect] OutputMemoryInfo() failed.[0x80004005]"));
}

// A report that cannot be made ends the collection before anything is asked.
TEST(HardwareInfoCollector, RefusesAPlaceWhereItCannotWrite)
{
    const CTestFolder folder;
    const std::wstring sFile = folder.Write(L"file", "x"), sTaken = folder / L"taken";
    folder.Write(L"taken\\HardwareInfo.txt\\x", "");
    CPc pc;
    const CLogWatch watch;
    EXPECT_EQ(CHardwareInfoCollector().Collect(L""), E_INVALIDARG);
    EXPECT_EQ(CHardwareInfoCollector().Collect(sFile), E_UNEXPECTED);
    EXPECT_EQ(CHardwareInfoCollector().Collect(sTaken), E_ACCESSDENIED);
    EXPECT_THAT(
        OwnRecords(watch),
        ElementsAre("[Collect] COpdDirectoryHelper::CreateDirectoryEx(\"" + Utf8(sFile) + "\") failed. [0x8000FFFF]",
                    "[Collect] CResultLog::Open( \"" + Utf8(sTaken) + "\\HardwareInfo.txt\" ) failed. [0x80070005]"));
    EXPECT_THAT(pc.States, ElementsAre());
    EXPECT_FALSE(FileExists(sTaken + L"\\DeviceTree.txt"));
}

// A drive of the older subclass is asked as well; its refusal costs the block of its answer only.
TEST(HardwareInfoCollector, GoesOnWithoutAnInquiry)
{
    const CTestFolder folder;
    CPc pc;
    pc.usb.Hubs[0].Ports[0].sConfiguration[15] = 5;
    pc.stick.dwError = ERROR_IO_DEVICE;
    const CLogWatch watch;
    CHardwareInfoCollector collector;
    std::vector<BYTE> Indexes;
    ASSERT_EQ(collector.Open(folder / L"drives.txt", true), S_OK);
    EXPECT_EQ(collector.OutputStorageDeviceInfo(&Indexes), S_OK);
    EXPECT_THAT(Indexes, ElementsAre(2, 3, 4, 5, 7, 8, 9, 25));
    EXPECT_THAT(OwnRecords(watch), Contains("[OutputUsbInfo] ISptIoCtl::SendInDataCmd( E: INQUIRY ) failed. "
                                            "[0x8007045D][SenseKey:0x00 ASC:0x00 ASCQ:0x00]"));
    collector.Close();
    const std::string sReport = ReportBody(folder / L"drives.txt");
    EXPECT_THAT(sReport, HasSubstr("  bInterfaceSubClass: 0x05 \"Obsolete (SFF-8070i)\"\n"));
    EXPECT_THAT(sReport, HasSubstr("  iInterface        : 0x00\n\n____"));
    EXPECT_THAT(sReport, Not(HasSubstr("INQUIRY")));
}

// Mutated answers to every request about the drives: no crash, no endless loop, nothing left open.
TEST(HardwareInfoCollector, StandsMutatedAnswers)
{
    const CTestFolder folder;
    std::mt19937 random(8);
    CPc pc;
    const auto Tamper = [&](CFakeRequest& rRequest, DWORD& rdwError) {
        const auto nKind = random() % 20;
        if (nKind == 0)
            rdwError = random() % 2 == 0 ? ERROR_GEN_FAILURE : ERROR_INSUFFICIENT_BUFFER;
        else if (nKind == 1)
            rRequest.dwReturned = random();
        else if (nKind < 8 && !rRequest.Out.empty())
            rRequest.Out[random() % std::min<std::size_t>(rRequest.Out.size(), 200)] = static_cast<BYTE>(random());
        if (rRequest.dwCode == 0x220408 && rRequest.Out.size() == 76)
            rRequest.Out[6] %= 8;
    };
    pc.usb.Tamper = Tamper;
    for (const wchar_t cLetter : { L'C', L'E', L'F' })
    {
        pc.io.Add(FormatText(L"\\\\.\\%c:", cLetter), [&, cLetter](CFakeRequest& rRequest) {
            DWORD dwError = pc.Answer(cLetter, rRequest);
            Tamper(rRequest, dwError);
            return dwError;
        });
    }
    std::erase_if(pc.Drives, [](const auto& rEntry) { return rEntry.first > L'F' || rEntry.first == L'D'; });
    for (int nRound = FuzzRounds(100); nRound > 0; --nRound)
    {
        CHardwareInfoCollector collector;
        ASSERT_EQ(collector.Open(folder / L"drives.txt", false), S_OK);
        EXPECT_EQ(collector.OutputStorageDeviceInfo(nullptr), S_OK);
        ASSERT_EQ(pc.io.OpenHandles(), 0u);
    }
}

} // namespace
