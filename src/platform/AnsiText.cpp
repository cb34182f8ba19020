#include "platform/AnsiText.h"

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
