// Tables of values with their texts, and the one way to look something up in them.
#pragma once

#include <algorithm>
#include <cstddef>
#include <cstring>
#include <iterator>
#include <string>
#include <type_traits>

#include "platform/Format.h"

template <typename Value>
struct CNameRow
{
    Value value;
    const wchar_t* pName;
};

// The text of the first row with that value, else pOtherwise.
template <typename Value, std::size_t N>
constexpr const wchar_t* NameOf(const CNameRow<Value> (&aTable)[N], std::type_identity_t<Value> value,
                                const wchar_t* pOtherwise)
{
    const auto* const pRow = std::ranges::find(aTable, value, &CNameRow<Value>::value);
    return pRow != std::end(aTable) ? pRow->pName : pOtherwise;
}

// The same, with the value itself in a text of its own where the table has none.
template <typename Value, std::size_t N>
std::wstring NameOr(const CNameRow<Value> (&aTable)[N], std::type_identity_t<Value> value, CFormat<Value> otherwise)
{
    const wchar_t* const pName = NameOf(aTable, value, nullptr);
    return pName != nullptr ? pName : FormatText(otherwise, value);
}

// An enumeration that a device or the platform filled in may hold any number; as an enumeration it must not even be
// read then.
template <typename Enumeration>
DWORD RawNumber(const Enumeration& rValue)
{
    DWORD dwValue;
    static_assert(sizeof rValue == sizeof dwValue);
    std::memcpy(&dwValue, &rValue, sizeof dwValue);
    return dwValue;
}
