// Identities of COM classes and interfaces by name, for manifests that give no GUID.
#pragma once

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

    // The number of different GUIDs.
    std::size_t Count() const { return m_Names.size(); }

private:
    // By the 32-bit field, the two 16-bit fields, then the last eight bytes.
    struct CGuidOrder
    {
        bool operator()(const GUID& rLeft, const GUID& rRight) const;
    };
    CComNameTable();

    std::map<GUID, std::wstring, CGuidOrder> m_Names;
};

// The identity that the braced text holds, or where that is empty or unreadable the one of the name.
[[nodiscard]] CLSID ClsidOf(const std::wstring& sText, const std::wstring& sName);
[[nodiscard]] IID IidOf(const std::wstring& sText, const std::wstring& sName);
