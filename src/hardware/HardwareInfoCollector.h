// The hardware picture of the PC: the report HardwareInfo.txt, and beside it the dumps of the device tree, the device
// lists and the USB tree.
#pragma once

#include <span>
#include <string>
#include <vector>

#include "app/ProgressClient.h"
#include "log/ResultLog.h"

class CHardwareInfoCollector : public CResultLog
{
public:
    CHardwareInfoCollector();

    // Writes everything into the folder, which is made when missing. A stage that fails costs its own lines only.
    HRESULT Collect(const std::wstring& sDirPath);

    // The drives with their storage, volume and USB data, into the report that the caller has opened. pDriveIndexes,
    // when given, takes the index (0 for A:) of each drive that answered.
    HRESULT OutputStorageDeviceInfo(std::vector<BYTE>* pDriveIndexes);

private:
    struct CStep;
    struct CStage;
    struct CVolumeInfo;
    struct CDriveCapacity;
    struct CDriverRow;

    HRESULT RunStep(const CFunctionLog& log, const CStep& rStep);
    HRESULT OutputPcModelName();
    HRESULT OutputPcModelNumber(); // stands in for a PC without the first key's values
    HRESULT OutputPdDriverInfo();
    HRESULT OutputGetAspiVersion();
    HRESULT OutputMemoryInfo();
    HRESULT OutputDisplayInfo();
    HRESULT OutputAllStorageDevices() { return OutputStorageDeviceInfo(nullptr); }
    HRESULT OutputDeviceList();

    void OutputDriverRows(const CFunctionLog& log, std::span<const CDriverRow> Rows);
    HRESULT OutputFileVersion(const wchar_t* pName, const std::wstring& sPath);
    void OutputDrive(const CFunctionLog& log, BYTE nDriveIndex, std::vector<BYTE>* pDriveIndexes);
    void OutputVolume(BYTE nDriveIndex);
    void OutputCapacity(BYTE nDriveIndex);
    HRESULT GetVolumeInfo(BYTE nDriveIndex, CVolumeInfo& rInfo);
    HRESULT GetDriveCapacity(BYTE nDriveIndex, CDriveCapacity& rCapacity);
    HRESULT OutputUsbInfo(BYTE nDriveIndex);
    void OutputInquiry(const CFunctionLog& log, BYTE nDriveIndex);

    CProgressClient m_Progress;
    std::wstring m_sDirPath;
};
