#include "platform/RegKey.h"

#include "platform/Text.h"

DWORD CRegKey::Open(HKEY hParent, const std::wstring& sPath, REGSAM dwAccess)
{
    return static_cast<DWORD>(::RegOpenKeyExW(hParent, sPath.c_str(), 0, dwAccess, m_hKey.Put()));
}

DWORD CRegKey::QueryStringValue(const wchar_t* pName, std::wstring& sValue, DWORD nCapacity) const
{
    std::wstring sData(nCapacity, L'\0');
    DWORD dwType = REG_NONE;
    DWORD dwBytes = nCapacity * sizeof(wchar_t);
    const auto dwStatus = static_cast<DWORD>(
        ::RegQueryValueExW(m_hKey.Get(), pName, nullptr, &dwType, reinterpret_cast<BYTE*>(sData.data()), &dwBytes));
    if (dwStatus != ERROR_SUCCESS)
        return dwStatus;
    if (dwType != REG_SZ && dwType != REG_EXPAND_SZ)
        return ERROR_INVALID_DATA;
    sData.resize(dwBytes / sizeof(wchar_t));
    if (dwBytes % sizeof(wchar_t) != 0 || (!sData.empty() && sData.back() != L'\0'))
        return ERROR_INVALID_DATA;
    sValue = UpToZero(sData);
    return ERROR_SUCCESS;
}

DWORD CRegKey::QueryDwordValue(const wchar_t* pName, DWORD& rdwValue) const
{
    DWORD dwType = REG_NONE;
    DWORD dwValue = 0;
    DWORD dwBytes = sizeof dwValue;
    const auto dwStatus = static_cast<DWORD>(
        ::RegQueryValueExW(m_hKey.Get(), pName, nullptr, &dwType, reinterpret_cast<BYTE*>(&dwValue), &dwBytes));
    if (dwStatus != ERROR_SUCCESS)
        return dwStatus;
    if (dwType != REG_DWORD || dwBytes != sizeof dwValue)
        return ERROR_INVALID_DATA;
    rdwValue = dwValue;
    return ERROR_SUCCESS;
}

DWORD OpenMachineKey(const std::wstring& sPath, CRegKey& rKey)
{
    return rKey.Open(HKEY_LOCAL_MACHINE, sPath, KEY_READ);
}

std::wstring_view CRegValue::Text() const
{
    // The block has a zero for the other half.
    return UpToZero(CharactersOf({ Data().data(), Data().size() + 1 }));
}

DWORD CRegValue::Query(BYTE* pBuffer, DWORD& rdwSize)
{
    const LSTATUS nStatus = ::RegQueryValueExW(m_hKey, m_sName.c_str(), nullptr, &m_dwType, pBuffer, &rdwSize);
    m_dwStored = rdwSize;
    return static_cast<DWORD>(nStatus);
}

DWORD EnumSubKey(HKEY hKey, DWORD nIndex, std::wstring& rsName, DWORD nCapacity, FILETIME* pLastWrite)
{
    rsName.assign(nCapacity, L'\0');
    const auto dwStatus = static_cast<DWORD>(
        ::RegEnumKeyExW(hKey, nIndex, rsName.data(), &nCapacity, nullptr, nullptr, nullptr, pLastWrite));
    rsName = UpToZero(rsName);
    return dwStatus;
}
