#include "hardware/HardwareInfoCollector.h"

#include <array>
#include <cstring>

#include "app/KelvarinApp.h"
#include "hardware/OpdHardwareList.h"
#include "hardware/OpdHardwareTree.h"
#include "hardware/SamplePc.h"
#include "support/FakeDrive.h"
#include "support/FakeRoots.h"
#include "support/FakeUsbPc.h"
#include "support/FuzzRounds.h"
#include "support/Golden.h"
#include "support/LogWatch.h"
#include "support/ReportText.h"
#include "support/VersionBlock.h"

namespace
{

using namespace std::string_literals;
using ::testing::ElementsAre;

struct CPc;
CPc* s_pPc;

// All that the collector asks.
struct CPc : CFakeUsbPc
{
    // "C: type": the drives and displays of HardwarePc.txt. Without them folders and memory are refused too.
    std::map<std::wstring, std::wstring> Cells;
    CFakeDrive& stick = usb.Disks[L'E'].Drive;
    std::vector<std::string> Progress; // of the dialog

    CPc()
    {
        s_pPc = this;
        CKelvarinApp::GetApp().m_ProgressDlg.ResetClients();
        Progress.clear();
        stick = { .dwTransferred = 56,
                  .sData = "\0\x80\0\0\x33\0\0\0SanDisk Cruzer Blade    1.00AB\0C\xFF"s + std::string(14, '\0') + " " };
        CFakeUsbPort& rDisk = usb.Hubs[0].Ports[5];
        usb.Hubs[0].Ports[0].sConfiguration[15] = 5; // the older subclass that is asked too
        rDisk.sDevice[4] = 4;
        rDisk.sConfiguration.replace(14, 3, "\x08\x02\x51"); // class, subclass and protocol of an interface
        rDisk.sConfiguration[49] = 4;
        std::ifstream File(std::filesystem::path{ TEST_DATA L"\\hardware\\HardwarePc.txt" });
        for (std::string sLine; std::getline(File, sLine);)
        {
            std::wistringstream Line(ToWide(sLine));
            std::wstring sRow, sName, sValue;
            for (std::getline(Line, sRow, L'|'); std::getline(Line, sName, L'=') && std::getline(Line, sValue, L'|');)
                Cells[sRow + L' ' + sName] = sValue;
        }
        for (const wchar_t cDrive : Cells[L"pc drives"])
        {
            const std::wstring sDrive = { cDrive, L':' };
            if (Cells.contains(sDrive + L" bus"))
                io.Add(L"\\\\.\\" + sDrive, [=, this](CFakeRequest& rRequest) {
                    DWORD dwError = Answer(sDrive, rRequest);
                    if (usb.Tamper)
                        usb.Tamper(rRequest, dwError);
                    return dwError;
                });
        }
    }

    ULONGLONG Number(const std::wstring& sCell) { return std::wcstoull(Cells[sCell].c_str(), nullptr, 0); }
    DWORD Dword(const std::wstring& sCell) { return static_cast<DWORD>(Number(sCell)); }
    DWORD Answer(const std::wstring& sDrive, CFakeRequest& rRequest)
    {
        if (rRequest.dwCode != 0x2D1400)
            return usb.AnswerDrive(sDrive[0], rRequest);
        DWORD aHead[8] = { 40, 100, Dword(sDrive + L" removable") << 16, 0, 0, 0, 0, Dword(sDrive + L" bus") };
        const wchar_t* const aTexts[] = { L" vendor", L" product", L" revision", L" serial" };
        for (DWORD n = 3; n < 7; ++n)
            std::strcpy(reinterpret_cast<char*>(rRequest.Out.data()) + (aHead[n] = n * 40),
                        Utf8(Cells[sDrive + aTexts[n - 3]]).c_str());
        std::memcpy(rRequest.Out.data(), aHead, sizeof aHead);
        return ERROR_SUCCESS;
    }

    // Asked once for each step of the progress.
    static BOOL WINAPI HasWindow(HWND)
    {
        CProgressDlg& rDialog = CKelvarinApp::GetApp().m_ProgressDlg;
        s_pPc->Progress.push_back(std::to_string(rDialog.GetPercentage()) + ' ' + Utf8(rDialog.GetStatusText()));
        return FALSE;
    }
    static UINT WINAPI Windows(wchar_t* pPath, UINT nSize)
    {
        return s_pPc->Cells.empty() ? FailedCall(ERROR_ACCESS_DENIED) : s_pPc->m_Windows.Original()(pPath, nSize);
    }
    // A driver's version is its path, but for one that has none and one whose version cannot be read.
    static std::vector<BYTE> Version(const std::wstring& sPath)
    {
        const CTranslationStrings strings{ 0x409, { { L"FileVersion", sPath[0] == L'C' ? sPath : L"1.0.0.0" } } };
        return sPath.ends_with(L"Dravik04.mpd") ? std::vector<BYTE>()
               : sPath.ends_with(L"ostrel.sys") ? VersionBlock({})
                                                : VersionBlock({ strings });
    }
    static DWORD WINAPI VersionSize(const wchar_t* pPath, DWORD*) { return Version(pPath).size(); }
    static BOOL WINAPI VersionData(const wchar_t* pPath, DWORD, DWORD dwSize, void* pData)
    {
        return std::memcpy(pData, Version(pPath).data(), dwSize) != nullptr;
    }
    static BOOL WINAPI Memory(MEMORYSTATUSEX* pStatus)
    {
        if (s_pPc->Cells.empty() || pStatus->dwLength != 64)
            return FailedCall(ERROR_ACCESS_DENIED);
        *pStatus = { 64, 42, 4294967296, 1073741824, 8589934592, 999, 1234567, 1000, 0xFFFFFFFFFFFFFFFF };
        return TRUE;
    }
    static BOOL WINAPI Display(const wchar_t* pAdapter, DWORD nIndex, DISPLAY_DEVICEW* pDevice, DWORD)
    {
        const std::wstring sRow = FormatText(L"%s %d", pAdapter != nullptr ? pAdapter : L"display", nIndex);
        std::wcscpy(pDevice->DeviceName, s_pPc->Cells[sRow + L" name"].c_str());
        std::wcscpy(pDevice->DeviceString, s_pPc->Cells[sRow + L" text"].c_str());
        pDevice->StateFlags = s_pPc->Dword(sRow + L" flags");
        return *pDevice->DeviceName != L'\0' && pDevice->cb == 840;
    }
    static DWORD WINAPI LogicalDrives()
    {
        DWORD dwDrives = 0xFC000000; // no letters
        for (const wchar_t cDrive : s_pPc->Cells[L"pc drives"])
            dwDrives |= 1u << (cDrive - L'A');
        return dwDrives;
    }
    static std::wstring DriveOf(const std::wstring& sRoot)
    {
        return sRoot.ends_with(L":\\") ? sRoot.substr(0, 2) : L"";
    }
    static UINT WINAPI DriveType(const wchar_t* pRoot) { return s_pPc->Dword(DriveOf(pRoot) + L" type"); }
    static DWORD WINAPI DosDevice(const wchar_t* pName, wchar_t* pTarget, DWORD nSize)
    {
        ::lstrcpynW(pTarget, s_pPc->Cells[pName + L" target"s].c_str(), static_cast<int>(nSize));
        return *pTarget != L'\0' ? 1u : FailedCall(ERROR_FILE_NOT_FOUND);
    }
    static BOOL WINAPI Volume(const wchar_t* pRoot, wchar_t* pName, DWORD, DWORD* pdwSerial, DWORD* pdwMaxName,
                              DWORD* pdwFlags, wchar_t* pFileSystem, DWORD)
    {
        const std::wstring sDrive = DriveOf(pRoot);
        std::wcscpy(pName, s_pPc->Cells[sDrive + L" volume"].c_str());
        std::wcscpy(pFileSystem, s_pPc->Cells[sDrive + L" filesystem"].c_str());
        *pdwSerial = s_pPc->Dword(sDrive + L" number");
        *pdwMaxName = 255;
        *pdwFlags = s_pPc->Dword(sDrive + L" flags");
        return *pFileSystem != L'\0' ? 1 : FailedCall(ERROR_NOT_READY);
    }
    static BOOL WINAPI Capacity(const wchar_t* pRoot, ULARGE_INTEGER* pAvailable, ULARGE_INTEGER* pTotal,
                                ULARGE_INTEGER* pFree)
    {
        pAvailable->QuadPart = s_pPc->Number(DriveOf(pRoot) + L" available");
        pFree->QuadPart = s_pPc->Number(DriveOf(pRoot) + L" free");
        pTotal->QuadPart = s_pPc->Number(DriveOf(pRoot) + L" total");
        return pTotal->QuadPart != 0 ? 1 : FailedCall(ERROR_GEN_FAILURE);
    }

    CImportPatch<decltype(HasWindow)> m_Window{ "IsWindow", HasWindow };
    CImportPatch<decltype(Windows)> m_Windows{ "GetWindowsDirectoryW", Windows };
    CImportPatch<decltype(VersionSize)> m_VersionSize{ "GetFileVersionInfoSizeW", VersionSize };
    CImportPatch<decltype(VersionData)> m_VersionData{ "GetFileVersionInfoW", VersionData };
    CImportPatch<decltype(Memory)> m_Memory{ "GlobalMemoryStatusEx", Memory };
    CImportPatch<decltype(Display)> m_Display{ "EnumDisplayDevicesW", Display };
    CImportPatch<decltype(LogicalDrives)> m_Drives{ "GetLogicalDrives", LogicalDrives };
    CImportPatch<decltype(DriveType)> m_Type{ "GetDriveTypeW", DriveType };
    CImportPatch<decltype(DosDevice)> m_Target{ "QueryDosDeviceW", DosDevice };
    CImportPatch<decltype(Volume)> m_Volume{ "GetVolumeInformationW", Volume };
    CImportPatch<decltype(Capacity)> m_Capacity{ "GetDiskFreeSpaceExW", Capacity };
};

// The progress and the collector's own records, without what the classes below have to say.
std::vector<std::string> Told(const CPc& rPc, const CLogWatch& rWatch)
{
    EXPECT_EQ(rPc.io.OpenHandles() + rPc.devices.OpenSets(), 0u);
    std::vector<std::string> Records = rWatch.Records();
    std::erase_if(Records, [](const std::string& s) { return !s.starts_with("[CHardwareInfoCollector::"); });
    Records.insert(Records.begin(), rPc.Progress.begin(), rPc.Progress.end());
    return Records;
}

// The registry's four values about the PC; null: there is none.
using CPcNames = std::array<const wchar_t*, 4>;
void Enter(CFakeRoots& rRoots, const CPcNames& aNames)
{
    const std::wstring sFirst = L"SYSTEM\\CurrentControlSet\\Control\\SystemInformation";
    const std::wstring sSecond = L"SOFTWARE\\Microsoft\\Windows\\CurrentVersion\\WindowsUpdate\\OemInfo";
    const wchar_t* const aValues[] = { L"SystemManufacturer", L"SystemProductName", L"WbemOem", L"WbemProduct" };
    for (std::size_t n = 0; n < 4; ++n)
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
    const CLogWatch watch;
    EXPECT_EQ(CHardwareInfoCollector().Collect(folder / L"new\\out"), S_OK);
    EXPECT_EQ(ReportBody(folder / L"new\\out\\HardwareInfo.txt"), Golden(L"hardware/HardwareInfo.txt"));
    EXPECT_EQ(pc.stick.sRecord.substr(28, 6), "\x12\0\0\0\x38\0"s);
    for (const wchar_t* const pName : { L"DeviceTree-Detail.txt", L"DeviceTree.txt", L"DeviceList-All.txt",
                                        L"DeviceList-Present.txt", L"UsbDeviceTree-Detail.txt", L"UsbDeviceTree.txt" })
        EXPECT_NE(ReadBytes(folder / (L"new\\out\\" + std::wstring(pName))), "") << Utf8(pName);

    // A refused inquiry costs the block of its answer only.
    pc.stick.dwError = ERROR_IO_DEVICE;
    pc.Cells[L"pc drives"] = L"DEG";
    CHardwareInfoCollector collector;
    std::vector<BYTE> Indexes;
    ASSERT_EQ(collector.Open(folder / L"drives.txt", false), S_OK);
    EXPECT_EQ(collector.OutputStorageDeviceInfo(&Indexes), S_OK);
    EXPECT_THAT(Indexes, ElementsAre(3, 4));
    collector.Close();
    EXPECT_TRUE(ReadBytes(folder / L"drives.txt").ends_with("\r\n  iInterface        : 0x00\r\n\r\n"));
    ExpectGolden(L"hardware\\HardwareInfo.log", Joined(Told(pc, watch)), L"");
}

// The second key stands in only where the first one lacks something. Each stage's failure leaves its head and the other
// stages.
TEST(HardwareInfoCollector, GoesOnWhenAStageFails)
{
    const std::pair<CPcNames, std::string> aCases[] = {
        { { L"A", L"B", L"C", L"D" }, "Manufacturer : \"A\"\nProductName  : \"B\"\n" },
        { { L"A", nullptr, L"C", nullptr }, "Manufacturer : \"A\"\nVendor: \"C\"\n" },
        { {}, "" },
    };
    std::vector<std::string> Log;
    for (const auto& [Names, sLines] : aCases)
    {
        const CTestFolder folder;
        CFakeRoots roots;
        Enter(roots, Names);
        CPc pc;
        pc.Cells.clear();
        pc.devices.dwSetError = ERROR_ACCESS_DENIED;
        const CLogWatch watch;
        EXPECT_EQ(CHardwareInfoCollector().Collect(folder.Path()), S_OK);
        std::string sReport = Golden(L"hardware/HardwareInfoHeads.txt");
        EXPECT_EQ(ReportBody(folder / L"HardwareInfo.txt"), sReport.insert(sReport.find("]") + 3, sLines));
        pc.Progress.clear();
        std::ranges::copy(Told(pc, watch), std::back_inserter(Log));
    }
    ExpectGolden(L"hardware\\HardwareInfoHeads.log", Joined(Log), L"");
}

// A report that cannot be made ends the collection before anything is asked.
TEST(HardwareInfoCollector, RefusesAPlaceWhereItCannotWrite)
{
    const CTestFolder folder;
    folder.Write(L"file", "x");
    folder.Write(L"taken\\HardwareInfo.txt\\x", "");
    CPc pc;
    const CLogWatch watch;
    EXPECT_EQ(CHardwareInfoCollector().Collect(L""), HRESULT_FROM_WIN32(ERROR_BAD_PATHNAME));
    EXPECT_EQ(CHardwareInfoCollector().Collect(folder / L"file"), E_UNEXPECTED);
    EXPECT_EQ(CHardwareInfoCollector().Collect(folder / L"taken"), E_ACCESSDENIED);
    ExpectGolden(L"hardware\\HardwareInfoRefused.log", Joined(Told(pc, watch)), folder.Path());
    EXPECT_THROW(ReadBytes(folder / L"taken\\DeviceTree.txt"), std::runtime_error);
}

// Mutated answers to every request, of the drives, the nodes and the USB devices: no crash, no endless loop, nothing
// left open.
TEST(HardwareInfoCollector, StandsMutatedAnswers)
{
    const CTestFolder folder;
    CPc pc;
    AddSamplePc(pc.devices, 1);
    const std::vector<CFakeNode> Nodes = pc.devices.Nodes();
    pc.Cells[L"pc drives"] = L"CEF";
    CFuzz fuzz(8, pc.io);
    pc.usb.Tamper = [&](CFakeRequest& rRequest, DWORD& rdwError) { fuzz.Tamper(rRequest, rdwError); };
    for (unsigned nRound = FuzzRounds(300); nRound > 0; --nRound)
    {
        fuzz.NextRound();
        std::mt19937& random = fuzz.Random;
        for (DEVINST hNode = 1; CFakeNode* const pNode = pc.devices.Find(hNode); ++hNode)
        {
            *pNode = Nodes[hNode - 1];
            for (auto& [ulNumber, rProperty] : pNode->Properties)
            {
                if (random() % 12 == 0)
                    rProperty.ulType = random() % 13;
                if (random() % 12 == 0)
                    rProperty.dwTold = random() % 100;
                if (random() % 12 == 0)
                    rProperty.sBytes.resize(random() % 70, static_cast<char>(random()));
                if (random() % 2 == 0 && !rProperty.sBytes.empty())
                    rProperty.sBytes[random() % rProperty.sBytes.size()] = static_cast<char>(random());
            }
        }
        CHardwareInfoCollector collector;
        ASSERT_EQ(collector.Open(folder / L"drives.txt", false), S_OK);
        EXPECT_EQ(collector.OutputStorageDeviceInfo(nullptr), S_OK);
        EXPECT_EQ(COpdHardwareTree().DumpDeviceTree(folder / L"tree.txt", nRound % 4 == 0), S_OK);
        EXPECT_EQ(COpdHardwareList().DumpAllDeviceList(folder / L"list.txt"), S_OK);
        ASSERT_EQ(pc.io.OpenHandles() + pc.devices.OpenSets(), 0u);
    }
}

} // namespace
