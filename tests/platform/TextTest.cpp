#include <gtest/gtest.h>

#include "platform/CodePage.h"
#include "platform/Format.h"
#include "platform/Path.h"

namespace
{

// Wrong joins send files into foreign folders; a long one must not be cut or emptied.
TEST(Path, JoinsFolderAndName)
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
}

// Half a character at the limit would spoil the whole line for its reader.
TEST(CodePage, IsCutAtWholeCharacters)
{
    const std::tuple<std::wstring, UINT, std::size_t, std::string> aCases[] = {
        { L"\u65e5\u672c", CP_UTF8, 5, "\xE6\x97\xA5" },
        { L"x\U0001F600y", CP_UTF8, 4, "x" },
        { L"x\U0001F600y", CP_UTF8, 5, "x\xF0\x9F\x98\x80" },
        { L"a\u65e5\u672c", 932, 4, "a\x93\xFA" },
        { L"\u65e5", 932, 1, "" },
    };
    for (const auto& [sText, nCodePage, nLimit, sResult] : aCases)
        EXPECT_EQ(ToNarrowLimited(sText, nCodePage, nLimit), sResult);
}

// A text that does not fit must neither be written beyond its buffer nor be taken for a whole one. (The conversions
// stand in the golden files.)
TEST(Format, FillsABufferToItsEnd)
{
    wchar_t aBuffer[8];
    EXPECT_EQ(FormatInto(aBuffer, L"%s", std::wstring(7, L'x')), 7);
    EXPECT_EQ(FormatInto(aBuffer, L"%s", std::wstring(8, L'x')), -1);
    EXPECT_STREQ(aBuffer, L"xxxxxxx");
    EXPECT_EQ(FormatText(L"%s", std::wstring(5000, L'y')), std::wstring(5000, L'y'));
}

} // namespace
