// A registry key for one test, removed with everything below it.
#pragma once

#include <span>
#include <string>

#include "platform/Handle.h"

class CScratchKey
{
public:
    // Below HKEY_LOCAL_MACHINE\SOFTWARE; dwView is 0, KEY_WOW64_32KEY or KEY_WOW64_64KEY. The path must be new.
    explicit CScratchKey(const std::wstring& sPath, REGSAM dwView = 0);
    ~CScratchKey();
    CScratchKey(const CScratchKey&) = delete;
    CScratchKey& operator=(const CScratchKey&) = delete;

    void Set(const wchar_t* pName, DWORD dwType, std::span<const BYTE> Data) const;
    void SetText(const wchar_t* pName, const std::wstring& sText, DWORD dwType = REG_SZ) const;
    void SetDword(const wchar_t* pName, DWORD dwValue) const;
    HKEY Get() const { return m_hKey.Get(); }

private:
    std::wstring m_sPath;
    REGSAM m_dwView;
    CRegKeyHandle m_hKey;
};
