// Small operations on text that several rooms share.
#pragma once

#include <algorithm>
#include <cwchar>
#include <span>
#include <string>
#include <string_view>

// Comparisons without regard to case, as the runtime's _wcsicmp folds it.
inline bool EqualsNoCase(const std::wstring& sLeft, const wchar_t* pRight)
{
    return ::_wcsicmp(sLeft.c_str(), pRight) == 0;
}
inline bool EqualsNoCase(const std::wstring& sLeft, const std::wstring& sRight)
{
    return EqualsNoCase(sLeft, sRight.c_str());
}
inline bool EndsWithNoCase(const std::wstring& sText, std::wstring_view sEnd)
{
    return sText.size() >= sEnd.size() &&
           ::_wcsnicmp(sText.c_str() + (sText.size() - sEnd.size()), sEnd.data(), sEnd.size()) == 0;
}

// The text up to its first zero; all of it where there is none.
[[nodiscard]] constexpr std::wstring_view UpToZero(std::wstring_view sText)
{
    return sText.substr(0, sText.find(L'\0'));
}
[[nodiscard]] constexpr std::string_view UpToZero(std::string_view sText)
{
    return sText.substr(0, sText.find('\0'));
}

// The text in a field of fixed length, which fills it or ends at its first zero.
template <typename Char, std::size_t N>
[[nodiscard]] std::basic_string<Char> FieldText(const Char (&aField)[N])
{
    return std::basic_string<Char>(UpToZero(std::basic_string_view<Char>(aField, N)));
}

// Each byte as the character of its number.
[[nodiscard]] inline std::wstring WidenBytes(std::string_view sBytes)
{
    const auto* const pBytes = reinterpret_cast<const unsigned char*>(sBytes.data());
    return std::wstring(pBytes, pBytes + sBytes.size());
}

// Bytes as UTF-16; an odd last one does not count.
[[nodiscard]] inline std::wstring_view CharactersOf(std::span<const unsigned char> Bytes)
{
    return { reinterpret_cast<const wchar_t*>(Bytes.data()), Bytes.size() / sizeof(wchar_t) };
}

// Replaces every occurrence of a text that is not empty in one pass from the left; what a replacement brings in is not
// looked at again.
inline void ReplaceAll(std::wstring& rsText, std::wstring_view sWhat, std::wstring_view sBy)
{
    std::size_t nFound = rsText.find(sWhat);
    if (nFound == rsText.npos)
        return;
    std::wstring sResult;
    std::size_t nCopied = 0;
    for (; nFound != rsText.npos; nFound = rsText.find(sWhat, nCopied))
    {
        sResult.append(rsText, nCopied, nFound - nCopied).append(sBy);
        nCopied = nFound + sWhat.size();
    }
    rsText = sResult.append(rsText, nCopied);
}

// True when the predicate holds for one of the blank-separated words; the walk ends at the first. Empty pieces do not
// count.
template <typename Predicate>
bool AnyWord(std::wstring_view sList, const Predicate& predicate)
{
    while (!sList.empty())
    {
        const std::wstring_view sWord = sList.substr(0, sList.find(L' '));
        if (!sWord.empty() && predicate(std::wstring(sWord)))
            return true;
        sList.remove_prefix(std::min(sWord.size() + 1, sList.size()));
    }
    return false;
}
