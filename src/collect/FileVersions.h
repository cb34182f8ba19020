// The version resource of a file for the listings: read once, asked for the properties and for the version.
#pragma once

#include <array>
#include <map>
#include <string>

#include "platform/VersionResource.h"

class CFunctionLog;

class CFileVersions
{
public:
    // The strings of a version resource that the listings show, by number.
    static constexpr std::array PropertyNames{ L"FileVersion",    L"FileDescription", L"Comments",
                                               L"ProductName",    L"ProductVersion",  L"CompanyName",
                                               L"LegalCopyright", L"LegalTrademarks", L"PrivateBuild",
                                               L"SpecialBuild",   L"InternalName",    L"OriginalFilename" };
    using Properties = std::map<UINT32, std::wstring>;

    explicit CFileVersions(const std::wstring& sPath);

    // As CCollectorUtil's GetFileProperty and GetFileVersion, in whose names they keep their records.
    HRESULT GetProperties(Properties& rProperties) const;
    HRESULT GetVersion(std::wstring& rsVersion) const;

private:
    CVersionResource::CTranslation TranslationOf(const CFunctionLog& log) const;

    std::wstring m_sPath;
    CVersionResource m_Resource;
    HRESULT m_hrLoad; // of the reading
};
