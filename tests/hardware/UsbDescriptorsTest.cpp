#include <gmock/gmock.h>

#include "hardware/UsbDescriptors.h"

namespace
{

using ::testing::ElementsAre;

using CBytes = std::vector<BYTE>;

// "9/2 9/4": length and type of each record; a walk that could not go on ends with an exclamation mark.
std::string Walked(CUsbBytes Configuration, std::size_t nMost = 1000)
{
    std::string sRecords;
    const bool bWhole = WalkUsbDescriptors(Configuration, [&](CUsbBytes Record) {
        sRecords += std::to_string(Record.size()) + '/' + std::to_string(Record[1]) + ' ';
        return --nMost > 0;
    });
    return sRecords + (bWhole ? "" : "!");
}

// A length of nought once hung such walks, and one past the end read foreign memory.
TEST(UsbDescriptors, AreWalkedWithinTheirEnd)
{
    EXPECT_EQ(Walked(CBytes{ 3, 2, 0, 4, 5, 0, 0, 3, 4, 0 }), "3/2 4/5 3/4 ");
    EXPECT_EQ(Walked(CBytes{ 3, 2, 0, 4, 5, 0, 0, 3, 4, 0 }, 2), "3/2 4/5 ");
    EXPECT_EQ(Walked(CBytes{ 3, 2, 0, 0, 5, 0 }), "3/2 !");
    EXPECT_EQ(Walked(CBytes{ 3, 2, 0, 2, 5, 3, 4, 0 }), "3/2 2/5 3/4 ");
    EXPECT_EQ(Walked(CBytes{ 3, 2, 0, 2, 5 }), "3/2 "); // two bytes at the end are none any more
    EXPECT_EQ(Walked(CBytes{ 3, 2, 0, 255, 5, 0 }), "3/2 ");
    for (std::size_t n = 0; n < 3; ++n)
        EXPECT_EQ(Walked(CBytes(n)), "");
}

// An unterminated text or a count beyond the record would show foreign memory.
TEST(UsbDescriptors, GiveTextsLanguagesAndHidEntries)
{
    EXPECT_EQ(UsbStringText(CBytes{ 8, 3, 'A', 0, 0xE4, 0, 0x42, 0x30 }), L"A\u00E4\u3042");
    EXPECT_EQ(UsbStringText(CBytes{ 8, 3, 'A', 0, 0, 0, 'B', 0 }), L"A");
    EXPECT_EQ(UsbStringText(CBytes{ 2, 3 }), L"");
    EXPECT_THAT(UsbLanguages(CBytes{ 6, 3, 9, 4, 7, 4 }), ElementsAre(0x409, 0x407));
    EXPECT_THAT(UsbLanguages(CBytes{ 2, 3 }), ElementsAre());
    EXPECT_EQ(UsbHidEntries(CBytes{ 12, 33, 0x10, 1, 0, 2, 0x22, 0x41, 1, 0x23, 5, 0 }).at(1).wLength, 5);
    EXPECT_EQ(UsbHidEntries(CBytes{ 12, 33, 0x10, 1, 0, 255, 0x22, 0x41, 1, 0x23, 5, 0 }).size(), 2u);
    EXPECT_EQ(UsbHidEntries(CBytes{ 11, 33, 0x10, 1, 0, 2, 0x22, 0x41, 1, 0x23, 5 }).size(), 1u);
    EXPECT_EQ(UsbHidEntries(CBytes{ 5, 33, 0, 0, 0 }).size(), 0u);
    EXPECT_EQ(UsbWord(CBytes{ 1, 2, 3 }, 2), 0);
    EXPECT_EQ(UsbWord(CBytes{}, 0xFFFFFFFF), 0);
}

} // namespace
