#include "hardware/OpdHardwareList.h"

#include "hardware/OpdHardwareProperty.h"
#include "hardware/OpdInterfaceClassTable.h"
#include "hardware/OpdSetupDi.h"
#include "opdutility/OpdLogFile.h"
#include "platform/HResult.h"
#include "platform/LocalTime.h"
#include "platform/Path.h"

#include <cfgmgr32.h>

namespace
{

// SPDRP_... is one lower than CM_DRP_... for every property.
constexpr DWORD NumberInSet(ULONG ulNodeNumber)
{
    return ulNodeNumber - 1;
}
static_assert(NumberInSet(CM_DRP_INSTALL_STATE) == SPDRP_INSTALL_STATE &&
              NumberInSet(CM_DRP_DEVICEDESC) == SPDRP_DEVICEDESC);

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

} // namespace

HRESULT COpdHardwareList::DumpAllDeviceList(const std::wstring& sPath)
{
    CFunctionLog log;
    return log.Run([&] { DumpClasses(log, sPath, DIGCF_ALLCLASSES, L"DIGCF_ALLCLASSES", L"ALL CLASSES"); });
}

HRESULT COpdHardwareList::DumpCurrentDeviceList(const std::wstring& sPath)
{
    CFunctionLog log;
    return log.Run([&] {
        DumpClasses(log, sPath, DIGCF_ALLCLASSES | DIGCF_PRESENT, L"DIGCF_ALLCLASSES | DIGCF_PRESENT",
                    L"ALL CLASSES (PRESENT)");
    });
}

void COpdHardwareList::DumpClasses(const CFunctionLog& log, const std::wstring& sPath, DWORD dwFlags,
                                   const wchar_t* pFlags, const wchar_t* pTitle)
{
    COpdLogFile file;
    file.OpenOrThrow(log, sPath);
    WriteHead(file, LocalNow(), pTitle);
    const CDeviceInfoSet hSet(::SetupDiGetClassDevsW(nullptr, nullptr, nullptr, dwFlags));
    if (!hSet)
        log.FailCode(LastErrorResult(), L"::SetupDiGetClassDevs( %s ) failed. [0x%08X]", pFlags);
    ForEachDevice(hSet.Get(),
                  [&](SP_DEVINFO_DATA& rDevice, DWORD nIndex) { DumpDevice(file, hSet.Get(), rDevice, nIndex); });
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
                file.OpenOrThrow(log, sPath);
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
            const std::wstring sPath = EntryPath(sDirPath, rClass.pName);
            DumpDeviceListByClassGuid(rClass.Guid, rClass.pName, sPath + L".txt", false);
            DumpDeviceListByClassGuid(rClass.Guid, rClass.pName, sPath + L"(PRESENT).txt", true);
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
        if (SUCCEEDED(GetDeviceRegistryProperty(hSet, rDevice, NumberInSet(rRow.value), property)) &&
            !property.Data.empty() && SUCCEEDED(GetPropertyString(rRow.value, property, Lines)))
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

HRESULT COpdHardwareList::GetPropertyString(ULONG ulNodeNumber, const CDeviceProperty& rProperty,
                                            COpdHardwareString::CLines& rLines)
{
    CFunctionLog log;
    return log.Run([&] { return FormatProperty(log, ulNodeNumber, rProperty, rLines); });
}
