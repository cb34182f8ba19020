#include "platform/AnsiText.h"

std::string ToNarrow(std::wstring_view sText, UINT nCodePage)
{
    if (sText.empty())
        return {};
    const auto nLength = static_cast<int>(sText.size());
    // No code page needs more than four bytes for a character, and a UTF-16 word is at most three in UTF-8.
    std::string sBytes(sText.size() * 4, '\0');
    const int nBytes = ::WideCharToMultiByte(nCodePage, 0, sText.data(), nLength, sBytes.data(),
                                             static_cast<int>(sBytes.size()), nullptr, nullptr);
    sBytes.resize(nBytes > 0 ? static_cast<std::size_t>(nBytes) : 0);
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
