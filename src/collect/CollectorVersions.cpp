// Versions of files.
#include "collect/CollectorUtil.h"

#include "collect/FileVersions.h"
#include "log/FunctionLog.h"
#include "opdutility/OpdFileHelper.h"
#include "platform/HResult.h"
#include "platform/Handle.h"
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
    return log.Run([&] {
        CVersionResource resource;
        if (const HRESULT hr = resource.Load(sPath); FAILED(hr))
            log.Throw(hr);
        const auto fixed = resource.Fixed();
        if (!fixed)
            log.Throw(LastErrorResult());
        rVersion = *fixed;
    });
}

HRESULT CCollectorUtil::GetTvmFileVersion(const std::wstring& sPath, std::wstring& rsVersion)
{
    CFunctionLog log;
    return log.Run([&] {
        rsVersion.clear();
        const CModuleVersion::Kind eKind = CModuleVersion::KindOf(sPath);
        if (eKind == CModuleVersion::Kind::None)
            log.Throw(E_FAIL);
        CTaskBlock<BYTE> pData;
        DWORD dwSize = 0;
        log.Check(COpdFileHelper::ReadFile(sPath, pData.Put(), &dwSize),
                  L"COpdFileHelper::ReadFile( \"%s\" ) failed.[0x%08X]", sPath);
        const auto sVersion = CModuleVersion::Parse(eKind, { pData.Get(), dwSize });
        if (!sVersion)
            log.Throw(E_FAIL);
        rsVersion = *sVersion;
    });
}

bool CCollectorUtil::IsModuleFile(const std::wstring& sFileName)
{
    return CModuleVersion::KindOf(sFileName) != CModuleVersion::Kind::None;
}
