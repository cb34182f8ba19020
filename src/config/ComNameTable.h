// Identities of COM classes and interfaces by name, for manifests that give no GUID.
#pragma once

#include <cwchar>
#include <map>
#include <string>

#include "platform/Win32.h"

class CComNameTable
{
public:
    // Built on first use. Of two rows with one GUID the first counts.
    static const CComNameTable& GetTable();

    // The first entry of that name, in upper or lower case, in the order of the GUIDs; the zero GUID when there is
    // none.
    GUID Find(const std::wstring& sName) const;

private:
    struct CNameOrder
    {
        bool operator()(const wchar_t* pLeft, const wchar_t* pRight) const { return ::_wcsicmp(pLeft, pRight) < 0; }
    };
    CComNameTable();

    std::map<const wchar_t*, GUID, CNameOrder> m_Identities;
};

// The identity that the braced text holds, or where that is empty or unreadable the one of the name.
[[nodiscard]] CLSID ClsidOf(const std::wstring& sText, const std::wstring& sName);
[[nodiscard]] IID IidOf(const std::wstring& sText, const std::wstring& sName);
