// The stage of the COM objects and DirectShow filters: each really created and asked, and then the lists of what they
// and the system have loaded.
#pragma once

#include <set>
#include <string>
#include <vector>

#include "app/ProgressClient.h"
#include "config/ConfigFile.h"

class CFunctionLog;
class CResultLog;

class CComInfoChecker
{
public:
    // The result log and the records are borrowed. sLogDirPath takes the two lists.
    CComInfoChecker(CResultLog& rResultLog, const std::wstring& sLogDirPath, const std::vector<CComObjectInfo>& rInfos);

    // Tests all records; gives the number of failures, of which one record can add several. bSxS: modules from outside
    // the side-by-side installation count as failures.
    HRESULT CheckComObjectInfos(bool bSxS, UINT32* pulFailed);

private:
    class CComObjectChecker;

    HRESULT CheckComObjectInfo(const CComObjectInfo& rInfo, UINT32* pulFailed);
    void CheckInApartment(const CFunctionLog& log, const CComObjectInfo& rInfo, DWORD dwApartment, UINT32* pulFailed);
    void WriteLoadedModules(const CFunctionLog& log, bool bSxS, UINT32* pulFailed);
    void WriteLoadedDrivers(const CFunctionLog& log);

    CResultLog& m_rResultLog;
    std::wstring m_sLogDirPath;
    const std::vector<CComObjectInfo>& m_rInfos;
    CProgressClient m_Progress;
    std::set<std::wstring> m_Modules; // full paths of the modules that the tested objects brought in
};
