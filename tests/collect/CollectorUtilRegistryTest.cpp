// The values of a registry key as text.
#include "collect/CollectorUtil.h"

#include <gmock/gmock.h>

#include "log/ResultLog.h"
#include "support/LogWatch.h"
#include "support/ScratchKey.h"
#include "support/TestFolder.h"

using ::testing::ElementsAre;

namespace
{

// The forms of the data are what the product's support reads; damaged data must neither crash nor end the list.
TEST(CollectorUtilRegistry, PrintsEachTypeInItsForm)
{
    const CScratchKey key(L"kelvarin-dump");
    const BYTE aUnterminated[] = { 'a', 0, 'b', 0, 'c' };
    const BYTE aNumber[] = { 0x0A, 0xFF };
    std::vector<BYTE> Big(1 << 20, 0x5A);
    key.SetText(nullptr, L"the default");
    key.SetText(L"text \"quoted\" %s", L"a \"b\" %d");
    key.SetText(L"empty", L"");
    key.Set(L"none at all", REG_SZ, {});
    key.Set(L"unterminated", REG_SZ, aUnterminated);
    key.Set(L"binary", REG_BINARY, aNumber);
    key.Set(L"no bytes", REG_BINARY, {});
    key.Set(L"1 MiB", REG_BINARY, Big); // longer than a line can be: its line is lost
    key.SetDword(L"number", 0xBEEF);
    key.Set(L"short number", REG_DWORD, aNumber);
    key.SetText(L"list", L"a\0b\0", REG_MULTI_SZ);
    key.SetText(L"expanded", L"%PATH%", REG_EXPAND_SZ);
    key.Set(L"quad", REG_QWORD, std::vector<BYTE>(8));
    key.SetText(std::wstring(259, L'z').c_str(), L"the longest");
    key.SetText(std::wstring(260, L'z').c_str(), L"too long, ends the list");
    key.SetText(std::wstring(261, L'z').c_str(), L"behind it");

    const CLogWatch watch;
    const CTestFolder folder;
    CResultLog report;
    EXPECT_EQ(report.Open(folder / L"r.txt", false), S_OK);
    EXPECT_EQ(CCollectorUtil::OutputRegSubKeyData(key.Get(), report), S_OK);
    report.Close();
    const std::string sText = ReadBytes(folder / L"r.txt");
    std::vector<std::string> Lines;
    for (std::size_t n = 0, nEnd; (nEnd = sText.find("\r\n", n)) != sText.npos; n = nEnd + 2)
        Lines.push_back(sText.substr(n, nEnd - n));
    // The order is the platform's.
    EXPECT_THAT(Lines,
                ::testing::UnorderedElementsAre(
                    R"(    ""="the default")", R"(    "text "quoted" %s"="a "b" %d")", R"(    "empty"="")",
                    R"(    "none at all"="")", R"(    "unterminated"="ab")", R"(    "binary"=hex:0a,ff)",
                    R"(    "no bytes"=hex:)", R"(    "number"=dword:0000BEEF)", R"(    "short number"=dword:0000FF0A)",
                    R"(    "list"=)", "    \"" + std::string(259, 'z') + "\"=\"the longest\""));
    EXPECT_THAT(watch.Records(), ElementsAre("[CResultLog::WriteLine] ::_vsntprintf_s() failed. [-1]"));
}

} // namespace
