#include "collect/FileVersions.h"

#include "log/FunctionLog.h"
#include "platform/HResult.h"

CFileVersions::CFileVersions(const std::wstring& sPath) : m_sPath(sPath), m_hrLoad(m_Resource.Load(sPath)) {}

HRESULT CFileVersions::GetProperties(Properties& rProperties) const
{
    CFunctionLog log("CCollectorUtil::GetFileProperty");
    return log.Run([&] {
        if (m_Resource.Size() == 0)
            return;
        const CVersionResource::CTranslation translation = TranslationOf(log);
        rProperties.clear();
        for (UINT32 n = 0; n < PropertyNames.size(); ++n)
        {
            const auto sText = m_Resource.String(translation, PropertyNames[n]);
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
        const auto sText = m_Resource.FileVersion(TranslationOf(log));
        if (!sText)
            log.Throw(E_FAIL, L"::VerQueryValue( \"%s\", FileVersion ) failed. [0x%08X]", m_sPath, LastErrorResult());
        rsVersion = *sText;
    });
}

// Throws E_FAIL, with its record, when there is none.
CVersionResource::CTranslation CFileVersions::TranslationOf(const CFunctionLog& log) const
{
    if (FAILED(m_hrLoad))
        log.Throw(E_FAIL, L"::GetFileVersionInfo( \"%s\", %u ) failed. [0x%08X]", m_sPath, m_Resource.Size(), m_hrLoad);
    const auto translation = m_Resource.Translation();
    if (!translation)
        log.Throw(E_FAIL, L"::VerQueryValue( \"%s\", Translation ) failed. [0x%08X]", m_sPath, LastErrorResult());
    return *translation;
}
