// Tables of values with their texts, and the one way to look something up in them.
#pragma once

#include <algorithm>
#include <cstddef>
#include <iterator>
#include <type_traits>

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
