// Verifies that each NT service of the manifest exists.
#pragma once

#include <string>
#include <vector>

#include "app/ProgressClient.h"

class CResultLog;

class CNtServiceInfoChecker
{
public:
    // Both are borrowed. A record is the service's key name.
    CNtServiceInfoChecker(CResultLog& rResultLog, const std::vector<std::wstring>& rNames);

    // Checks all records, one line for each in the result file; gives the number of failed ones.
    HRESULT CheckNtServiceInfos(UINT32* pulFailed);

private:
    HRESULT CheckNtServiceInfo(const std::wstring& sName);

    CResultLog& m_rResultLog;
    const std::vector<std::wstring>& m_rNames;
    CProgressClient m_Progress;
};
