// The order of the report, and its sections about the PC, drivers, memory and displays.
#include "hardware/HardwareInfoCollector.h"

#include "collect/CollectorFolders.h"
#include "collect/CollectorUtil.h"
#include "collect/StepResult.h"
#include "hardware/ByteFigures.h"
#include "hardware/OpdHardwareList.h"
#include "hardware/OpdHardwareTree.h"
#include "hardware/OpdUsbDeviceTree.h"
#include "platform/FlagTable.h"
#include "platform/HResult.h"
#include "platform/Path.h"
#include "platform/RegKey.h"

namespace
{

constexpr UINT32 Range = 70;
constexpr DWORD TextCapacity = 1024; // characters

void OpenKey(const CFunctionLog& log, CRegKey& rKey, const wchar_t* pPath)
{
    const DWORD dwStatus = OpenMachineKey(pPath, rKey);
    if (dwStatus != ERROR_SUCCESS)
        log.Fail(E_FAIL, L"CRegKey::Open( \"%s\" ) failed. [%d]", pPath, dwStatus);
}

constexpr CNameRow<DWORD> DisplayFlags[] = {
    { DISPLAY_DEVICE_ACTIVE, L"DISPLAY_DEVICE_ACTIVE" },
    { DISPLAY_DEVICE_MIRRORING_DRIVER, L"DISPLAY_DEVICE_MIRRORING_DRIVER" },
    { DISPLAY_DEVICE_MODESPRUNED, L"DISPLAY_DEVICE_MODESPRUNED" },
    { DISPLAY_DEVICE_PRIMARY_DEVICE, L"DISPLAY_DEVICE_PRIMARY_DEVICE" },
    { DISPLAY_DEVICE_REMOVABLE, L"DISPLAY_DEVICE_REMOVABLE" },
    { DISPLAY_DEVICE_VGA_COMPATIBLE, L"DISPLAY_DEVICE_VGA_COMPATIBLE" },
};

void OutputDisplayDevice(CResultLog& rReport, const DISPLAY_DEVICEW& rDevice)
{
    rReport.WriteLine(L"DeviceName  : %s", rDevice.DeviceName);
    rReport.WriteLine(L"DeviceString: %s", rDevice.DeviceString);
    rReport.WriteLine(L"StateFlags  : 0x%08X", rDevice.StateFlags);
    ForEachFlag(DisplayFlags, rDevice.StateFlags, [&](const wchar_t* pName) { rReport.WriteLine(L"    %s", pName); });
    rReport.WriteLine(L"");
}

// The display device of that index; false at the end of the list.
bool NextDisplayDevice(const wchar_t* pAdapter, DWORD nIndex, DISPLAY_DEVICEW& rDevice)
{
    rDevice = {};
    rDevice.cb = sizeof rDevice;
    return ::EnumDisplayDevicesW(pAdapter, nIndex, &rDevice, 0) != FALSE;
}

} // namespace

struct CHardwareInfoCollector::CDriverRow
{
    bool bInWindows; // the path starts in the Windows folder, else in the system folder
    const wchar_t* pPath;
    const wchar_t* pName;
};

struct CHardwareInfoCollector::CStep
{
    const wchar_t* pName;
    HRESULT (CHardwareInfoCollector::*pRun)();
};

struct CHardwareInfoCollector::CStage
{
    UINT32 nPosition;
    const wchar_t* pText;
    const wchar_t* pSection; // null: the stage writes its own heads, or nothing
    CStep Step;
    CStep Substitute = {}; // runs only when the step has failed
};

CHardwareInfoCollector::CHardwareInfoCollector()
    : m_Progress(L"CHardwareInfoCollector", Range, L"collecting hardware information...")
{
}

HRESULT CHardwareInfoCollector::Collect(const std::wstring& sDirPath)
{
    // clang-format off
    static constexpr CStage aStages[] = {
        { 10, L"Collecting PC Model information...", L"[PC]", { L"OutputPcModelName", &CHardwareInfoCollector::OutputPcModelName },
              { L"OutputPcModelNumber", &CHardwareInfoCollector::OutputPcModelNumber } },
        { 20, L"Collecting Tolvane PD Driver information...", L"[Tolvane PD Driver]", { L"OutputPdDriverInfo", &CHardwareInfoCollector::OutputPdDriverInfo } },
        { 30, L"Collecting ASPI information...", L"[ASPI]", { L"OutputGetAspiVersion", &CHardwareInfoCollector::OutputGetAspiVersion } },
        { 40, L"Collecting Memory information...", L"[Memory]", { L"OutputMemoryInfo", &CHardwareInfoCollector::OutputMemoryInfo } },
        { 50, L"Collecting Display Device information...", L"[Display]", { L"OutputDisplayInfo", &CHardwareInfoCollector::OutputDisplayInfo } },
        { 60, L"Collecting Storage Device information...", nullptr, { L"OutputStorageDeviceInfo", &CHardwareInfoCollector::OutputAllStorageDevices } },
        { 70, L"Collecting Device information...", nullptr, { L"OutputDeviceList", &CHardwareInfoCollector::OutputDeviceList } },
    };
    // clang-format on
    CFunctionLog log;
    return log.Run([&] {
        CreateOutputFolder(log, sDirPath, L"COpdDirectoryHelper::CreateDirectoryEx(\"%s\") failed. [0x%08X]");
        m_sDirPath = sDirPath;
        OpenOrThrow(log, JoinPath(sDirPath, L"HardwareInfo.txt"), true);
        for (const CStage& rStage : aStages)
        {
            m_Progress.Update(rStage.nPosition, rStage.pText);
            if (rStage.pSection != nullptr)
                WriteSectionHead(rStage.pSection);
            if (FAILED(RunStep(log, rStage.Step)) && rStage.Substitute.pRun != nullptr)
                RunStep(log, rStage.Substitute);
        }
    });
}

HRESULT CHardwareInfoCollector::RunStep(const CFunctionLog& log, const CStep& rStep)
{
    const HRESULT hr = (this->*rStep.pRun)();
    Tolerate(log, hr, L"%s() failed.[0x%08X]", rStep.pName);
    return hr;
}

HRESULT CHardwareInfoCollector::OutputPcModelName()
{
    static constexpr CNameRow<const wchar_t*> aValues[] = {
        { L"SystemManufacturer", L"Manufacturer" },
        { L"SystemProductName", L"ProductName " },
    };
    CFunctionLog log;
    return log.Run([&]() -> HRESULT {
        CRegKey reg;
        OpenKey(log, reg, L"SYSTEM\\CurrentControlSet\\Control\\SystemInformation\\");
        HRESULT hr = S_OK;
        for (const auto& rValue : aValues)
        {
            std::wstring sText;
            const DWORD dwStatus = reg.QueryStringValue(rValue.value, sText, TextCapacity);
            if (dwStatus == ERROR_SUCCESS)
            {
                WriteLine(L"%s : \"%s\"", rValue.pName, sText);
                continue;
            }
            log.Error(L"CRegKey::QueryStringValue( \"%s\" ) failed. [%d]", rValue.value, dwStatus);
            hr = E_FAIL;
        }
        return hr;
    });
}

HRESULT CHardwareInfoCollector::OutputPcModelNumber()
{
    CFunctionLog log;
    return log.Run([&]() -> HRESULT {
        CRegKey reg;
        OpenKey(log, reg, L"SOFTWARE\\Microsoft\\Windows\\CurrentVersion\\WindowsUpdate\\OemInfo\\");
        HRESULT hr = S_OK;
        std::wstring sVendor, sProduct;
        DWORD dwStatus = reg.QueryStringValue(L"WbemOem", sVendor, TextCapacity);
        if (dwStatus == ERROR_SUCCESS)
            WriteLine(L"Vendor: \"%s\"", sVendor);
        else
        {
            log.Error(L"CRegKey::QueryStringValue( \"%s\" ) failed. [%d]", L"WbemOem", dwStatus);
            hr = E_FAIL;
        }
        dwStatus = reg.QueryStringValue(L"WbemProduct", sProduct, TextCapacity);
        if (dwStatus == ERROR_SUCCESS)
            WriteLine(L"Model Number: \"%s\"\n", sProduct);
        else
        {
            // Names the other value's text, as it always has.
            log.Error(L"CRegKey::QueryStringValue( \"%s\" ) failed. [%d]", sVendor, dwStatus);
            hr = E_FAIL;
        }
        return hr;
    });
}

// The layouts of several Windows generations: on each a part of them is missing, which is an ordinary result.
HRESULT CHardwareInfoCollector::OutputPdDriverInfo()
{
    static constexpr CDriverRow Drivers[] = {
        { true, L"system32\\drivers\\Qarnel33.sys", L"Qarnel33.sys" },
        { true, L"system32\\drivers\\Qarnel31.sys", L"Qarnel31.sys" },
        { true, L"system32\\drivers\\QarnelBus.sys", L"QarnelBus.sys" },
        { false, L"Dravik01.sys", L"Dravik01.sys" },
        { true, L"system32\\drivers\\Dravik03.sys", L"Dravik03.sys" },
        { true, L"iosubsys\\Dravik04.mpd", L"Dravik04.mpd" },
        { true, L"drivers\\Dravik05.sys", L"Dravik05.sys" },
        { false, L"drivers\\Dravik06.sys", L"Dravik06.sys" },
        { false, L"drivers\\Dravik07.sys", L"Dravik07.sys" },
        { true, L"system32\\drivers\\ostrel.sys", L"ostrel.sys" },
        { true, L"system32\\drivers\\pimbra.sys", L"pimbra.sys" },
        { false, L"DRAVIK02.SYS", L"DRAVIK02.SYS" },
    };
    CFunctionLog log;
    return log.Run([&] { OutputDriverRows(log, Drivers); });
}

HRESULT CHardwareInfoCollector::OutputGetAspiVersion()
{
    static constexpr CDriverRow Drivers[] = {
        { false, L"wnaspi32.DLL", L"wnaspi32.DLL" },
        { true, L"system\\wowpost.exe", L"wowpost.exe" },
        { true, L"system\\winaspi.dll", L"winaspi.dll" },
        { false, L"drivers\\aspi32.sys", L"aspi32.sys" },
    };
    CFunctionLog log;
    return log.Run([&] { OutputDriverRows(log, Drivers); });
}

void CHardwareInfoCollector::OutputDriverRows(const CFunctionLog& log, std::span<const CDriverRow> Rows)
{
    const std::wstring sWindows = RequireSystemFolder(log, ::GetWindowsDirectoryW, L"GetWindowsDirectory");
    const std::wstring sSystem = RequireSystemFolder(log, ::GetSystemDirectoryW, L"GetSystemDirectory");
    for (const CDriverRow& rRow : Rows)
        OutputFileVersion(rRow.pName, JoinPath(rRow.bInWindows ? sWindows : sSystem, rRow.pPath));
}

// A missing file counts as one without a version: its line ends behind the colon.
HRESULT CHardwareInfoCollector::OutputFileVersion(const wchar_t* pName, const std::wstring& sPath)
{
    CFunctionLog log;
    return log.Run([&] {
        if (*pName == L'\0' || sPath.empty())
            log.Fail(E_INVALIDARG, L"invalid param!!");
        WriteLine(L"%s", CCollectorUtil::FileVersionLine(pName, sPath));
    });
}

HRESULT CHardwareInfoCollector::OutputMemoryInfo()
{
    CFunctionLog log;
    return log.Run([&] {
        MEMORYSTATUSEX Status{};
        Status.dwLength = sizeof Status;
        if (!::GlobalMemoryStatusEx(&Status))
            log.Fail(E_FAIL, L"::GlobalMemoryStatusEx() failed. [0x%08X]", LastErrorResult());

        const auto WriteFree = [&](ULONGLONG ullBytes) {
            WriteLine(L"  Free : %7.2f MB (%s bytes)", Megabytes(ullBytes), DigitGroups(ullBytes));
        };
        const auto WriteTotal = [&](ULONGLONG ullFigure, ULONGLONG ullBytes) {
            WriteLine(L"  Total: %7.2f MB (%s bytes)", Megabytes(ullFigure), DigitGroups(ullBytes));
            WriteLine(L"");
        };
        WriteLine(L"MEMORY IN USE");
        WriteLine(L"  %ld %%", Status.dwMemoryLoad);
        WriteLine(L"");
        WriteLine(L"PHYSICAL MEMORY");
        WriteFree(Status.ullAvailPhys);
        WriteTotal(Status.ullTotalPhys, Status.ullTotalPhys);
        WriteLine(L"PAGE FILE");
        WriteFree(Status.ullAvailPageFile);
        // The brackets hold the physical total; readers of the report know it so.
        WriteTotal(Status.ullTotalPageFile, Status.ullTotalPhys);
        WriteLine(L"VIRTUAL MEMORY");
        WriteFree(Status.ullAvailVirtual);
        WriteTotal(Status.ullTotalVirtual, Status.ullTotalVirtual);
        WriteLine(L"EXTENDED MEMORY");
        WriteFree(Status.ullAvailExtendedVirtual);
        WriteLine(L"");
    });
}

HRESULT CHardwareInfoCollector::OutputDisplayInfo()
{
    CFunctionLog log;
    return log.Run([&] {
        DISPLAY_DEVICEW Adapter;
        for (DWORD nAdapter = 0; NextDisplayDevice(nullptr, nAdapter, Adapter); ++nAdapter)
        {
            WriteLine(L"*** DISPLAY ADAPTER [%d] ***", nAdapter);
            OutputDisplayDevice(*this, Adapter);
            DISPLAY_DEVICEW Monitor;
            for (DWORD nMonitor = 0; NextDisplayDevice(Adapter.DeviceName, nMonitor, Monitor); ++nMonitor)
            {
                WriteLine(L"*** DISPLAY MONITOR ***");
                OutputDisplayDevice(*this, Monitor);
            }
        }
    });
}

// Each dump reports its own failure and does not stop the next.
HRESULT CHardwareInfoCollector::OutputDeviceList()
{
    CFunctionLog log;
    return log.Run([&] {
        COpdHardwareTree tree;
        tree.DumpDeviceTree(EntryPath(m_sDirPath, L"DeviceTree-Detail.txt"), false);
        tree.DumpDeviceTree(EntryPath(m_sDirPath, L"DeviceTree.txt"), true);
        COpdHardwareList list;
        list.DumpAllDeviceList(EntryPath(m_sDirPath, L"DeviceList-All.txt"));
        list.DumpCurrentDeviceList(EntryPath(m_sDirPath, L"DeviceList-Present.txt"));
        list.DumpIndividualDeviceList(m_sDirPath);
        COpdUsbDeviceTree usbTree(COpdUsbDeviceTree::StandardOpenDeviceFunction);
        usbTree.DumpUsbDeviceTree(EntryPath(m_sDirPath, L"UsbDeviceTree-Detail.txt"), false);
        usbTree.DumpUsbDeviceTree(EntryPath(m_sDirPath, L"UsbDeviceTree.txt"), true);
    });
}
