#include "check/NtServiceInfoChecker.h"

#include "check/CheckReport.h"
#include "platform/Handle.h"

CNtServiceInfoChecker::CNtServiceInfoChecker(CResultLog& rResultLog, const std::vector<std::wstring>& rNames)
    : m_rResultLog(rResultLog),
      m_rNames(rNames),
      m_Progress(L"CNtServiceInfoChecker", static_cast<UINT32>(rNames.size()), L"Checking NT Service...")
{
}

HRESULT CNtServiceInfoChecker::CheckNtServiceInfos(UINT32* pulFailed)
{
    CFunctionLog log;
    return CheckRecords(
        log, m_Progress, m_rNames, pulFailed,
        [](const std::wstring& sName) { return FormatText(L"Checking NT Service...(\"%s\")", sName); },
        [this](const std::wstring& sName) { return CheckNtServiceInfo(sName); },
        [&](const std::wstring&, HRESULT hr) { log.Warning(L"CheckNtServiceInfo() failed.[0x%08X]", hr); });
}

// Only existence counts; a service that may not be opened counts as missing.
HRESULT CNtServiceInfoChecker::CheckNtServiceInfo(const std::wstring& sName)
{
    CFunctionLog log;
    return log.Run([&] {
        const CServiceHandle hManager(::OpenSCManagerW(nullptr, nullptr, GENERIC_READ));
        if (!hManager)
            FailEntry(log, m_rResultLog, E_FAIL, L"Failed: NT Service Manager can not open.");
        const CServiceHandle hService(::OpenServiceW(hManager.Get(), sName.c_str(), GENERIC_READ));
        if (!hService)
            FailEntry(log, m_rResultLog, E_FAIL, L"Failed: NT Service can not open.[name:\"%s\"]", sName);
        m_rResultLog.WriteLine(L"Succeeded: Check NT Service Info.[name:\"%s\"]", sName);
    });
}
