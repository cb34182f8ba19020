// What the registry and the product's own object tell: version, region, area code, patches, services.
#include "collect/CollectorUtil.h"
#include "collect/ProductObjects.h"
#include "collect/VlmInfoCollector.h"
#include "log/FunctionLog.h"
#include "platform/ComInit.h"
#include "platform/HResult.h"
#include "platform/ObjectRef.h"
#include "platform/RegKey.h"
#include "platform/Table.h"

namespace
{

constexpr const wchar_t* AreaKey = L"\\PD\\{E1E50A82-ADC9-4263-A175-9454A6A4D7AA}";
constexpr const wchar_t* UninstallPath = L"SOFTWARE\\Microsoft\\Windows\\CurrentVersion\\UNINSTALL";
constexpr std::wstring_view PatchPrefix = L"Velmora HotFix";

// Room for a text value, in characters with the terminator.
constexpr DWORD VersionCapacity = 128;
constexpr DWORD NameCapacity = 1024;
// Key names have 255 characters at most.
constexpr DWORD KeyNameCapacity = 260;

constexpr CNameRow<LONG> RegionNames[] = {
    { 1, L"J" },
    { 2, L"E" },
};

constexpr struct
{
    const wchar_t* pName;
    const wchar_t* pAppIdPath;
} Services[] = {
    { L"ZRCSPTISVR", L"AppID\\{9F92C1C5-C624-4762-A274-892B32F557C8}" },
    { L"Plugwatch", L"AppID\\{6033E87D-EFAE-4078-8187-1799808EE56F}" },
};

constexpr CFormat<std::wstring, HRESULT> OpenFailed(L"CRegKey::Open( HKEY_LOCAL_MACHINE, \"%s\" ) failed. [0x%08X]");
constexpr CFormat<const wchar_t*, HRESULT> QueryFailed(L"CRegKey::QueryStringValue( \"%s\" ) failed. [0x%08X]");

} // namespace

HRESULT CVlmInfoCollector::OutputVelmoraVersion(const std::wstring& sRegistryPath)
{
    CFunctionLog log;
    return log.Run([&] {
        CRegKey reg;
        CheckTelling(log, ResultOf(OpenMachineKey(sRegistryPath, reg)), OpenFailed, sRegistryPath);
        const wchar_t* const pName = L"InstallerVersion";
        std::wstring sVersion;
        CheckTelling(log, ResultOf(reg.QueryStringValue(pName, sVersion, VersionCapacity)), QueryFailed, pName);
        WriteLine(L"Version : %s", sVersion);
    });
}

HRESULT CVlmInfoCollector::OutputVlmRegion()
{
    CFunctionLog log;
    return log.Run([&] {
        const COpdComInit com;
        CObjectRef<IVlmSysInfo3> pSysInfo;
        CheckTelling(log, ProductResult([&] { return pSysInfo.Create(CLSID_VlmSysInfo, IID_IVlmSysInfo3); }),
                     L"CComPtr<IVlmSysInfo3>::CoCreateInstance() failed. [0x%08X]");
        LONG nRegion = 0;
        CheckTelling(log, ProductResult([&] { return CallObject([&] { return pSysInfo->getRegion(&nRegion); }); }),
                     L"IVlmSysInfo3::getRegion() failed. [0x%08X]");
        WriteLine(L"Region : %s", NameOf(RegionNames, nRegion, L"Unknown"));
    });
}

HRESULT CVlmInfoCollector::OutputVlmAreaCode(const std::wstring& sRegistryPath)
{
    CFunctionLog log;
    return log.Run([&] {
        const std::wstring sPath = sRegistryPath + AreaKey;
        CRegKey reg;
        CheckTelling(log, ResultOf(OpenMachineKey(sPath, reg)), OpenFailed, sPath);
        DWORD dwAreaCode = 0;
        const HRESULT hr = ResultOf(reg.QueryDwordValue(L"AreaCode", dwAreaCode));
        if (FAILED(hr))
            Tell(log, hr, L"CRegKey::QueryDWORDValue( \"AreaCode\" ) failed. [0x%08X]");
        WriteLine(L"AreaCode : 0x%08X", dwAreaCode);
    });
}

HRESULT CVlmInfoCollector::OutputLimitedPatchVersion()
{
    CFunctionLog log;
    return log.Run([&] {
        const std::wstring sUninstall = UninstallPath;
        CRegKey reg;
        CheckTelling(log, ResultOf(OpenMachineKey(sUninstall, reg)), OpenFailed, sUninstall);
        UINT32 nPatches = 0;
        std::wstring sName;
        for (DWORD nIndex = 0; EnumSubKey(reg.Get(), nIndex, sName, KeyNameCapacity) == ERROR_SUCCESS; ++nIndex)
        {
            if (sName.starts_with(PatchPrefix) && OutputPatchName(log, FormatText(L"%s\\%s", sUninstall, sName)))
                ++nPatches;
        }
        // Also where there are patches and none of them has a name.
        if (nPatches == 0)
            WriteLine(L"Limited Patch : Not Installed");
    });
}

// False when there is no name to write.
bool CVlmInfoCollector::OutputPatchName(const CFunctionLog& log, const std::wstring& sKeyPath)
{
    CRegKey reg;
    const HRESULT hrOpen = ResultOf(OpenMachineKey(sKeyPath, reg));
    if (FAILED(hrOpen))
    {
        Tell(log, hrOpen, OpenFailed, sKeyPath);
        return false;
    }
    const wchar_t* const pName = L"DisplayName";
    std::wstring sName;
    const HRESULT hrName = ResultOf(reg.QueryStringValue(pName, sName, NameCapacity));
    if (FAILED(hrName))
        Tell(log, hrName, QueryFailed, pName);
    else
        WriteLine(L"Limited Patch : %s", sName);
    return SUCCEEDED(hrName);
}

HRESULT CVlmInfoCollector::OutputServiceInfo()
{
    CFunctionLog log;
    return log.Run([&] {
        for (const auto& rService : Services)
        {
            if (&rService != Services)
                WriteLine(L"");
            WriteLine(L"%s", rService.pName);
            CRegKey reg;
            const DWORD dwStatus = reg.Open(HKEY_CLASSES_ROOT, rService.pAppIdPath, KEY_READ);
            if (dwStatus != ERROR_SUCCESS)
            {
                constexpr CFormat<const wchar_t*, DWORD> Failed(L"CRegKey::Open( \"HKCR\\%s\" ) failed. [%d]");
                WriteLine(Failed, rService.pAppIdPath, dwStatus);
                log.Warning(Failed, rService.pAppIdPath, dwStatus);
            }
            WriteLine(L"HKEY_CLASSES_ROOT\\%s", rService.pAppIdPath);
            // A key that is closed has no values and no subkeys. Subkeys are looked for below HKEY_LOCAL_MACHINE like
            // those of every other dump, so that of an AppID's only the line stands here.
            CCollectorUtil::OutputRegSubKeyData(reg.Get(), *this);
            CCollectorUtil::OutputRegSubKey(reg.Get(), rService.pAppIdPath, *this);
        }
    });
}
