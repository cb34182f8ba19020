// Wide text to bytes, for everything that goes into a file.
#pragma once

#include <cstddef>
#include <string>
#include <string_view>

#include "platform/Win32.h"

// Converts with WideCharToMultiByte, flags 0: what the code page does not hold becomes what that call makes of it.
[[nodiscard]] std::string ToNarrow(std::wstring_view sText, UINT nCodePage = CP_THREAD_ACP);
// The same into a string that keeps its room from one text to the next.
void ToNarrow(std::wstring_view sText, UINT nCodePage, std::string& rsBytes);

// The same, cut at whole characters so that the result has at most nLimit bytes.
[[nodiscard]] std::string ToNarrowLimited(std::wstring_view sText, UINT nCodePage, std::size_t nLimit);
