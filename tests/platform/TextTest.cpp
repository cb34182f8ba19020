#include <gmock/gmock.h>

#include "platform/AnsiText.h"
#include "platform/Path.h"
#include "platform/Text.h"

namespace
{

// Wrong joins send files into foreign folders; a long one must not be cut or emptied.
TEST(Path, JoinsAndTakesApart)
{
    const std::wstring sLong = L"C:\\" + std::wstring(250, L'd');
    const struct
    {
        std::wstring sDirPath, sName, sJoined;
    } aJoins[] = {
        { L"C:\\a\\", L"b", L"C:\\a\\b" },
        { L"C:\\", L"b", L"C:\\b" },
        { L"C:\\a", L"", L"C:\\a" },
        { L"", L"b", L"b" },
        { L"C:\\a", L"..\\b", L"C:\\b" },
        { L"C:\\a", L"D:\\b", L"D:\\b" },
        { sLong, L"12345", sLong + L"\\12345" },
        { sLong, std::wstring(70000, L'n'), sLong + L'\\' + std::wstring(70000, L'n') },
    };
    for (const auto& rJoin : aJoins)
        EXPECT_EQ(JoinPath(rJoin.sDirPath, rJoin.sName), rJoin.sJoined);

    const struct
    {
        const wchar_t *pPath, *pDirectory, *pName, *pTailed;
    } aParts[] = {
        { L"C:\\a\\b.txt", L"C:\\a", L"b.txt", L"C:\\a\\b[1].txt" },
        { L"C:\\b.txt", L"C:\\", L"b.txt", L"C:\\b[1].txt" },
        { L"C:\\a.d\\b", L"C:\\a.d", L"b", L"C:\\a.d\\b[1]" },
        { L"b.c.d", L"", L"b.c.d", L"b.c[1].d" },
        { L"C:/a/b.c", L"C:/a/", L"b.c", L"C:/a/b[1].c" },
        { L"", L"", L"", L"[1]" },
    };
    for (const auto& rPart : aParts)
    {
        EXPECT_EQ(DirectoryPart(rPart.pPath), rPart.pDirectory);
        EXPECT_EQ(FileNamePart(rPart.pPath), rPart.pName);
        EXPECT_EQ(WithNameTail(rPart.pPath, L"[1]"), rPart.pTailed);
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
    const struct
    {
        std::wstring sText;
        UINT nCodePage;
        std::size_t nLimit;
        std::string sResult;
    } aCases[] = {
        { L"abcd", CP_UTF8, 3, "abc" },
        { L"\u65e5\u672c", CP_UTF8, 5, "\xE6\x97\xA5" },
        { L"x\U0001F600y", CP_UTF8, 4, "x" },
        { L"x\U0001F600y", CP_UTF8, 5, "x\xF0\x9F\x98\x80" },
        { L"a\u65e5\u672c", 932, 4, "a\x93\xFA" },
        { L"\u65e5", 932, 1, "" },
    };
    for (const auto& rCase : aCases)
        EXPECT_EQ(ToNarrowLimited(rCase.sText, rCase.nCodePage, rCase.nLimit), rCase.sResult);
}

} // namespace
