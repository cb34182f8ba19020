// The stage of the COM objects, and the lists of what is loaded on this PC.
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

    // bSxS: modules from outside the side-by-side installation count as failures.
    HRESULT CheckComObjectInfos(bool bSxS, UINT32* pulFailed);

private:
    void WriteLoadedModules(const CFunctionLog& log, bool bSxS, UINT32* pulFailed);
    void WriteLoadedDrivers(const CFunctionLog& log);

    CResultLog& m_rResultLog;
    std::wstring m_sLogDirPath;
    const std::vector<CComObjectInfo>& m_rInfos;
    CProgressClient m_Progress;
    std::set<std::wstring> m_Modules; // full paths of the modules that the tested objects brought in
};
