// Room for what somebody else has told the size of.
#pragma once

#include <cstddef>
#include <exception>
#include <vector>

// False, and the items as they were, where there is no memory for so many, or where no block can be that large: the
// latter is a length error and not a lack of memory.
template <typename T>
[[nodiscard]] bool TryResize(std::vector<T>& rItems, std::size_t nCount)
{
    try
    {
        rItems.resize(nCount);
        return true;
    }
    catch (const std::exception&)
    {
        return false;
    }
}
