// Verifies the manifest's registry values: key, value, type and data.
#pragma once

#include <vector>

#include "app/ProgressClient.h"
#include "config/ConfigFile.h"

class CFunctionLog;
class CRegKey;
class CRegValue;
class CResultLog;

class CRegistryInfoChecker
{
public:
    // Both are borrowed.
    CRegistryInfoChecker(CResultLog& rResultLog, const std::vector<CRegistryInfo>& rInfos);

    // Checks all records, one line for each in the result file; gives the number of failed ones.
    HRESULT CheckRegistryInfos(UINT32* pulFailed);

private:
    HRESULT CheckRegistryInfo(const CRegistryInfo& rInfo);
    CRegKey OpenKey(const CFunctionLog& log, const CRegistryInfo& rInfo);
    void ReadValue(const CFunctionLog& log, const CRegistryInfo& rInfo, CRegValue& rValue);
    void CompareValue(const CFunctionLog& log, const CRegistryInfo& rInfo, const CRegValue& rValue);

    CResultLog& m_rResultLog;
    const std::vector<CRegistryInfo>& m_rInfos;
    CProgressClient m_Progress;
};
