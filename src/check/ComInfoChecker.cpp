#include "check/ComInfoChecker.h"

#include <algorithm>

#include "check/CheckReport.h"
#include "check/ComObjectChecker.h"
#include "opdutility/OpdDriverInfo.h"
#include "opdutility/OpdFileHelper.h"
#include "platform/Path.h"

namespace
{

// Behind the drive letter; no separator is asked for at their end.
constexpr std::wstring_view InstalledFolders[] = {
    L":\\Program Files\\Common Files\\Tolvane Shared\\Velmora",
    L":\\Program Files\\Common Files\\Tolvane Shared\\Nuvex",
};

// A list with its head; a file that cannot be opened is logged, and its lines are lost.
void OpenList(const CFunctionLog& log, CResultLog& rList, const std::wstring& sPath, const wchar_t* pTitle)
{
    const HRESULT hr = rList.Open(sPath, true);
    if (FAILED(hr))
        log.Warning(L"CResultLog::Open( \"%s\" ) failed. [0x%08X]", sPath, hr);
    else
        rList.WriteSectionHead(pTitle);
}

bool IsInstalledModule(const std::wstring& sModule)
{
    std::wstring sPath;
    if (FAILED(COpdFileHelper::GetAbsolutePath(sModule, sPath)) || sPath.empty())
        return false;
    return std::ranges::any_of(InstalledFolders, [&](std::wstring_view sFolder) {
        return ::_wcsnicmp(sPath.c_str() + 1, sFolder.data(), sFolder.size()) == 0;
    });
}

} // namespace

CComInfoChecker::CComInfoChecker(CResultLog& rResultLog, const std::wstring& sLogDirPath,
                                 const std::vector<CComObjectInfo>& rInfos)
    : m_rResultLog(rResultLog),
      m_sLogDirPath(sLogDirPath),
      m_rInfos(rInfos),
      m_Progress(L"CComInfoChecker", static_cast<UINT32>(rInfos.size()), L"Checking COM...")
{
}

HRESULT CComInfoChecker::CheckComObjectInfos(bool bSxS, UINT32* pulFailed)
{
    CFunctionLog log;
    return log.Run([&] {
        *pulFailed = 0;
        WalkRecords(
            m_Progress, m_rInfos, pulFailed,
            [](const CComObjectInfo& rInfo) { return FormatText(L"Checking COM modules...(\"%s\")", rInfo.sName); },
            [&](const CComObjectInfo& rInfo) { return CheckComObjectInfo(rInfo, pulFailed); },
            [&](const CComObjectInfo&, HRESULT hr) { log.Warning(L"CheckComObjectInfo() failed.[0x%08X]", hr); });
        WriteLoadedModules(log, bSxS, pulFailed);
        WriteLoadedDrivers(log);
        m_Progress.Update(static_cast<UINT32>(m_rInfos.size()), L"");
    });
}

HRESULT CComInfoChecker::CheckComObjectInfo(const CComObjectInfo& rInfo, UINT32* pulFailed)
{
    CFunctionLog log;
    return log.Run([&] {
        const bool bBoth = rInfo.bAllApartments || rInfo.nApartment == CComObjectInfo::Apartment_Both;
        if (bBoth || rInfo.nApartment == CComObjectInfo::Apartment_Mta)
            CheckInApartment(log, rInfo, COINIT_MULTITHREADED, pulFailed);
        if (bBoth || rInfo.nApartment == CComObjectInfo::Apartment_Sta)
            CheckInApartment(log, rInfo, COINIT_APARTMENTTHREADED, pulFailed);
    });
}

// A run that could not even be made counts here and, by the code that it throws, once more at the caller.
void CComInfoChecker::CheckInApartment(const CFunctionLog& log, const CComObjectInfo& rInfo, DWORD dwApartment,
                                       UINT32* pulFailed)
{
    UINT32 nFailed = 0;
    const HRESULT hr = CComObjectChecker(m_rResultLog, m_Modules, dwApartment, rInfo).CheckComObject(&nFailed);
    if (FAILED(hr))
    {
        ++*pulFailed;
        FailEntry(log, m_rResultLog, E_FAIL, L"Failed: CheckComObject( %s ) failed.[clsid:\"%s\"]",
                  CComObjectChecker::ApartmentText(dwApartment), rInfo.sName);
    }
    *pulFailed += nFailed;
}

void CComInfoChecker::WriteLoadedModules(const CFunctionLog& log, bool bSxS, UINT32* pulFailed)
{
    CResultLog list;
    OpenList(log, list, JoinPath(m_sLogDirPath, L"LoadedComModules.txt"), L"Loaded COM Modules");
    for (const std::wstring& sModule : m_Modules)
    {
        list.WriteLine(L"%s", sModule);
        if (!bSxS || !IsInstalledModule(sModule))
            continue;
        ++*pulFailed;
        m_rResultLog.WriteLine(L"Failed: Non-SxS module loaded.[\"%s\"]", sModule);
    }
}

void CComInfoChecker::WriteLoadedDrivers(const CFunctionLog& log)
{
    CResultLog list;
    OpenList(log, list, JoinPath(m_sLogDirPath, L"LoadedDeviceDrivers.txt"), L"Loaded Device Drivers");
    std::vector<COpdDriverInfo::CDriver> Drivers;
    const HRESULT hr = COpdDriverInfo::GetLoadedDeviceDrivers(Drivers);
    if (FAILED(hr))
        log.Warning(L"COpdDriverInfo::GetLoadedDeviceDrivers() failed. [0x%08X]", hr);
    list.WriteLine(L"BaseName, FileName");
    for (const COpdDriverInfo::CDriver& rDriver : Drivers)
        list.WriteLine(L"%s, %s", rDriver.sBaseName, rDriver.sFileName);
}
