// Versions of files.
#include "collect/CollectorUtil.h"

#include "collect/FileVersions.h"
#include "log/FunctionLog.h"
#include "opdutility/ReadVersion.h"
#include "platform/ModuleVersion.h"

HRESULT CCollectorUtil::GetFileProperty(const std::wstring& sPath, CFileVersions::Properties& rProperties)
{
    return CFileVersions(sPath).GetProperties(rProperties);
}

HRESULT CCollectorUtil::GetFileVersion(const std::wstring& sPath, std::wstring& rsVersion)
{
    return CFileVersions(sPath).GetVersion(rsVersion);
}

std::wstring CCollectorUtil::FileVersionLine(const std::wstring& sName, const std::wstring& sPath)
{
    std::wstring sVersion;
    return sName + (SUCCEEDED(GetFileVersion(sPath, sVersion)) ? L" : " + sVersion : L" : Not Installed");
}

HRESULT CCollectorUtil::GetFileVersion(const std::wstring& sPath, CVersionResource::CFixed& rVersion)
{
    CFunctionLog log;
    return log.Run([&] { rVersion = ReadFixedVersion(log, sPath); });
}

HRESULT CCollectorUtil::GetTvmFileVersion(const std::wstring& sPath, std::wstring& rsVersion)
{
    CFunctionLog log;
    return log.Run([&] {
        rsVersion.clear();
        rsVersion = ReadModuleVersion(log, sPath);
    });
}

bool CCollectorUtil::IsModuleFile(const std::wstring& sFileName)
{
    return CModuleVersion::KindOf(sFileName) != CModuleVersion::Kind::None;
}
