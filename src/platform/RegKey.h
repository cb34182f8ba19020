// The registry wrapper of the program. The calls answer the platform's status code, unsigned so that nobody takes it
// for a result code; the last error is not set by them.
#pragma once

#include <string>

#include "platform/Handle.h"

class CRegKey
{
public:
    // dwAccess may hold a view flag such as KEY_WOW64_64KEY.
    [[nodiscard]] DWORD Open(HKEY hParent, const std::wstring& sPath, REGSAM dwAccess);

    // Reads a REG_SZ or REG_EXPAND_SZ, which is not expanded, of at most nCapacity characters with its
    // terminator. Other types and data without a terminator are ERROR_INVALID_DATA. An empty name means the key's
    // default value.
    [[nodiscard]] DWORD QueryStringValue(const wchar_t* pName, std::wstring& sValue, DWORD nCapacity) const;

    // Stores the value only when it exists and is a REG_DWORD of four bytes.
    [[nodiscard]] DWORD QueryDwordValue(const wchar_t* pName, DWORD& rdwValue) const;

    HKEY Get() const { return m_hKey.Get(); }
    void Close() { m_hKey.Close(); }

private:
    CRegKeyHandle m_hKey;
};

// Opens a key below HKEY_LOCAL_MACHINE to read, in the program's own view.
[[nodiscard]] DWORD OpenMachineKey(const std::wstring& sPath, CRegKey& rKey);

// The name of the subkey with that index, of less than nCapacity characters, and its time where it is wanted.
[[nodiscard]] DWORD EnumSubKey(HKEY hKey, DWORD nIndex, std::wstring& rsName, DWORD nCapacity,
                               FILETIME* pLastWrite = nullptr);
