// Tables of bits with their texts.
#pragma once

#include <string>

#include "platform/Table.h"

// Hands the text of each row that shares a bit with the value to put, in the order of the table.
template <typename Value, std::size_t N, typename Put>
constexpr void ForEachFlag(const CNameRow<Value> (&aTable)[N], std::type_identity_t<Value> value, const Put& put)
{
    for (const CNameRow<Value>& rRow : aTable)
    {
        if ((value & rRow.value) != 0)
            put(rRow.pName);
    }
}

// The same texts in a row.
template <typename Value, std::size_t N>
std::wstring FlagsText(const CNameRow<Value> (&aTable)[N], std::type_identity_t<Value> value, const wchar_t* pSeparator)
{
    std::wstring sText;
    ForEachFlag(aTable, value,
                [&](const wchar_t* pName) { sText.append(sText.empty() ? L"" : pSeparator).append(pName); });
    return sText;
}
