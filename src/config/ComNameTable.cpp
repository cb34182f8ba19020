#include "config/ComNameTable.h"

#include <objbase.h>

#include <cstring>
#include <cwchar>

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

} // namespace

bool CComNameTable::CGuidOrder::operator()(const GUID& rLeft, const GUID& rRight) const
{
    if (rLeft.Data1 != rRight.Data1)
        return rLeft.Data1 < rRight.Data1;
    if (rLeft.Data2 != rRight.Data2)
        return rLeft.Data2 < rRight.Data2;
    if (rLeft.Data3 != rRight.Data3)
        return rLeft.Data3 < rRight.Data3;
    return std::memcmp(rLeft.Data4, rRight.Data4, sizeof rLeft.Data4) < 0;
}

CComNameTable::CComNameTable()
{
    for (const CRow& rRow : Rows)
        m_Names.emplace(rRow.guid, rRow.pName);
}

const CComNameTable& CComNameTable::GetTable()
{
    static const CComNameTable s_Table;
    return s_Table;
}

GUID CComNameTable::Find(const std::wstring& sName) const
{
    for (const auto& [guid, sEntry] : m_Names)
    {
        if (::_wcsicmp(sEntry.c_str(), sName.c_str()) == 0)
            return guid;
    }
    return {};
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
