#include "collect/CollectorUtilFakes.h"

#include <gtest/gtest.h>

#include <algorithm>
#include <cstring>
#include <stdexcept>

#include "platform/Format.h"
#include "platform/Path.h"
#include "platform/Text.h"
#include "support/TestFolder.h"

namespace
{

CFakeVersions* s_pVersions;

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
    Bytes.insert(Bytes.end(), reinterpret_cast<const BYTE*>(sName.c_str()), reinterpret_cast<const BYTE*>(sName.c_str()) + nNameBytes);
    Append(Bytes, pValue, nValueBytes);
    for (const auto& rChild : Children)
        Append(Bytes, rChild.data(), rChild.size());
    const WORD aHead[] = { static_cast<WORD>(Bytes.size()), static_cast<WORD>(bText ? nValueBytes / 2 : nValueBytes), bText };
    std::memcpy(Bytes.data(), aHead, sizeof aHead);
    return Bytes;
}

} // namespace

std::vector<BYTE> VersionBlock(DWORD dwMS, DWORD dwLS, const std::vector<CTranslationStrings>& Translations)
{
    VS_FIXEDFILEINFO Fixed{};
    Fixed.dwSignature = VS_FFI_SIGNATURE;
    Fixed.dwFileVersionMS = dwMS;
    Fixed.dwFileVersionLS = dwLS;
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
    std::vector<std::vector<BYTE>> Parts;
    if (!Translations.empty())
        Parts = { Node(L"StringFileInfo", true, nullptr, 0, Tables),
                  Node(L"VarFileInfo", true, nullptr, 0, { Node(L"Translation", false, Ids.data(), Ids.size() * sizeof(WORD)) }) };
    return Node(L"VS_VERSION_INFO", false, &Fixed, sizeof Fixed, Parts);
}

CFakeVersions::CFakeVersions()
{
    s_pVersions = this;
}

CFakeVersions::~CFakeVersions()
{
    s_pVersions = nullptr;
}

const std::vector<BYTE>* CFakeVersions::Find(LPCWSTR pPath) const
{
    const auto itFile = Files.find(std::wstring(FileNamePart(pPath)));
    ::SetLastError(ERROR_RESOURCE_TYPE_NOT_FOUND);
    return itFile != Files.end() ? &itFile->second : nullptr;
}

DWORD WINAPI CFakeVersions::Size(LPCWSTR pPath, LPDWORD)
{
    ++s_pVersions->nAsked;
    const auto* const pBlock = s_pVersions->Find(pPath);
    return pBlock != nullptr ? static_cast<DWORD>(pBlock->size()) : 0;
}

BOOL WINAPI CFakeVersions::Read(LPCWSTR pPath, DWORD, DWORD dwSize, LPVOID pData)
{
    const auto* const pBlock = s_pVersions->Find(pPath);
    if (pBlock == nullptr || s_pVersions->bReadFails)
        return FALSE;
    std::memcpy(pData, pBlock->data(), std::min<std::size_t>(dwSize, pBlock->size()));
    return TRUE;
}

void CFakeRoots::Enter()
{
    if (::RegOverridePredefKey(HKEY_LOCAL_MACHINE, m_Machine.Get()) != ERROR_SUCCESS ||
        ::RegOverridePredefKey(HKEY_CURRENT_USER, m_User.Get()) != ERROR_SUCCESS)
        throw std::runtime_error("cannot replace the registry's roots");
}

CFakeRoots::~CFakeRoots()
{
    ::RegOverridePredefKey(HKEY_LOCAL_MACHINE, nullptr);
    ::RegOverridePredefKey(HKEY_CURRENT_USER, nullptr);
}

void ExpectGolden(const std::string& sActual, const wchar_t* pName, const std::wstring& sFolder)
{
    const std::string sFile = ReadBytes(TEST_DATA L"\\collect\\" + std::wstring(pName));
    std::wstring sGolden(sFile.begin(), sFile.end());
    ReplaceAll(sGolden, L"\n", L"\r\n");
    ReplaceAll(sGolden, L"$", sFolder);
    EXPECT_EQ(sActual, Utf8(sGolden)) << Utf8(pName);
}

void ExpectGolden(const std::vector<std::string>& Records, const wchar_t* pName, const std::wstring& sFolder)
{
    std::string sText;
    for (const std::string& sRecord : Records)
        sText += sRecord + "\r\n";
    ExpectGolden(sText, pName, sFolder);
}
