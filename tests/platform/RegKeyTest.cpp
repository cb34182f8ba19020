#include "platform/RegKey.h"

#include <gtest/gtest.h>

#include "platform/Format.h"
#include "support/FakeRoots.h"
#include "support/Golden.h"

namespace
{

// Registry data is whatever was written: reading behind an unterminated text would print foreign memory. A failure
// leaves the text or number of before.
TEST(RegKey, TrustsNoData)
{
    const CFakeRoots roots(L"platform/RegKey.reg");
    CRegKey reg;
    ASSERT_EQ(reg.Open(HKEY_LOCAL_MACHINE, L"key", KEY_READ), DWORD{ ERROR_SUCCESS });
    std::wstring sRead;
    for (const wchar_t* const pName : { L"text", L"text to expand", L"text and more", L"no bytes", L"unterminated",
                                        L"half a zero", L"number", L"short number", L"list", L"one too long", L"none" })
    {
        std::wstring sText = L"old";
        DWORD dwValue = 9;
        const DWORD dwText = reg.QueryStringValue(pName, sText, 4), dwNumber = reg.QueryDwordValue(pName, dwValue);
        sRead += FormatText(L"%s: %u \"%s\", %u %u\r\n", pName, dwText, sText, dwNumber, dwValue);
    }
    ExpectGolden(L"platform/RegKey.txt", Utf8(sRead), L"");
}

} // namespace
