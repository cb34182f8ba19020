#include <gmock/gmock.h>

#include "platform/Format.h"

namespace
{

// A conversion that the runtime reads otherwise than the checker would print garbage or crash.
TEST(Format, PrintsEachConversionOfTheFixedTexts)
{
    enum class Small : BYTE
    {
        A = 7
    };
    EXPECT_EQ(FormatText(L"%s|%ls|%hs|%c", std::wstring(L"wide"), L"long", "narrow", L'x'), L"wide|long|narrow|x");
    EXPECT_EQ(FormatText(L"%05d %u %#x %3X %ld %%", 42, 7u, 255u, 10u, 5L), L"00042 7 0xff   A 5 %");
    EXPECT_EQ(FormatText(L"%I64d %I64u %7.2f", 5'000'000'000LL, 6'000'000'000ULL, 1.5),
              L"5000000000 6000000000    1.50");
    EXPECT_EQ(FormatText(L"0x%08X %d", E_FAIL, Small::A), L"0x80004005 7");
    EXPECT_EQ(FormatText(L"%s", std::wstring(L"%s%n%d")), L"%s%n%d");
    // Exactly the buffer's size is whole; one more is reported, and the buffer ends in a zero.
    wchar_t aBuffer[8];
    EXPECT_EQ(FormatInto(aBuffer, L"%s", std::wstring(7, L'x')), 7);
    EXPECT_EQ(FormatInto(aBuffer, L"%s", std::wstring(8, L'x')), -1);
    EXPECT_STREQ(aBuffer, L"xxxxxxx");
    EXPECT_EQ(FormatText(L"%s", std::wstring(5000, L'y')), std::wstring(5000, L'y'));
}

} // namespace
