#include "config/ComNameTable.h"

#include <objbase.h>

#include <cstring>
#include <tuple>

namespace
{

struct CRow
{
    GUID guid;
    const wchar_t* pName;
};

constexpr CRow Rows[] = {
#include "ComNames.inc"
};
static_assert(std::size(Rows) >= 1709);

// By the 32-bit field, the two 16-bit fields, then the last eight bytes.
struct CGuidOrder
{
    bool operator()(const GUID& rLeft, const GUID& rRight) const
    {
        const auto Fields = [](const GUID& rGuid) { return std::tie(rGuid.Data1, rGuid.Data2, rGuid.Data3); };
        if (Fields(rLeft) != Fields(rRight))
            return Fields(rLeft) < Fields(rRight);
        return std::memcmp(rLeft.Data4, rRight.Data4, sizeof rLeft.Data4) < 0;
    }
};

} // namespace

CComNameTable::CComNameTable()
{
    std::map<GUID, const wchar_t*, CGuidOrder> Names;
    for (const CRow& rRow : Rows)
        Names.emplace(rRow.guid, rRow.pName);
    for (const auto& [guid, pName] : Names)
        m_Identities.emplace(pName, guid);
}

const CComNameTable& CComNameTable::GetTable()
{
    static const CComNameTable s_Table;
    return s_Table;
}

GUID CComNameTable::Find(const std::wstring& sName) const
{
    const auto itName = m_Identities.find(sName.c_str());
    return itName != m_Identities.end() ? itName->second : GUID{};
}

CLSID ClsidOf(const std::wstring& sText, const std::wstring& sName)
{
    CLSID clsid{};
    if (!sText.empty() && SUCCEEDED(::CLSIDFromString(sText.c_str(), &clsid)))
        return clsid;
    return CComNameTable::GetTable().Find(sName);
}

IID IidOf(const std::wstring& sText, const std::wstring& sName)
{
    IID iid{};
    if (!sText.empty() && SUCCEEDED(::IIDFromString(sText.c_str(), &iid)))
        return iid;
    return CComNameTable::GetTable().Find(sName);
}
