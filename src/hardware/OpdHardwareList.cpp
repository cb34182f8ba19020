#include "hardware/OpdHardwareList.h"

#include "hardware/OpdHardwareProperty.h"
#include "hardware/OpdInterfaceClassTable.h"
#include "hardware/OpdSetupDi.h"
#include "opdutility/OpdLogFile.h"
#include "platform/HResult.h"
#include "platform/LocalTime.h"

#include <cfgmgr32.h>

namespace
{

// SPDRP_... is one lower than CM_DRP_... for every property.
constexpr DWORD NumberInSet(ULONG ulNodeNumber)
{
    return ulNodeNumber - 1;
}
constexpr ULONG NodeNumber(DWORD dwNumberInSet)
{
    return dwNumberInSet + 1;
}
static_assert(NumberInSet(CM_DRP_INSTALL_STATE) == SPDRP_INSTALL_STATE &&
              NodeNumber(SPDRP_DEVICEDESC) == CM_DRP_DEVICEDESC);

void OpenList(const CFunctionLog& log, COpdLogFile& rFile, const std::wstring& sPath)
{
    log.Check(rFile.Open(sPath), L"COpdLogFile::Open( \"%s\" ) failed. [0x%08X]", sPath);
}

void WriteHead(COpdLogFile& rFile, const SYSTEMTIME& rNow, const std::wstring& sTitle)
{
    rFile.WriteLine(L"%s", DumpSeparator);
    rFile.WriteLine(L"[%d/%d/%d %d:%d:%d] %s", rNow.wYear, rNow.wMonth, rNow.wDay, rNow.wHour, rNow.wMinute,
                    rNow.wSecond, sTitle);
    rFile.WriteLine(L"");
}

// The devices by index, up to the first that is refused.
template <typename Visit>
void ForEachDevice(HDEVINFO hSet, const Visit& visit)
{
    for (DWORD nIndex = 0;; ++nIndex)
    {
        SP_DEVINFO_DATA Device{};
        Device.cbSize = sizeof Device;
        if (!::SetupDiEnumDeviceInfo(hSet, nIndex, &Device))
            return;
        visit(Device, nIndex);
    }
}

template <typename Visit>
void DumpClasses(const CFunctionLog& log, const std::wstring& sPath, DWORD dwFlags, const wchar_t* pFlags,
                 const wchar_t* pTitle, const Visit& visit)
{
    COpdLogFile file;
    OpenList(log, file, sPath);
    WriteHead(file, LocalNow(), pTitle);
    const CDeviceInfoSet hSet(::SetupDiGetClassDevsW(nullptr, nullptr, nullptr, dwFlags));
    if (!hSet)
        log.FailCode(LastErrorResult(), L"::SetupDiGetClassDevs( %s ) failed. [0x%08X]", pFlags);
    ForEachDevice(hSet.Get(),
                  [&](SP_DEVINFO_DATA& rDevice, DWORD nIndex) { visit(file, hSet.Get(), rDevice, nIndex); });
}

} // namespace

HRESULT COpdHardwareList::DumpAllDeviceList(const std::wstring& sPath)
{
    CFunctionLog log;
    return log.Run([&] { DumpClasses(log, sPath, DIGCF_ALLCLASSES, L"DIGCF_ALLCLASSES", L"ALL CLASSES", DumpDevice); });
}

HRESULT COpdHardwareList::DumpCurrentDeviceList(const std::wstring& sPath)
{
    CFunctionLog log;
    return log.Run([&] {
        DumpClasses(log, sPath, DIGCF_ALLCLASSES | DIGCF_PRESENT, L"DIGCF_ALLCLASSES | DIGCF_PRESENT",
                    L"ALL CLASSES (PRESENT)", DumpDevice);
    });
}

HRESULT COpdHardwareList::DumpDeviceListByClassGuid(const GUID& rGuid, const std::wstring& sName,
                                                    const std::wstring& sPath, bool bPresent)
{
    CFunctionLog log;
    return log.Run([&] {
        const SYSTEMTIME Now = LocalNow();
        COpdLogFile file;
        const CDeviceInfoSet hSet(
            ::SetupDiGetClassDevsW(&rGuid, nullptr, nullptr, DIGCF_DEVICEINTERFACE | (bPresent ? DIGCF_PRESENT : 0)));
        if (!hSet)
        {
            const HRESULT hr = LastErrorResult();
            log.Fail(E_FAIL, L"::SetupDiGetClassDevs( DIGCF_DEVICEINTERFACE%s ) failed. [0x%08X]",
                     bPresent ? L" | DIGCF_PRESENT" : L"", hr);
        }
        ForEachDevice(hSet.Get(), [&](SP_DEVINFO_DATA& rDevice, DWORD nIndex) {
            if (nIndex == 0)
            {
                OpenList(log, file, sPath);
                WriteHead(file, Now, L"DEVICE INTERFACE CLASS: " + sName);
            }
            DumpDevice(file, hSet.Get(), rDevice, nIndex);
        });
    });
}

HRESULT COpdHardwareList::DumpIndividualDeviceList(const std::wstring& sDirPath)
{
    CFunctionLog log;
    return log.Run([&] {
        for (const CInterfaceClass& rClass : InterfaceClasses())
        {
            DumpDeviceListByClassGuid(rClass.Guid, rClass.pName, FormatText(L"%s\\%s.txt", sDirPath, rClass.pName),
                                      false);
            DumpDeviceListByClassGuid(rClass.Guid, rClass.pName,
                                      FormatText(L"%s\\%s(PRESENT).txt", sDirPath, rClass.pName), true);
        }
    });
}

void COpdHardwareList::DumpDevice(COpdLogFile& rFile, HDEVINFO hSet, SP_DEVINFO_DATA& rDevice, DWORD nIndex)
{
    rFile.WriteLine(L"%s", DumpSeparator);
    rFile.WriteLine(L"[DEVINFO:%d]", nIndex);
    for (const CNameRow<ULONG>& rRow : DevicePropertiesByNodeNumber())
    {
        CDeviceProperty property;
        COpdHardwareString::CLines Lines;
        const DWORD dwProperty = NumberInSet(rRow.value);
        if (SUCCEEDED(GetDeviceRegistryProperty(hSet, rDevice, dwProperty, property)) && !property.Data.empty() &&
            SUCCEEDED(GetPropertyString(dwProperty, property, Lines)))
            WriteProperty(rFile, L"", L"SPDRP_", rRow.pName, Lines);
    }
    rFile.WriteLine(L"");
}

HRESULT COpdHardwareList::GetDeviceRegistryProperty(HDEVINFO hSet, SP_DEVINFO_DATA& rDevice, DWORD dwProperty,
                                                    CDeviceProperty& rProperty)
{
    CFunctionLog log;
    return log.Run([&] { rProperty = ReadDeviceProperty(log, hSet, rDevice, dwProperty, MissingProperty::Silent); });
}

HRESULT COpdHardwareList::GetPropertyString(DWORD dwProperty, const CDeviceProperty& rProperty,
                                            COpdHardwareString::CLines& rLines)
{
    CFunctionLog log;
    return log.Run([&] { return FormatProperty(log, NodeNumber(dwProperty), rProperty, rLines); });
}
