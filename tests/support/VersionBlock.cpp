#include "support/VersionBlock.h"

#include <cstring>

#include "platform/Format.h"

namespace
{

void Append(std::vector<BYTE>& rBytes, const void* pData, std::size_t nBytes)
{
    rBytes.resize((rBytes.size() + 3) / 4 * 4);
    const auto* const pFirst = static_cast<const BYTE*>(pData);
    rBytes.insert(rBytes.end(), pFirst, pFirst + nBytes);
}

// A node of the resource: head, name, value and children, each on a 32-bit boundary.
std::vector<BYTE> Node(const std::wstring& sName, bool bText, const void* pValue, std::size_t nValueBytes,
                       const std::vector<std::vector<BYTE>>& Children = {})
{
    const std::size_t nNameBytes = (sName.size() + 1) * sizeof(wchar_t);
    std::vector<BYTE> Bytes(6);
    Bytes.insert(Bytes.end(), reinterpret_cast<const BYTE*>(sName.c_str()),
                 reinterpret_cast<const BYTE*>(sName.c_str()) + nNameBytes);
    Append(Bytes, pValue, nValueBytes);
    for (const auto& rChild : Children)
        Append(Bytes, rChild.data(), rChild.size());
    const WORD aHead[] = { static_cast<WORD>(Bytes.size()), static_cast<WORD>(bText ? nValueBytes / 2 : nValueBytes),
                           bText };
    std::memcpy(Bytes.data(), aHead, sizeof aHead);
    return Bytes;
}

} // namespace

std::vector<BYTE> VersionBlock(const std::vector<CTranslationStrings>& Translations)
{
    VS_FIXEDFILEINFO Fixed{};
    Fixed.dwSignature = VS_FFI_SIGNATURE;
    std::vector<WORD> Ids;
    std::vector<std::vector<BYTE>> Tables;
    for (const auto& rTranslation : Translations)
    {
        Ids.insert(Ids.end(), { rTranslation.wLanguage, 1200 });
        std::vector<std::vector<BYTE>> Strings;
        for (const auto& [sKey, sText] : rTranslation.Strings)
            Strings.push_back(Node(sKey, true, sText.c_str(), (sText.size() + 1) * sizeof(wchar_t)));
        Tables.push_back(Node(FormatText(L"%04x04b0", rTranslation.wLanguage), true, nullptr, 0, Strings));
    }
    return Node(L"VS_VERSION_INFO", false, &Fixed, sizeof Fixed,
                { Node(L"StringFileInfo", true, nullptr, 0, Tables),
                  Node(L"VarFileInfo", true, nullptr, 0,
                       { Node(L"Translation", false, Ids.data(), Ids.size() * sizeof(WORD)) }) });
}
