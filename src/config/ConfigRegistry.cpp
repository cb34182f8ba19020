// The manifest's registry keys and values.
#include <algorithm>

#include "config/ConfigFile.h"
#include "config/XmlWalk.h"
#include "platform/Text.h"

namespace
{

const struct
{
    std::wstring_view sName;
    HKEY hKey;
} RootKeys[] = {
    { L"HKEY_LOCAL_MACHINE", HKEY_LOCAL_MACHINE },
    { L"HKEY_CURRENT_USER", HKEY_CURRENT_USER },
    { L"HKEY_CLASSES_ROOT", HKEY_CLASSES_ROOT },
    { L"HKEY_CURRENT_CONFIG", HKEY_CURRENT_CONFIG },
    { L"HKEY_USERS", HKEY_USERS },
};

int HexDigit(wchar_t c)
{
    if (c >= L'0' && c <= L'9')
        return c - L'0';
    if (c >= L'a' && c <= L'f')
        return c - L'a' + 10;
    if (c >= L'A' && c <= L'F')
        return c - L'A' + 10;
    return -1;
}

// Pairs of digits. At a fault the decoding ends without a word; what was not decoded is zero.
void StoreBinary(CDataBlock& rData, const std::wstring& sText)
{
    rData.Allocate(static_cast<DWORD>(sText.size() / 2));
    for (DWORD n = 0; n < rData.Length(); ++n)
    {
        const int nHigh = HexDigit(sText[2 * n]);
        const int nLow = HexDigit(sText[2 * n + 1]);
        if (nHigh < 0 || nLow < 0)
            return;
        rData.Data()[n] = static_cast<BYTE>(nHigh * 16 + nLow);
    }
}

void StoreBytes(CDataBlock& rData, const void* pBytes, std::size_t nLength)
{
    rData.Allocate(static_cast<DWORD>(nLength));
    std::copy_n(static_cast<const BYTE*>(pBytes), nLength, rData.Data());
}

// Numbers are signed and clamped to the nearest (_wtoi wraps some of them on Windows): 4294967295 stands in the
// manifest as -1.
void StoreValue(const CFunctionLog& log, const CConfigFile& rConfig, const std::wstring& sType, std::wstring sText,
                CRegistryInfo& rInfo)
{
    if (EqualsNoCase(sType, L"REG_BINARY"))
    {
        rInfo.dwType = REG_BINARY;
        StoreBinary(rInfo.Data, sText);
    }
    else if (EqualsNoCase(sType, L"REG_DWORD"))
    {
        rInfo.dwType = REG_DWORD;
        const LONG nValue = ::wcstol(sText.c_str(), nullptr, 10);
        StoreBytes(rInfo.Data, &nValue, sizeof nValue);
    }
    else if (EqualsNoCase(sType, L"REG_QWORD"))
    {
        rInfo.dwType = REG_QWORD;
        const LONGLONG nValue = ::_wcstoi64(sText.c_str(), nullptr, 10);
        StoreBytes(rInfo.Data, &nValue, sizeof nValue);
    }
    else if (EqualsNoCase(sType, L"REG_SZ"))
    {
        rInfo.dwType = REG_SZ;
        rConfig.ExpandPathTokens(sText);
        StoreBytes(rInfo.Data, sText.c_str(), (sText.size() + 1) * sizeof(wchar_t));
    }
    else
        log.Throw(E_FAIL, L"Value Type is not supported.[\"%s\"]", sType);
}

} // namespace

// What the elements of one list of values say; the names of the attributes are made once for all of them.
struct CConfigFile::CValueTexts
{
    std::wstring sName, sType, sLanguages, sText, sMachine, s64Key, sSxsIds;
    const CAttributeTable Attributes{ { L"name", &sName },    { L"type", &sType },       { L"language", &sLanguages },
                                      { L"value", &sText },   { L"machine", &sMachine }, { L"wow64-64key", &s64Key },
                                      { L"sxs-id", &sSxsIds } };
};

HRESULT CConfigFile::LoadRegistryInfos(IXMLDOMDocument* pDocument)
{
    CFunctionLog log;
    return log.Run([&] {
        const std::wstring sPattern = L"/installchecker/registry-infos/key";
        WalkElements(log, pDocument, sPattern, sPattern, { L"pXmlNodeList", L"pNode" }, [&](const CXmlElement& rKey) {
            CRegistryInfo key;
            if (FAILED(LoadRegistryKeyInfo(rKey, key)))
                return;
            CValueTexts texts;
            WalkElements(log, rKey.Get(), L"value", rKey.Pattern() + L"/value", { L"pXmlValueNodeList", L"pNode" },
                         [&](const CXmlElement& rValue) {
                             CRegistryInfo info;
                             info.hRootKey = key.hRootKey;
                             info.sRootKeyName = key.sRootKeyName;
                             info.sKeyPath = key.sKeyPath;
                             if (SUCCEEDED(LoadRegistryKeyValue(rValue, texts, info)))
                                 m_RegistryInfos.push_back(std::move(info));
                         });
        });
    });
}

// A failure means: this key is not for this variant.
HRESULT CConfigFile::LoadRegistryKeyInfo(const CXmlElement& rKey, CRegistryInfo& rInfo)
{
    CFunctionLog log;
    return log.Run([&] {
        std::wstring sSxsIds;
        CAttributeTable{ { L"name", &rInfo.sKeyPath }, { L"sxs-id", &sSxsIds } }.Read(log, rKey);
        if (!PassesFilter(sSxsIds))
            log.Throw(E_FAIL);
        for (const auto& rRoot : RootKeys)
        {
            if (!rInfo.sKeyPath.starts_with(rRoot.sName))
                continue;
            rInfo.hRootKey = rRoot.hKey;
            rInfo.sRootKeyName = rRoot.sName;
            // The name goes wherever it stands, not only at the start.
            ReplaceAll(rInfo.sKeyPath, rRoot.sName, L"");
            if (rInfo.sKeyPath.starts_with(L'\\'))
                rInfo.sKeyPath.erase(0, 1);
            break;
        }
    });
}

// A failure means: leave this value out.
HRESULT CConfigFile::LoadRegistryKeyValue(const CXmlElement& rValue, CValueTexts& rTexts, CRegistryInfo& rInfo)
{
    CFunctionLog log;
    return log.Run([&] {
        rTexts.Attributes.Read(log, rValue);
        if (!PassesFilter(rTexts.sSxsIds) || !PassesMachine(rTexts.sMachine) || !PassesLanguage(rTexts.sLanguages))
            log.Throw(E_FAIL);
        rInfo.sValueName = std::move(rTexts.sName);
        rInfo.bWow64Key = m_bWow64 && (EqualsNoCase(rTexts.s64Key, L"true") || EqualsNoCase(rTexts.s64Key, L"1"));
        StoreValue(log, *this, rTexts.sType, std::move(rTexts.sText), rInfo);
    });
}

bool CConfigFile::PassesMachine(const std::wstring& sMachine) const
{
    return sMachine.empty() || (m_nMachine == Machine_X86 && EqualsNoCase(sMachine, L"x86")) ||
           (m_nMachine == Machine_X64 && EqualsNoCase(sMachine, L"x64"));
}

bool CConfigFile::PassesLanguage(const std::wstring& sLanguages) const
{
    const bool bJapanese = m_wLanguage == LANG_JAPANESE;
    const bool bKorean = m_wLanguage == LANG_KOREAN;
    const bool bChinese = m_wLanguage == LANG_CHINESE;
    return sLanguages.empty() || AnyWord(sLanguages, [&](const std::wstring& sWord) {
               if (EqualsNoCase(sWord, L"LANG_JAPANESE"))
                   return bJapanese;
               if (EqualsNoCase(sWord, L"LANG_KOREAN"))
                   return bKorean;
               if (EqualsNoCase(sWord, L"LANG_CHINESE"))
                   return bChinese;
               // English stands for every other language, and a word that is not known passes everywhere.
               return !EqualsNoCase(sWord, L"LANG_ENGLISH") || !(bJapanese || bKorean || bChinese);
           });
}
