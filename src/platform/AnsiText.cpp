#include "platform/AnsiText.h"

void ToNarrow(std::wstring_view sText, UINT nCodePage, std::string& rsBytes)
{
    const auto nLength = static_cast<int>(sText.size());
    // No code page needs more than four bytes for a character, and a UTF-16 word is at most three in UTF-8.
    rsBytes.resize(sText.size() * 4);
    const int nBytes = nLength == 0 ? 0
                                    : ::WideCharToMultiByte(nCodePage, 0, sText.data(), nLength, rsBytes.data(),
                                                            static_cast<int>(rsBytes.size()), nullptr, nullptr);
    rsBytes.resize(nBytes > 0 ? static_cast<std::size_t>(nBytes) : 0);
}

std::string ToNarrow(std::wstring_view sText, UINT nCodePage)
{
    std::string sBytes;
    ToNarrow(sText, nCodePage, sBytes);
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
