// A registry key for one test, removed with everything below it.
#pragma once

#include <stdexcept>
#include <string>

#include "platform/Handle.h"

class CScratchKey
{
public:
    // Below HKEY_LOCAL_MACHINE\SOFTWARE; dwView is 0, KEY_WOW64_32KEY or KEY_WOW64_64KEY. The path must be new.
    explicit CScratchKey(const std::wstring& sPath, REGSAM dwView = 0)
        : m_sPath(L"SOFTWARE\\" + sPath),
          m_dwView(dwView)
    {
        if (::RegCreateKeyExW(HKEY_LOCAL_MACHINE, m_sPath.c_str(), 0, nullptr, 0, KEY_ALL_ACCESS | dwView, nullptr,
                              m_hKey.Put(), nullptr) != ERROR_SUCCESS)
            throw std::runtime_error("cannot create a scratch key");
    }
    ~CScratchKey()
    {
        ::RegDeleteTreeW(m_hKey.Get(), nullptr);
        m_hKey.Close();
        ::RegDeleteKeyExW(HKEY_LOCAL_MACHINE, m_sPath.c_str(), m_dwView, 0);
    }
    CScratchKey(const CScratchKey&) = delete;
    CScratchKey& operator=(const CScratchKey&) = delete;

    void Set(const wchar_t* pName, DWORD dwType, const void* pData, std::size_t nSize) const
    {
        ::RegSetValueExW(m_hKey.Get(), pName, 0, dwType, static_cast<const BYTE*>(pData), nSize);
    }
    void SetText(const wchar_t* pName, const std::wstring& sText, DWORD dwType = REG_SZ) const
    {
        Set(pName, dwType, sText.c_str(), (sText.size() + 1) * sizeof(wchar_t));
    }
    void SetDword(const wchar_t* pName, DWORD dwValue) const { Set(pName, REG_DWORD, &dwValue, sizeof dwValue); }
    HKEY Get() const { return m_hKey.Get(); }

private:
    std::wstring m_sPath;
    REGSAM m_dwView;
    CRegKeyHandle m_hKey;
};
