// Versions of files.
#include "collect/CollectorUtil.h"

#include "collect/FileVersions.h"
#include "log/FunctionLog.h"
#include "opdutility/OpdFileHelper.h"
#include "platform/HResult.h"
#include "platform/Handle.h"
#include "platform/ModuleVersion.h"
#include "platform/Path.h"
#include "platform/Text.h"

namespace
{

// The translation of a loaded resource; throws E_FAIL, with its record, when there is none.
CVersionResource::CTranslation TranslationOf(const CFunctionLog& log, const CFileVersions& rVersions)
{
    if (FAILED(rVersions.Error()))
    {
        log.Throw(E_FAIL, L"::GetFileVersionInfo( \"%s\", %u ) failed. [0x%08X]", rVersions.Path(),
                  rVersions.Resource().Size(), rVersions.Error());
    }
    const auto translation = rVersions.Resource().Translation();
    if (!translation)
        log.Throw(E_FAIL, L"::VerQueryValue( \"%s\", Translation ) failed. [0x%08X]", rVersions.Path(),
                  LastErrorResult());
    return *translation;
}

} // namespace

CFileVersions::CFileVersions(const std::wstring& sPath) : m_sPath(sPath), m_hrLoad(m_Resource.Load(sPath)) {}

HRESULT CFileVersions::GetProperties(CCollectorUtil::Properties& rProperties) const
{
    CFunctionLog log("CCollectorUtil::GetFileProperty");
    return log.Run([&] {
        if (m_Resource.Size() == 0)
            return;
        const CVersionResource::CTranslation translation = TranslationOf(log, *this);
        rProperties.clear();
        for (UINT32 n = 0; n < CCollectorUtil::PropertyNames.size(); ++n)
        {
            const auto sText = m_Resource.String(translation, CCollectorUtil::PropertyNames[n]);
            if (sText && !sText->empty())
                rProperties.emplace(n, *sText);
        }
    });
}

HRESULT CFileVersions::GetVersion(std::wstring& rsVersion) const
{
    CFunctionLog log("CCollectorUtil::GetFileVersion");
    return log.Run([&] {
        rsVersion.clear();
        if (m_Resource.Size() == 0)
            return;
        auto sText = m_Resource.String(TranslationOf(log, *this), L"FileVersion");
        if (!sText)
            log.Throw(E_FAIL, L"::VerQueryValue( \"%s\", FileVersion ) failed. [0x%08X]", m_sPath, LastErrorResult());
        ReplaceAll(*sText, L", ", L".");
        rsVersion = *sText;
    });
}

HRESULT CCollectorUtil::GetFileProperty(const std::wstring& sPath, Properties& rProperties)
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

HRESULT CCollectorUtil::GetFileVersion(const std::wstring& sPath, CFileVersion& rVersion)
{
    CFunctionLog log;
    return log.Run([&] {
        CVersionResource resource;
        if (const HRESULT hr = resource.Load(sPath); FAILED(hr))
            log.Throw(hr);
        const auto fixed = resource.Fixed();
        if (!fixed)
            log.Throw(LastErrorResult());
        rVersion = { fixed->dwLS, fixed->dwMS };
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
    return EqualsNoCase(sFileName, L"DEVICE.TVL") || EndsWithNoCase(sFileName, L".TVM");
}
