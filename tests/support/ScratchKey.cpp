#include "support/ScratchKey.h"

#include <stdexcept>

CScratchKey::CScratchKey(const std::wstring& sPath, REGSAM dwView) : m_sPath(L"SOFTWARE\\" + sPath), m_dwView(dwView)
{
    if (::RegCreateKeyExW(HKEY_LOCAL_MACHINE, m_sPath.c_str(), 0, nullptr, 0, KEY_ALL_ACCESS | dwView, nullptr,
                          m_hKey.Put(), nullptr) != ERROR_SUCCESS)
        throw std::runtime_error("cannot create a scratch key");
}

CScratchKey::~CScratchKey()
{
    ::RegDeleteTreeW(m_hKey.Get(), nullptr);
    m_hKey.Close();
    ::RegDeleteKeyExW(HKEY_LOCAL_MACHINE, m_sPath.c_str(), m_dwView, 0);
}

void CScratchKey::Set(const wchar_t* pName, DWORD dwType, std::span<const BYTE> Data) const
{
    ::RegSetValueExW(m_hKey.Get(), pName, 0, dwType, Data.data(), static_cast<DWORD>(Data.size()));
}

void CScratchKey::SetText(const wchar_t* pName, const std::wstring& sText, DWORD dwType) const
{
    Set(pName, dwType, { reinterpret_cast<const BYTE*>(sText.c_str()), (sText.size() + 1) * sizeof(wchar_t) });
}

void CScratchKey::SetDword(const wchar_t* pName, DWORD dwValue) const
{
    Set(pName, REG_DWORD, { reinterpret_cast<const BYTE*>(&dwValue), sizeof dwValue });
}
