#include <gmock/gmock.h>

#include "platform/RegKey.h"
#include "support/ScratchKey.h"
#include "support/TestFolder.h"

namespace
{

// Registry data is whatever was written: reading behind an unterminated text would print foreign memory.
TEST(RegKey, TrustsNoData)
{
    using namespace std::string_literals;
    const CScratchKey key(L"KelvarinRegKeyTest");
    const struct
    {
        DWORD dwType;
        std::string sBytes;
        DWORD dwStatus;
        const wchar_t* pText;
        // clang-format off
    } aCases[] = {
        { REG_EXPAND_SZ, "%\0a\0%\0\0\0"s, ERROR_SUCCESS, L"%a%" },
        { REG_SZ, "a\0\0\0b\0\0\0"s, ERROR_SUCCESS, L"a" },
        { REG_SZ, "", ERROR_SUCCESS, L"" },
        { REG_SZ, "a\0b\0"s, ERROR_INVALID_DATA, L"old" }, // unterminated
        { REG_SZ, "a\0b\0\0"s, ERROR_INVALID_DATA, L"old" }, // half a zero
        { REG_DWORD, "a\0\0\0"s, ERROR_INVALID_DATA, L"old" },
        { REG_MULTI_SZ, "a\0\0\0\0\0"s, ERROR_INVALID_DATA, L"old" },
        { REG_SZ, "a\0b\0c\0d\0\0\0"s, ERROR_MORE_DATA, L"old" }, // one too long
    };
    // clang-format on
    CRegKey reg;
    ASSERT_EQ(reg.Open(HKEY_LOCAL_MACHINE, L"SOFTWARE\\KelvarinRegKeyTest", KEY_READ), ERROR_SUCCESS);
    for (const auto& rCase : aCases)
    {
        // A zero behind the text would be stored with it, uncounted.
        const std::string sStored = rCase.sBytes + "zzzz";
        key.Set(L"v", rCase.dwType, { reinterpret_cast<const BYTE*>(sStored.data()), rCase.sBytes.size() });
        std::wstring sText = L"old";
        EXPECT_EQ(reg.QueryStringValue(L"v", sText, 4), rCase.dwStatus);
        EXPECT_EQ(Utf8(sText), Utf8(rCase.pText));
    }

    DWORD dwValue = 9;
    key.Set(L"short", REG_DWORD, std::array<BYTE, 2>{ 1, 1 });
    EXPECT_EQ(reg.QueryDwordValue(L"short", dwValue), ERROR_INVALID_DATA);
    EXPECT_EQ(reg.QueryDwordValue(L"none", dwValue), ERROR_FILE_NOT_FOUND);
    EXPECT_EQ(dwValue, 9u);
}

} // namespace
