// Bytes to wide text, for what the platform still gives in a code page.
#pragma once

#include <string>
#include <string_view>

#include "platform/Text.h"
#include "platform/Win32.h"

// Converts with MultiByteToWideChar, flags 0; empty when that fails.
[[nodiscard]] inline std::wstring ToWide(std::string_view sBytes, UINT nCodePage = CP_THREAD_ACP)
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

// The text in a field of fixed length, which fills it or ends at its first zero.
template <typename Char, std::size_t N>
[[nodiscard]] std::basic_string<Char> FieldText(const Char (&aField)[N])
{
    return std::basic_string<Char>(UpToZero(std::basic_string_view<Char>(aField, N)));
}
