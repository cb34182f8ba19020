#include <gmock/gmock.h>

#include "platform/AnsiText.h"
#include "platform/Format.h"
#include "platform/Path.h"
#include "platform/Text.h"

namespace
{

// Wrong joins send files into foreign folders; a long one must not be cut or emptied.
TEST(Path, JoinsAndTakesApart)
{
    const std::wstring sLong = L"C:\\" + std::wstring(250, L'd');
    const std::tuple<std::wstring, std::wstring, std::wstring> aJoins[] = {
        { L"C:\\a\\", L"b", L"C:\\a\\b" },
        { L"C:\\", L"b", L"C:\\b" },
        { L"C:\\a", L"", L"C:\\a" },
        { L"", L"b", L"b" },
        { L"C:\\a", L"..\\b", L"C:\\b" },
        { L"C:\\a", L"D:\\b", L"D:\\b" },
        { sLong, std::wstring(70000, L'n'), sLong + L'\\' + std::wstring(70000, L'n') },
    };
    for (const auto& [sDirPath, sName, sJoined] : aJoins)
        EXPECT_EQ(JoinPath(sDirPath, sName), sJoined);

    const std::tuple<const wchar_t*, const wchar_t*, const wchar_t*, const wchar_t*> aParts[] = {
        { L"C:\\a\\b.txt", L"C:\\a", L"b.txt", L"C:\\a\\b[1].txt" },
        { L"C:\\b.txt", L"C:\\", L"b.txt", L"C:\\b[1].txt" },
        { L"C:\\a.d\\b", L"C:\\a.d", L"b", L"C:\\a.d\\b[1]" },
        { L"b.c.d", L"", L"b.c.d", L"b.c[1].d" },
        { L"C:/a/b.c", L"C:/a/", L"b.c", L"C:/a/b[1].c" },
        { L"", L"", L"", L"[1]" },
    };
    for (const auto& [pPath, pDirectory, pName, pTailed] : aParts)
    {
        EXPECT_EQ(DirectoryPart(pPath), pDirectory);
        EXPECT_EQ(FileNamePart(pPath), pName);
        EXPECT_EQ(WithNameTail(pPath, L"[1]"), pTailed);
    }
}

// A replacement that holds its own pattern would run for ever; a lost last word would judge an entry wrongly.
TEST(Text, IsReplacedInOnePassAndWalkedByWords)
{
    std::wstring sText = L"1, 2, 3, ";
    ReplaceAll(sText, L", ", L", .");
    EXPECT_EQ(sText, L"1, .2, .3, .");
    std::vector<std::wstring> Seen;
    const auto upToC = [&](const std::wstring& sWord) { return Seen.push_back(sWord), sWord == L"c"; };
    EXPECT_TRUE(AnyWord(L"  a b  c d", upToC));
    EXPECT_THAT(Seen, testing::ElementsAre(L"a", L"b", L"c"));
    EXPECT_FALSE(AnyWord(L"   ", upToC));
}

// Half a character at the limit would spoil the whole line for its reader.
TEST(AnsiText, IsCutAtWholeCharacters)
{
    const std::tuple<std::wstring, UINT, std::size_t, std::string> aCases[] = {
        { L"abcd", CP_UTF8, 3, "abc" },
        { L"\u65e5\u672c", CP_UTF8, 5, "\xE6\x97\xA5" },
        { L"x\U0001F600y", CP_UTF8, 4, "x" },
        { L"x\U0001F600y", CP_UTF8, 5, "x\xF0\x9F\x98\x80" },
        { L"a\u65e5\u672c", 932, 4, "a\x93\xFA" },
        { L"\u65e5", 932, 1, "" },
    };
    for (const auto& [sText, nCodePage, nLimit, sResult] : aCases)
        EXPECT_EQ(ToNarrowLimited(sText, nCodePage, nLimit), sResult);
}

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
