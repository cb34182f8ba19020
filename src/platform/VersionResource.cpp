#include "platform/VersionResource.h"

#include <algorithm>

#include "platform/Format.h"
#include "platform/HResult.h"
#include "platform/Text.h"

namespace
{

// The size comes out of the file; a resource of that size is none.
constexpr DWORD MaxSize = 16 * 1024 * 1024;

// The part that the query names; null where there is none, also when no resource was loaded, or where it is too short:
// the last error says why. rnLength is the platform's own count, of bytes or of characters, never more than the bytes
// that the block holds from there on.
const void* Part(const std::vector<BYTE>& Data, const wchar_t* pQuery, UINT& rnLength, UINT nAtLeast = 0)
{
    void* pValue = nullptr;
    if (Data.empty())
    {
        ::SetLastError(ERROR_RESOURCE_DATA_NOT_FOUND);
        return nullptr;
    }
    if (!::VerQueryValueW(Data.data(), pQuery, &pValue, &rnLength))
        return nullptr;
    const auto* const pStart = static_cast<const BYTE*>(pValue);
    const BYTE* const pEnd = Data.data() + Data.size();
    if (pStart >= Data.data() && pStart <= pEnd)
    {
        rnLength = std::min(rnLength, static_cast<UINT>(pEnd - pStart));
        if (rnLength >= nAtLeast)
            return pValue;
    }
    ::SetLastError(ERROR_INVALID_DATA);
    return nullptr;
}

} // namespace

HRESULT CVersionResource::Load(const std::wstring& sPath)
{
    DWORD dwIgnored = 0;
    m_Data.clear();
    m_dwSize = ::GetFileVersionInfoSizeW(sPath.c_str(), &dwIgnored);
    if (m_dwSize > MaxSize)
        return E_OUTOFMEMORY;
    m_Data.resize(m_dwSize);
    if (m_dwSize != 0 && ::GetFileVersionInfoW(sPath.c_str(), 0, m_dwSize, m_Data.data()))
        return S_OK;
    const HRESULT hr = LastErrorResult();
    m_Data.clear();
    return hr;
}

std::optional<CVersionResource::CFixed> CVersionResource::Fixed() const
{
    UINT nLength = 0;
    const void* const pValue = Part(m_Data, L"\\", nLength, sizeof(VS_FIXEDFILEINFO));
    if (pValue == nullptr)
        return std::nullopt;
    const auto* const pInfo = static_cast<const VS_FIXEDFILEINFO*>(pValue);
    return CFixed{ pInfo->dwFileVersionMS, pInfo->dwFileVersionLS };
}

std::optional<CVersionResource::CTranslation> CVersionResource::Translation() const
{
    UINT nLength = 0;
    const void* const pValue = Part(m_Data, L"\\VarFileInfo\\Translation", nLength, sizeof(CTranslation));
    if (pValue == nullptr)
        return std::nullopt;
    return *static_cast<const CTranslation*>(pValue);
}

std::optional<std::wstring> CVersionResource::String(CTranslation translation, const wchar_t* pKey) const
{
    UINT nLength = 0;
    const std::wstring sQuery = FormatText(L"\\StringFileInfo\\%04x%04x\\%s", translation.wLanguage,
                                           translation.wCodePage, pKey);
    const void* const pValue = Part(m_Data, sQuery.c_str(), nLength);
    if (pValue == nullptr)
        return std::nullopt;
    // The length counts the terminator, and a damaged resource may count more than it holds.
    const auto nHeld = static_cast<std::size_t>(m_Data.data() + m_Data.size() - static_cast<const BYTE*>(pValue)) /
                       sizeof(wchar_t);
    const std::wstring_view sText(static_cast<const wchar_t*>(pValue), std::min<std::size_t>(nLength, nHeld));
    return std::wstring(UpToZero(sText));
}

std::optional<std::wstring> CVersionResource::FileVersion(CTranslation translation) const
{
    auto sText = String(translation, L"FileVersion");
    if (sText)
        ReplaceAll(*sText, L", ", L".");
    return sText;
}

std::wstring CVersionResource::FileVersionText() const
{
    const std::optional<CTranslation> translation = Translation();
    return translation ? FileVersion(*translation).value_or(std::wstring()) : std::wstring();
}

std::wstring FixedVersionText(CVersionResource::CFixed version)
{
    return FormatText(L"%d.%d.%d.%d", HIWORD(version.dwMS), LOWORD(version.dwMS), HIWORD(version.dwLS),
                      LOWORD(version.dwLS));
}
