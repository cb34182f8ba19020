#include "check/NotRegComInfoChecker.h"

#include "check/CheckReport.h"
#include "check/ComRegistration.h"
#include "platform/Text.h"

CNotRegComInfoChecker::CNotRegComInfoChecker(CResultLog& rResultLog,
                                             const std::vector<CNoRegisteredComObjectInfo>& rInfos)
    : m_rResultLog(rResultLog),
      m_rInfos(rInfos),
      m_Progress(L"CNotRegComInfoChecker", static_cast<UINT32>(rInfos.size()), L"Checking Not Registered COM...")
{
}

HRESULT CNotRegComInfoChecker::CheckNotRegComObjectInfos(UINT32* pulFailed)
{
    CFunctionLog log;
    return CheckRecords(
        log, m_Progress, m_rInfos, pulFailed,
        [](const CNoRegisteredComObjectInfo& rInfo) {
            return FormatText(L"Checking Not Registered COM Infos...(\"%s\")", rInfo.sName);
        },
        [this](const CNoRegisteredComObjectInfo& rInfo) { return CheckNotRegComObjectInfo(rInfo); },
        [&](const CNoRegisteredComObjectInfo&, HRESULT hr) {
            log.Warning(L"CheckNotRegComObjectInfo() failed.[0x%08X]", hr);
        });
}

// The paths are compared as they stand: a registration spelled another way counts as another file.
HRESULT CNotRegComInfoChecker::CheckNotRegComObjectInfo(const CNoRegisteredComObjectInfo& rInfo)
{
    CFunctionLog log;
    return log.Run([&] {
        const auto sRegistered = RegisteredServer(rInfo.clsid);
        if (sRegistered && EqualsNoCase(*sRegistered, rInfo.sPath))
            FailEntry(log, m_rResultLog, E_FAIL, L"Failed: \"%s\" registered.", rInfo.sName);
        m_rResultLog.WriteLine(L"Succeeded: \"%s\" not registered.", rInfo.sName);
    });
}
