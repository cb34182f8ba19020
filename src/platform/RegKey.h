// The registry wrapper of the program. The calls answer the platform's status code, unsigned so that nobody takes it
// for a result code; the last error is not set by them.
#pragma once

#include <functional>
#include <span>
#include <string>
#include <string_view>
#include <utility>

#include "platform/Handle.h"
#include "platform/SizedRead.h"

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

// A value of any type and size, in two steps: what it is, then its data. A value that grows in between is read whole.
class CRegValue
{
public:
    // The key is borrowed. An empty name means the key's default value.
    CRegValue(HKEY hKey, std::wstring sName) : m_hKey(hKey), m_sName(std::move(sName)) {}

    [[nodiscard]] DWORD Ask() { return m_Read.AskSize(std::bind_front(&CRegValue::Query, this)); }
    DWORD Type() const { return m_dwType; }
    // Of the data, in bytes, as Ask was told.
    DWORD Size() const { return m_Read.Size(); }
    // False when there is no memory for that size, or when no value can be that large.
    [[nodiscard]] bool Allocate() { return m_Read.Allocate(); }
    [[nodiscard]] DWORD Read() { return m_Read.Read(std::bind_front(&CRegValue::Query, this)); }

    // What has been read.
    std::span<const BYTE> Data() const { return m_Read.Rows<BYTE>(0, m_dwStored); }
    // The same as text up to its first zero; there need not be one. An odd last byte is the lower half of a character.
    std::wstring_view Text() const;

private:
    DWORD Query(BYTE* pBuffer, DWORD& rdwSize);

    HKEY m_hKey;
    std::wstring m_sName;
    DWORD m_dwType = REG_NONE;
    DWORD m_dwStored = 0;
    CSizedRead m_Read{ ERROR_MORE_DATA, sizeof(wchar_t) };
};

// Opens a key below HKEY_LOCAL_MACHINE to read, in the program's own view.
[[nodiscard]] DWORD OpenMachineKey(const std::wstring& sPath, CRegKey& rKey);

// The name of the subkey with that index, of less than nCapacity characters, and its time where it is wanted.
[[nodiscard]] DWORD EnumSubKey(HKEY hKey, DWORD nIndex, std::wstring& rsName, DWORD nCapacity,
                               FILETIME* pLastWrite = nullptr);
