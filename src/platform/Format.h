// Text formatting. A format is a literal, checked against its arguments by the compiler; no text from outside the
// program is ever used as one.
//
// The conversions are those of the platform's runtime: %s and %ls take a wide string (std::wstring passes as its
// c_str()), %hs a narrow one, %c a wide character, %d %u %x %X a 32-bit integer (a bool or an enum counts as one),
// %I64d %I64u %I64X a 64-bit one, %f %g a double, %p a pointer; flags, width and precision as digits.
#pragma once

#include <array>
#include <cstdarg>
#include <cstddef>
#include <source_location>
#include <span>
#include <string>
#include <string_view>
#include <type_traits>

#include "platform/Win32.h"

namespace format_detail
{

enum class Kind
{
    Other,
    Int32,
    Int64,
    Double,
    Wide,
    Narrow,
    Pointer
};

template <typename T>
consteval Kind KindOf()
{
    using U = std::decay_t<T>;
    if constexpr (std::is_same_v<U, std::wstring> || std::is_same_v<U, const wchar_t*> || std::is_same_v<U, wchar_t*>)
        return Kind::Wide;
    else if constexpr (std::is_same_v<U, const char*> || std::is_same_v<U, char*>)
        return Kind::Narrow;
    else if constexpr (std::is_pointer_v<U>)
        return Kind::Pointer;
    else if constexpr (std::is_same_v<U, double> || std::is_same_v<U, float>)
        return Kind::Double;
    else if constexpr (std::is_integral_v<U> || std::is_enum_v<U>)
        return sizeof(U) <= 4 ? Kind::Int32 : Kind::Int64;
    else
        return Kind::Other;
}

// Not constexpr on purpose: reaching one of these ends the compilation, and its name says what is wrong.
void format_has_more_conversions_than_arguments();
void format_has_fewer_conversions_than_arguments();
void argument_does_not_fit_its_conversion();
void format_has_an_unknown_conversion();

// What the conversion that starts behind the percent sign at nAt wants; moves nAt to its last character.
consteval Kind WantedKind(std::wstring_view sFormat, std::size_t& nAt)
{
    constexpr std::wstring_view sFlags = L"-+ #0123456789.";
    while (nAt < sFormat.size() && sFlags.find(sFormat[nAt]) != sFlags.npos)
        ++nAt;
    const std::wstring_view sRest = sFormat.substr(nAt);
    const bool bLong = sRest.starts_with(L"l");
    const bool bHalf = sRest.starts_with(L"h");
    const bool b64 = sRest.starts_with(L"I64");
    nAt += b64 ? 3 : (bLong || bHalf) ? 1 : 0;
    switch (nAt < sFormat.size() ? sFormat[nAt] : L'\0')
    {
    case L'd':
    case L'u':
    case L'x':
    case L'X':
        return b64 ? Kind::Int64 : Kind::Int32;
    case L's':
        return bHalf ? Kind::Narrow : Kind::Wide;
    case L'c':
        return Kind::Int32;
    case L'f':
    case L'g':
        return Kind::Double;
    case L'p':
        return Kind::Pointer;
    default:
        format_has_an_unknown_conversion();
        return Kind::Other;
    }
}

template <typename... Args>
consteval void Check(std::wstring_view sFormat)
{
    constexpr std::array<Kind, sizeof...(Args) + 1> aGiven{ KindOf<Args>()..., Kind::Other };
    std::size_t nNext = 0;
    for (std::size_t n = 0; n < sFormat.size(); ++n)
    {
        if (sFormat[n] != L'%')
            continue;
        ++n;
        if (n < sFormat.size() && sFormat[n] == L'%')
            continue;
        const Kind eWanted = WantedKind(sFormat, n);
        if (nNext == sizeof...(Args))
            format_has_more_conversions_than_arguments();
        if (aGiven[nNext++] != eWanted)
            argument_does_not_fit_its_conversion();
    }
    if (nNext != sizeof...(Args))
        format_has_fewer_conversions_than_arguments();
}

inline const wchar_t* Pass(const std::wstring& sText)
{
    return sText.c_str();
}
inline const wchar_t* Pass(const wchar_t* pText)
{
    return pText != nullptr ? pText : L"(null)";
}
inline const void* Pass(const void* pValue)
{
    return pValue;
}
inline const char* Pass(const char* pText)
{
    return pText != nullptr ? pText : "(null)";
}
template <typename T>
    requires(!std::is_array_v<T> && !std::is_pointer_v<T>)
constexpr auto Pass(const T& value)
{
    // The compiler promotes a small integer, but not a small scoped enumeration.
    if constexpr (std::is_enum_v<T>)
        return +static_cast<std::underlying_type_t<T>>(value);
    else
        return value;
}

} // namespace format_detail

// A checked format and the place where it stands.
template <typename... Args>
struct CFormatT
{
    const wchar_t* pText;
    std::source_location Where;

    template <std::size_t N>
    consteval CFormatT(const wchar_t (&aText)[N], std::source_location where = std::source_location::current())
        : pText(aText),
          Where(where)
    {
        format_detail::Check<std::remove_cvref_t<Args>...>({ aText, N - 1 });
    }
    // No text at all, for what tells a missing text from an empty one.
    consteval CFormatT(std::nullptr_t, std::source_location where = std::source_location::current())
        : pText(nullptr),
          Where(where)
    {
    }
};
template <typename... Args>
using CFormat = CFormatT<std::type_identity_t<Args>...>;

// Formats into Buffer (not empty) by the platform's runtime, always terminated. Returns the number of characters, or
// -1 when the text did not fit; the buffer then holds as much of its beginning as fits.
int FormatTo(std::span<wchar_t> Buffer, const wchar_t* pFormat, std::va_list args);

// The two forms that take the arguments themselves; FormatText has no limit of its own below 32,767 characters.
int FormatToBuffer(std::span<wchar_t> Buffer, const wchar_t* pFormat, ...);
std::wstring FormatToString(const wchar_t* pFormat, ...);

template <typename... Args>
[[nodiscard]] std::wstring FormatText(CFormat<Args...> format, const Args&... args)
{
    return FormatToString(format.pText, format_detail::Pass(args)...);
}

template <typename... Args>
int FormatInto(std::span<wchar_t> Buffer, CFormat<Args...> format, const Args&... args)
{
    return FormatToBuffer(Buffer, format.pText, format_detail::Pass(args)...);
}
