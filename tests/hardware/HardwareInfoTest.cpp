#include "hardware/HardwareInfoCollector.h"

#include <filesystem>
#include <fstream>
#include <sstream>

#include "hardware/OpdHardwareList.h"
#include "hardware/OpdHardwareTree.h"
#include "hardware/OpdUsbDeviceTree.h"
#include "platform/CodePage.h"
#include "support/FakeRoots.h"
#include "support/FakeUsbPc.h"
#include "support/FakeVersions.h"
#include "support/FuzzRounds.h"
#include "support/Golden.h"
#include "support/ProgressWatch.h"

namespace
{

using namespace std::string_literals;

// All that the collector asks: the PC of HardwarePc.txt. One at a time.
struct CPc : CFakeUsbPc
{
    // "C: type": the drives and displays.
    static inline std::map<std::wstring, std::wstring> s_Cells;
    CProgressWatch progress;

    CPc()
    {
        static constexpr wchar_t Path[] = TEST_DATA L"\\hardware\\HardwarePc.txt";
        Describe(Path);
        std::ifstream File(std::filesystem::path{ Path });
        for (std::string sLine; std::getline(File, sLine);)
        {
            std::wistringstream Line(ToWide(sLine));
            std::wstring sRow, sName, sValue;
            for (std::getline(Line, sRow, L'|'); std::getline(Line, sName, L'=') && std::getline(Line, sValue, L'|');)
                s_Cells[sRow + L' ' + sName] = sValue;
        }
    }
    ~CPc() { s_Cells.clear(); }

    // Of a drive, with or without its root's backslash.
    static const wchar_t* Cell(const std::wstring& sRow, const wchar_t* pName)
    {
        return s_Cells[(sRow.ends_with(L":\\") ? sRow.substr(0, 2) : sRow) + L' ' + pName].c_str();
    }
    static ULONGLONG Number(const std::wstring& sRow, const wchar_t* pName)
    {
        return std::wcstoull(Cell(sRow, pName), nullptr, 0);
    }

    // A driver's version is its path, but for one without a resource and one whose resource says nothing. The tests'
    // own is a number.
    static std::wstring DriverVersion(const std::wstring& sPath, const std::wstring& sQuery)
    {
        if (sPath.ends_with(L"Dravik04.mpd") || (sPath.ends_with(L"ostrel.sys") && sQuery != L"\\"))
            return {};
        return sQuery.ends_with(L"Translation") ? L"\x0409\x04B0" : sPath[0] == L'C' ? sPath : L"1.0.0.0";
    }
    static BOOL WINAPI Memory(MEMORYSTATUSEX* pStatus)
    {
        *pStatus = { 64, 42, 4294967296, 1073741824, 8589934592, 999, 1234567, 1000, 0xFFFFFFFFFFFFFFFF };
        return TRUE;
    }
    static BOOL WINAPI Display(const wchar_t* pAdapter, DWORD nIndex, DISPLAY_DEVICEW* pDevice, DWORD)
    {
        const std::wstring sRow = FormatText(L"%s %d", pAdapter != nullptr ? pAdapter : L"display", nIndex);
        std::wcscpy(pDevice->DeviceName, Cell(sRow, L"name"));
        std::wcscpy(pDevice->DeviceString, Cell(sRow, L"text"));
        pDevice->StateFlags = static_cast<DWORD>(Number(sRow, L"flags"));
        return *pDevice->DeviceName != L'\0' && pDevice->cb == 840;
    }
    static DWORD WINAPI LogicalDrives()
    {
        DWORD dwDrives = 0xFC000000; // no letters
        for (const wchar_t cDrive : s_Cells[L"pc drives"])
            dwDrives |= 1u << (cDrive - L'A');
        return dwDrives;
    }
    static UINT WINAPI DriveType(const wchar_t* pRoot) { return static_cast<UINT>(Number(pRoot, L"type")); }
    static DWORD WINAPI DosDevice(const wchar_t* pName, wchar_t* pTarget, DWORD nSize)
    {
        ::lstrcpynW(pTarget, Cell(pName, L"target"), static_cast<int>(nSize));
        return *pTarget != L'\0' ? 1u : FailedCall(ERROR_FILE_NOT_FOUND);
    }
    static BOOL WINAPI Volume(const wchar_t* pRoot, wchar_t* pName, DWORD, DWORD* pdwSerial, DWORD* pdwMaxName,
                              DWORD* pdwFlags, wchar_t* pFileSystem, DWORD)
    {
        std::wcscpy(pName, Cell(pRoot, L"volume"));
        std::wcscpy(pFileSystem, Cell(pRoot, L"filesystem"));
        *pdwSerial = static_cast<DWORD>(Number(pRoot, L"number"));
        *pdwMaxName = 255;
        *pdwFlags = static_cast<DWORD>(Number(pRoot, L"flags"));
        return *pFileSystem != L'\0' ? 1 : FailedCall(ERROR_NOT_READY);
    }
    static BOOL WINAPI Capacity(const wchar_t* pRoot, ULARGE_INTEGER* pAvailable, ULARGE_INTEGER* pTotal,
                                ULARGE_INTEGER* pFree)
    {
        pAvailable->QuadPart = Number(pRoot, L"available");
        pFree->QuadPart = Number(pRoot, L"free");
        pTotal->QuadPart = Number(pRoot, L"total");
        return pTotal->QuadPart != 0 ? 1 : FailedCall(ERROR_GEN_FAILURE);
    }

    CFakeVersions m_Versions{ DriverVersion };
    CImportPatch<decltype(Memory)> m_Memory{ "GlobalMemoryStatusEx", Memory };
    CImportPatch<decltype(Display)> m_Display{ "EnumDisplayDevicesW", Display };
    CImportPatch<decltype(LogicalDrives)> m_Drives{ "GetLogicalDrives", LogicalDrives };
    CImportPatch<decltype(DriveType)> m_Type{ "GetDriveTypeW", DriveType };
    CImportPatch<decltype(DosDevice)> m_Target{ "QueryDosDeviceW", DosDevice };
    CImportPatch<decltype(Volume)> m_Volume{ "GetVolumeInformationW", Volume };
    CImportPatch<decltype(Capacity)> m_Capacity{ "GetDiskFreeSpaceExW", Capacity };
};

// Support reads this report first; whoever compares two PCs does it line by line. A refused inquiry, as of drive F,
// costs the block of its answer only. The brief tree under the name of the detailed one misleads, too.
TEST(HardwareInfoCollector, WritesTheReport)
{
    const CTestFolder folder;
    const CFakeRoots roots(L"hardware\\PcModel.reg");
    CPc pc;
    pc.io.Tamper = [](const auto&, CFakeRequest& rRequest, DWORD&) {
        const std::string sIn(rRequest.In.begin(), rRequest.In.end());
        EXPECT_TRUE(rRequest.dwCode != 0x4D004 || sIn.substr(28, 6) == "\x12\0\0\0\x38\0"s);
    };
    const CLogWatch watch;
    EXPECT_EQ(CHardwareInfoCollector().Collect(folder / L"new\\out"), S_OK);
    ExpectGolden(L"hardware\\HardwareInfo.txt", ReadBytes(folder / L"new\\out\\HardwareInfo.txt"), L"");
    for (const auto& [pName, pStart] : { std::pair{ L"DeviceTree.txt", "+ " },
                                         { L"DeviceTree-Detail.txt", "____" },
                                         { L"UsbDeviceTree.txt", "+ [Host" },
                                         { L"UsbDeviceTree-Detail.txt", "\r\n____" } })
        EXPECT_TRUE(ReadBytes(folder / (std::wstring(L"new\\out\\") + pName)).starts_with(pStart)) << Utf8(pName);
    // The collector's own records, without what the classes below have to say.
    std::vector<std::string> Records = watch.Records();
    std::erase_if(Records, [](const std::string& s) { return !s.starts_with("[CHardwareInfoCollector::"); });
    ExpectGolden(L"hardware\\HardwareInfo.log", pc.progress.Seen() + Joined(Records), L"");
}

// The second key of the PC's name stands in only where the first one lacks something. Each stage's failure leaves its
// head and the other stages.
TEST(HardwareInfoCollector, GoesOnWhenAStageFails)
{
    std::string sAll;
    for (const wchar_t* const pRoots : { L"PcModel-Both.reg", L"PcModel-Half.reg", L"PcModel-None.reg" })
    {
        const CTestFolder folder;
        const CFakeRoots roots(std::wstring(L"hardware\\") + pRoots);
        CPc pc;
        CPc::s_Cells.clear();
        pc.devices.dwSetError = ERROR_ACCESS_DENIED;
        const auto memory = FakeImport<decltype(::GlobalMemoryStatusEx)>(
            "GlobalMemoryStatusEx", [](MEMORYSTATUSEX*) { return FailedCall(ERROR_ACCESS_DENIED); });
        const auto windows = FakeImport<decltype(::GetWindowsDirectoryW)>(
            "GetWindowsDirectoryW", [](wchar_t*, UINT) { return FailedCall(ERROR_ACCESS_DENIED); });
        const CLogWatch watch;
        EXPECT_EQ(CHardwareInfoCollector().Collect(folder.Path()), S_OK);
        sAll += ReadBytes(folder / L"HardwareInfo.txt") + "== log\r\n" + Joined(watch.Records());
    }
    ExpectGolden(L"hardware\\HardwareInfoHeads.txt", sAll, L"");
    EXPECT_EQ(CHardwareInfoCollector().Collect(L""), E_INVALIDARG);
}

// Mutated answers to every request, of the drives, the nodes and the USB devices: no crash, no endless loop, nothing
// left open.
TEST(HardwareInfoCollector, StandsMutatedAnswers)
{
    const CTestFolder folder;
    CPc pc;
    pc.devices.Describe(TEST_DATA L"\\hardware\\SamplePc.txt", 1);
    const std::vector<CFakeNode> Nodes = pc.devices.Nodes();
    CPc::s_Cells[L"pc drives"] = L"CEF";
    CFuzz fuzz(8, pc.io);
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
        COpdUsbDeviceTree(COpdUsbDeviceTree::StandardOpenDeviceFunction).DumpUsbDeviceTree(L"NUL", nRound % 4 == 0);
        ASSERT_EQ(pc.io.OpenHandles() + pc.devices.OpenSets(), 0u);
    }
}

} // namespace
