// The report's sections about drives: storage, volume, capacity.
#include "hardware/ByteFigures.h"
#include "hardware/HardwareInfoCollector.h"
#include "hardware/HardwareInfoTables.h"
#include "hardware/OpdStorageDevice.h"
#include "platform/Drive.h"
#include "platform/FlagTable.h"
#include "platform/HResult.h"

namespace
{

constexpr BYTE DriveCount = 26;
constexpr DWORD VolumeTextCapacity = 1024; // characters

std::wstring DriveRoot(BYTE nDriveIndex)
{
    return FormatText(L"%c:\\", DriveLetter(nDriveIndex));
}

std::wstring TargetPath(const CFunctionLog& log, BYTE nDriveIndex)
{
    wchar_t aTarget[260] = L"";
    const std::wstring sDevice = FormatText(L"%c:", DriveLetter(nDriveIndex));
    if (::QueryDosDeviceW(sDevice.c_str(), aTarget, static_cast<DWORD>(std::size(aTarget))) != 0)
        return aTarget;
    log.Warning(L"::QueryDosDevice( %s ) failed. [0x%08X]", sDevice, LastErrorResult());
    return {};
}

} // namespace

struct CHardwareInfoCollector::CVolumeInfo
{
    std::wstring sVolumeName;
    std::wstring sFileSystem;
    DWORD dwSerialNumber = 0;
    DWORD dwMaxFileName = 0;
    DWORD dwFlags = 0;
};

struct CHardwareInfoCollector::CDriveCapacity
{
    ULARGE_INTEGER Available{};
    ULARGE_INTEGER Total{};
    ULARGE_INTEGER Free{};
};

HRESULT CHardwareInfoCollector::OutputStorageDeviceInfo(std::vector<BYTE>* pDriveIndexes)
{
    CFunctionLog log;
    return log.Run([&] {
        const DWORD dwDrives = ::GetLogicalDrives();
        std::wstring sHead = L"[LogicalDrives]";
        for (BYTE n = 0; n < DriveCount; ++n)
        {
            if ((dwDrives & 1u << n) != 0)
                sHead += FormatText(L" (%c:)", DriveLetter(n));
        }
        WriteSectionHead(sHead);
        for (BYTE n = 0; n < DriveCount; ++n)
        {
            if ((dwDrives & 1u << n) != 0)
                OutputDrive(log, n, pDriveIndexes);
        }
    });
}

// A drive that does not answer leaves no trace in the report but its letter in the head.
void CHardwareInfoCollector::OutputDrive(const CFunctionLog& log, BYTE nDriveIndex, std::vector<BYTE>* pDriveIndexes)
{
    CStorageDriveInfo info;
    const HRESULT hr = COpdStorageDevice(COpdStorageDevice::StandardOpenDeviceFunction).GetDriveInfo(nDriveIndex, info);
    if (FAILED(hr))
    {
        log.Assert(L"COpdStorageDevice::GetDriveInfo( %c: ) failed. [0x%08X]", DriveLetter(nDriveIndex), hr);
        return;
    }
    WriteSectionHead(FormatText(L"[Drive(%c:)]", DriveLetter(nDriveIndex)));
    WriteLine(L"  *** STORAGE DEVICE DESCRIPTOR ***");
    WriteLine(L"  VendorId       : \"%s\"", info.sVendorId);
    WriteLine(L"  ProductId      : \"%s\"", info.sProductId);
    WriteLine(L"  Revision       : \"%s\"", info.sRevision);
    WriteLine(L"  SerialNumber   : \"%s\"", info.sSerialNumber);
    WriteLine(L"  Removable      : %s", info.bRemovable ? L"Yes" : L"No");
    WriteLine(L"  BusType        : %s", NameOr(BusTypeTable, info.dwBusType, L"Undefined (0x%X)"));
    if (pDriveIndexes != nullptr)
        pDriveIndexes->push_back(nDriveIndex);
    WriteLine(L"  DriveType      : %s",
              NameOr(DriveTypeTable, ::GetDriveTypeW(DriveRoot(nDriveIndex).c_str()), L"Undefined (%d)"));
    WriteLine(L"  TargetPath     : \"%s\"", TargetPath(log, nDriveIndex));
    OutputVolume(nDriveIndex);
    if (info.dwBusType == UsbBusType)
        OutputUsbInfo(nDriveIndex);
    WriteLine(L"");
}

// A drive without a medium has neither this block nor the next one.
void CHardwareInfoCollector::OutputVolume(BYTE nDriveIndex)
{
    CVolumeInfo info;
    if (FAILED(GetVolumeInfo(nDriveIndex, info)))
        return;
    WriteLine(L"");
    WriteLine(L"  *** VOLUME INFORMATION ***");
    WriteLine(L"  VolumeName     : %s", info.sVolumeName);
    WriteLine(L"  FileSystem     : %s", info.sFileSystem);
    WriteLine(L"  SerialNumber   : 0x%08X", info.dwSerialNumber);
    WriteLine(L"  MaxFileName    : %d", info.dwMaxFileName);
    WriteLine(L"  FileSystemFlags: 0x%08X", info.dwFlags);
    ForEachFlag(FileSystemFlagTable, info.dwFlags, [this](const wchar_t* pName) { WriteLine(L"      %s", pName); });
    OutputCapacity(nDriveIndex);
}

void CHardwareInfoCollector::OutputCapacity(BYTE nDriveIndex)
{
    CDriveCapacity capacity;
    if (FAILED(GetDriveCapacity(nDriveIndex, capacity)))
        return;
    const auto WriteFigure = [this](const wchar_t* pName, const ULARGE_INTEGER& rBytes) {
        WriteLine(L"  %s: %7.2f GB (%s bytes)", pName, Gigabytes(rBytes.QuadPart), DigitGroups(rBytes.QuadPart));
    };
    WriteLine(L"");
    WriteLine(L"  *** DEVICE CAPACITY ***");
    WriteFigure(L"Available      ", capacity.Available);
    WriteFigure(L"Free           ", capacity.Free);
    WriteFigure(L"Total          ", capacity.Total);
}

HRESULT CHardwareInfoCollector::GetVolumeInfo(BYTE nDriveIndex, CVolumeInfo& rInfo)
{
    CFunctionLog log;
    return log.Run([&] {
        wchar_t aVolumeName[VolumeTextCapacity] = L"";
        wchar_t aFileSystem[VolumeTextCapacity] = L"";
        const std::wstring sRoot = DriveRoot(nDriveIndex);
        if (!::GetVolumeInformationW(sRoot.c_str(), aVolumeName, VolumeTextCapacity, &rInfo.dwSerialNumber,
                                     &rInfo.dwMaxFileName, &rInfo.dwFlags, aFileSystem, VolumeTextCapacity))
            log.FailCode(LastErrorResult(), L"::GetVolumeInformation( %s ) failed. [0x%08X]", sRoot);
        rInfo.sVolumeName = aVolumeName;
        rInfo.sFileSystem = aFileSystem;
    });
}

HRESULT CHardwareInfoCollector::GetDriveCapacity(BYTE nDriveIndex, CDriveCapacity& rCapacity)
{
    CFunctionLog log;
    return log.Run([&] {
        const std::wstring sRoot = DriveRoot(nDriveIndex);
        if (!::GetDiskFreeSpaceExW(sRoot.c_str(), &rCapacity.Available, &rCapacity.Total, &rCapacity.Free))
            log.Fail(E_FAIL, L"::GetDiskFreeSpaceEx( %s ) failed. [0x%08X]", sRoot, LastErrorResult());
    });
}
