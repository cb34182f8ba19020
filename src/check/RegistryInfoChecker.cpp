#include "check/RegistryInfoChecker.h"

#include <algorithm>

#include "check/CheckReport.h"
#include "platform/RegKey.h"
#include "platform/Text.h"

namespace
{

// Text is compared up to its end, the sizes do not count; of all else the sizes count as well.
bool IsEqual(const CRegistryInfo& rInfo, const CRegValue& rValue)
{
    const std::span<const BYTE> Expected(rInfo.Data.Data(), rInfo.Data.Length());
    if (rInfo.dwType == REG_SZ)
        return rValue.Text() == UpToZero(CharactersOf(Expected));
    return std::ranges::equal(rValue.Data(), Expected);
}

bool IsKnownType(DWORD dwType)
{
    return dwType == REG_SZ || dwType == REG_BINARY || dwType == REG_DWORD || dwType == REG_QWORD;
}

} // namespace

CRegistryInfoChecker::CRegistryInfoChecker(CResultLog& rResultLog, const std::vector<CRegistryInfo>& rInfos)
    : m_rResultLog(rResultLog),
      m_rInfos(rInfos),
      m_Progress(L"CRegistryInfoChecker", static_cast<UINT32>(rInfos.size()), L"Checking Registry...")
{
}

HRESULT CRegistryInfoChecker::CheckRegistryInfos(UINT32* pulFailed)
{
    CFunctionLog log;
    return CheckRecords(
        log, m_Progress, m_rInfos, pulFailed,
        [](const CRegistryInfo& rInfo) {
            return FormatText(L"Checking Registries...(\"%s\\%s\")", rInfo.sRootKeyName, rInfo.sKeyPath);
        },
        [this](const CRegistryInfo& rInfo) { return CheckRegistryInfo(rInfo); },
        [&](const CRegistryInfo&, HRESULT hr) { log.Warning(L"CheckRegistryInfo() failed.[0x%08X]", hr); });
}

HRESULT CRegistryInfoChecker::CheckRegistryInfo(const CRegistryInfo& rInfo)
{
    CFunctionLog log;
    return log.Run([&] {
        const CRegKey reg = OpenKey(log, rInfo);
        CRegValue value(reg.Get(), rInfo.sValueName);
        ReadValue(log, rInfo, value);
        CompareValue(log, rInfo, value);
        m_rResultLog.WriteLine(L"Succeeded: Check Registry Info.[key:\"%s\\%s\"][value:\"%s\"]", rInfo.sRootKeyName,
                               rInfo.sKeyPath, rInfo.sValueName);
    });
}

CRegKey CRegistryInfoChecker::OpenKey(const CFunctionLog& log, const CRegistryInfo& rInfo)
{
    CRegKey reg;
    const REGSAM dwAccess = KEY_READ | (rInfo.bWow64Key ? KEY_WOW64_64KEY : 0);
    if (reg.Open(rInfo.hRootKey, rInfo.sKeyPath, dwAccess) == ERROR_SUCCESS)
        return reg;
    if (rInfo.bWow64Key)
        FailEntry(log, m_rResultLog, E_FAIL, L"Failed: Registry key is not found.[key(x64):\"%s\\%s\"]",
                  rInfo.sRootKeyName, rInfo.sKeyPath);
    FailEntry(log, m_rResultLog, E_FAIL, L"Failed: Registry key is not found.[key:\"%s\\%s\"]", rInfo.sRootKeyName,
              rInfo.sKeyPath);
}

void CRegistryInfoChecker::ReadValue(const CFunctionLog& log, const CRegistryInfo& rInfo, CRegValue& rValue)
{
    if (rValue.Ask() != ERROR_SUCCESS)
        FailEntry(log, m_rResultLog, E_FAIL, L"Failed: Registry value is not found.[key:\"%s\\%s\"][value:\"%s\"]",
                  rInfo.sRootKeyName, rInfo.sKeyPath, rInfo.sValueName);
    if (rValue.Type() != rInfo.dwType)
        FailEntry(log, m_rResultLog, E_FAIL,
                  L"Failed: Registry value type is not equal.[key:\"%s\\%s\"][value:\"%s\"][current:%d original:%d]",
                  rInfo.sRootKeyName, rInfo.sKeyPath, rInfo.sValueName, rValue.Type(), rInfo.dwType);
    if (!rValue.Allocate() || rValue.Read() != ERROR_SUCCESS)
        FailEntry(log, m_rResultLog, E_FAIL, L"Failed: Registry value can not read.[key:\"%s\\%s\"][value:\"%s\"]",
                  rInfo.sRootKeyName, rInfo.sKeyPath, rInfo.sValueName);
}

void CRegistryInfoChecker::CompareValue(const CFunctionLog& log, const CRegistryInfo& rInfo, const CRegValue& rValue)
{
    if (!IsKnownType(rInfo.dwType))
        FailEntry(log, m_rResultLog, E_FAIL,
                  L"Failed: Registry data type is unknown.[key:\"%s\\%s\"][value:\"%s\"][type:%d]", rInfo.sRootKeyName,
                  rInfo.sKeyPath, rInfo.sValueName, rInfo.dwType);
    if (!IsEqual(rInfo, rValue))
        FailEntry(log, m_rResultLog, E_FAIL, L"Failed: Registry value is not equal.[key:\"%s\\%s\"][value:\"%s\"]",
                  rInfo.sRootKeyName, rInfo.sKeyPath, rInfo.sValueName);
}
