#include "platform/CodePage.h"

std::size_t ToNarrow(std::wstring_view sText, UINT nCodePage, std::span<char> Bytes)
{
    if (sText.empty())
        return 0;
    const int nBytes = ::WideCharToMultiByte(nCodePage, 0, sText.data(), static_cast<int>(sText.size()), Bytes.data(),
                                             static_cast<int>(Bytes.size()), nullptr, nullptr);
    return nBytes > 0 ? static_cast<std::size_t>(nBytes) : 0;
}

std::string ToNarrow(std::wstring_view sText, UINT nCodePage)
{
    std::string sBytes(sText.size() * MaxNarrow, '\0');
    sBytes.resize(ToNarrow(sText, nCodePage, sBytes));
    return sBytes;
}

std::string ToNarrowLimited(std::wstring_view sText, UINT nCodePage, std::size_t nLimit)
{
    std::string sBytes = ToNarrow(sText, nCodePage);
    std::size_t nFits = 0;
    std::size_t nTooLong = sText.size();
    if (sBytes.size() <= nLimit)
        return sBytes;
    while (nTooLong - nFits > 1)
    {
        const std::size_t nMiddle = nFits + (nTooLong - nFits) / 2;
        (ToNarrow(sText.substr(0, nMiddle), nCodePage).size() <= nLimit ? nFits : nTooLong) = nMiddle;
    }
    if (nFits > 0 && IS_HIGH_SURROGATE(sText[nFits - 1]))
        --nFits;
    return ToNarrow(sText.substr(0, nFits), nCodePage);
}

std::wstring ToWide(std::string_view sBytes, UINT nCodePage)
{
    const auto nBytes = static_cast<int>(sBytes.size());
    // No byte becomes more than one UTF-16 word.
    std::wstring sText(sBytes.size(), L'\0');
    // NOLINTNEXTLINE(bugprone-suspicious-stringview-data-usage): its size stands beside it
    const int nLength = nBytes > 0 ? ::MultiByteToWideChar(nCodePage, 0, sBytes.data(), nBytes, sText.data(), nBytes)
                                   : 0;
    sText.resize(nLength > 0 ? static_cast<std::size_t>(nLength) : 0);
    return sText;
}
