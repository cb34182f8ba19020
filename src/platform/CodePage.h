// Text between UTF-16 and the code pages, in which files are written and some answers of the platform come.
#pragma once

#include <cstddef>
#include <span>
#include <string>
#include <string_view>

#include "platform/Win32.h"

// No code page needs more bytes for a character; a UTF-16 word is at most three in UTF-8.
inline constexpr std::size_t MaxNarrow = 4;

// Converts with WideCharToMultiByte, flags 0: what the code page does not hold becomes what that call makes of it.
[[nodiscard]] std::string ToNarrow(std::wstring_view sText, UINT nCodePage = CP_THREAD_ACP);
// The same into a buffer, which MaxNarrow bytes for each character always suffice for; gives the number of bytes.
[[nodiscard]] std::size_t ToNarrow(std::wstring_view sText, UINT nCodePage, std::span<char> Bytes);

// The same, cut at whole characters so that the result has at most nLimit bytes.
[[nodiscard]] std::string ToNarrowLimited(std::wstring_view sText, UINT nCodePage, std::size_t nLimit);

// Converts with MultiByteToWideChar, flags 0; empty when that fails.
[[nodiscard]] std::wstring ToWide(std::string_view sBytes, UINT nCodePage = CP_THREAD_ACP);
