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

DWORD WINAPI CFakeVersions::Size(LPCWSTR pPath, LPDWORD)
{
    const auto itFile = s_pVersions->Files.find(std::wstring(FileNamePart(pPath)));
    ::SetLastError(ERROR_RESOURCE_TYPE_NOT_FOUND);
    return itFile != s_pVersions->Files.end() ? static_cast<DWORD>(itFile->second.size()) : 0;
}

BOOL WINAPI CFakeVersions::Read(LPCWSTR pPath, DWORD, DWORD dwSize, LPVOID pData)
{
    const auto& rBlock = s_pVersions->Files.at(std::wstring(FileNamePart(pPath)));
    std::memcpy(pData, rBlock.data(), std::min<std::size_t>(dwSize, rBlock.size()));
    return TRUE;
}

FILETIME FileTimeOf(const SYSTEMTIME& rLocal)
{
    FILETIME Local, Time;
    ::SystemTimeToFileTime(&rLocal, &Local);
    ::LocalFileTimeToFileTime(&Local, &Time);
    return Time;
}

BOOL WINAPI CFakeFileTimes::Times(HANDLE, LPFILETIME pCreation, LPFILETIME pAccess, LPFILETIME pWrite)
{
    if (pCreation != nullptr)
        *pCreation = FileTimeOf({ 2013, 1, 0, 2, 3, 4, 5, 0 });
    if (pAccess != nullptr)
        *pAccess = FileTimeOf({ 2013, 12, 0, 31, 23, 59, 58, 0 });
    *pWrite = FileTimeOf({ 2014, 7, 0, 8, 9, 10, 11, 0 });
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
