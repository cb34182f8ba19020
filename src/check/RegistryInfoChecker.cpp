#include "check/RegistryInfoChecker.h"

#include <algorithm>
#include <cstring>
#include <string_view>

#include "check/CheckReport.h"
#include "platform/Allocation.h"
#include "platform/RegKey.h"
#include "platform/Text.h"

namespace
{

constexpr DWORD MaxData = 64 * 1024 * 1024; // bytes; a value that claims to be larger cannot be read

// The data as text, up to the first zero or to their end: registry data need not be terminated.
std::wstring_view TextOf(const BYTE* pData, DWORD dwBytes)
{
    return UpToZero({ reinterpret_cast<const wchar_t*>(pData), dwBytes / sizeof(wchar_t) });
}

// Text is compared up to its end, the sizes do not count; of all else the sizes count as well.
bool IsEqual(const CRegistryInfo& rInfo, const BYTE* pData, DWORD dwBytes)
{
    if (rInfo.dwType == REG_SZ)
        return TextOf(pData, dwBytes) == TextOf(rInfo.Data.Data(), rInfo.Data.Length());
    return dwBytes == rInfo.Data.Length() && std::memcmp(pData, rInfo.Data.Data(), dwBytes) == 0;
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
    const std::wstring& sRoot = rInfo.sRootKeyName;
    const std::wstring& sKey = rInfo.sKeyPath;
    const std::wstring& sValue = rInfo.sValueName;
    return log.Run([&] {
        CRegKey reg;
        const bool bOpen = reg.Open(rInfo.hRootKey, sKey, KEY_READ | (rInfo.bWow64Key ? KEY_WOW64_64KEY : 0)) ==
                           ERROR_SUCCESS;
        if (!bOpen && rInfo.bWow64Key)
            FailEntry(log, m_rResultLog, E_FAIL, L"Failed: Registry key is not found.[key(x64):\"%s\\%s\"]", sRoot,
                      sKey);
        if (!bOpen)
            FailEntry(log, m_rResultLog, E_FAIL, L"Failed: Registry key is not found.[key:\"%s\\%s\"]", sRoot, sKey);

        DWORD dwType = REG_NONE;
        DWORD dwSize = 0;
        if (::RegQueryValueExW(reg.Get(), sValue.c_str(), nullptr, &dwType, nullptr, &dwSize) != ERROR_SUCCESS)
            FailEntry(log, m_rResultLog, E_FAIL, L"Failed: Registry value is not found.[key:\"%s\\%s\"][value:\"%s\"]",
                      sRoot, sKey, sValue);
        if (dwType != rInfo.dwType)
            FailEntry(
                log, m_rResultLog, E_FAIL,
                L"Failed: Registry value type is not equal.[key:\"%s\\%s\"][value:\"%s\"][current:%d original:%d]",
                sRoot, sKey, sValue, dwType, rInfo.dwType);

        // Some systems end a text of one byte with a zero character that the size does not tell.
        std::vector<BYTE> Data;
        DWORD dwRead = dwSize;
        if (dwSize > MaxData || !TryResize(Data, dwSize + sizeof(wchar_t)) ||
            ::RegQueryValueExW(reg.Get(), sValue.c_str(), nullptr, &dwType, Data.data(), &dwRead) != ERROR_SUCCESS)
            FailEntry(log, m_rResultLog, E_FAIL, L"Failed: Registry value can not read.[key:\"%s\\%s\"][value:\"%s\"]",
                      sRoot, sKey, sValue);
        if (!IsKnownType(rInfo.dwType))
            FailEntry(log, m_rResultLog, E_FAIL,
                      L"Failed: Registry data type is unknown.[key:\"%s\\%s\"][value:\"%s\"][type:%d]", sRoot, sKey,
                      sValue, rInfo.dwType);
        if (!IsEqual(rInfo, Data.data(), dwSize))
            FailEntry(log, m_rResultLog, E_FAIL, L"Failed: Registry value is not equal.[key:\"%s\\%s\"][value:\"%s\"]",
                      sRoot, sKey, sValue);
        m_rResultLog.WriteLine(L"Succeeded: Check Registry Info.[key:\"%s\\%s\"][value:\"%s\"]", sRoot, sKey, sValue);
    });
}
