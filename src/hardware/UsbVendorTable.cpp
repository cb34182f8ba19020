#include "hardware/UsbVendorTable.h"

#include <algorithm>
#include <iterator>

#include "platform/Table.h"

namespace
{

constexpr CNameRow<WORD> Vendors[] = {
#include "UsbVendors.inc"
};
// Rising, each id once: the look-up is a binary search.
static_assert(std::ranges::adjacent_find(Vendors, std::ranges::greater_equal{}, &CNameRow<WORD>::value) ==
              std::end(Vendors));

} // namespace

const wchar_t* UsbVendorName(WORD wVendor)
{
    const auto* const pRow = std::ranges::lower_bound(Vendors, wVendor, {}, &CNameRow<WORD>::value);
    return wVendor != 0 && pRow != std::end(Vendors) && pRow->value == wVendor ? pRow->pName : L"";
}
