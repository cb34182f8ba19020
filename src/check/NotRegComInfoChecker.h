// Verifies that the manifest's unwanted COM objects are not registered from the given files.
#pragma once

#include <vector>

#include "app/ProgressClient.h"
#include "config/ConfigFile.h"

class CResultLog;

class CNotRegComInfoChecker
{
public:
    // Both are borrowed.
    CNotRegComInfoChecker(CResultLog& rResultLog, const std::vector<CNoRegisteredComObjectInfo>& rInfos);

    // Checks all records, one line for each in the result file; gives the number of failed ones.
    HRESULT CheckNotRegComObjectInfos(UINT32* pulFailed);

private:
    HRESULT CheckNotRegComObjectInfo(const CNoRegisteredComObjectInfo& rInfo);

    CResultLog& m_rResultLog;
    const std::vector<CNoRegisteredComObjectInfo>& m_rInfos;
    CProgressClient m_Progress;
};
