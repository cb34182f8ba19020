// The version resource of a file for the listings: read once, asked for the properties and for the version.
#pragma once

#include <string>

#include "collect/CollectorUtil.h"
#include "platform/VersionResource.h"

class CFileVersions
{
public:
    explicit CFileVersions(const std::wstring& sPath);

    // As CCollectorUtil's operations of the same purpose.
    HRESULT GetProperties(CCollectorUtil::Properties& rProperties) const;
    HRESULT GetVersion(std::wstring& rsVersion) const;

    const std::wstring& Path() const { return m_sPath; }
    const CVersionResource& Resource() const { return m_Resource; }
    // Of the reading.
    HRESULT Error() const { return m_hrLoad; }

private:
    std::wstring m_sPath;
    CVersionResource m_Resource;
    HRESULT m_hrLoad;
};
