// Versions of files.
#include "collect/CollectorUtil.h"

#include <gmock/gmock.h>

#include "collect/CollectorUtilFakes.h"
#include "support/LogWatch.h"
#include "support/TestFolder.h"

using ::testing::ElementsAre;
using ::testing::IsEmpty;
using ::testing::Pair;
using ::testing::StartsWith;

namespace
{

// A wrong translation shows another language's texts; a file without a resource must stay without a record.
TEST(CollectorUtilVersion, ReadsTheFirstTranslation)
{
    CFakeVersions versions;
    const CTranslationStrings first{ 0x0411, { { L"FileVersion", L"1, 2, 3, 4" }, { L"OriginalFilename", L"a \"b\"" }, { L"Other", L"x" } } };
    versions.Files[L"all.dll"] = VersionBlock(1, 2, { first, { 0x0409, { { L"FileVersion", L"9" }, { L"Comments", L"second" } } } });
    versions.Files[L"second.dll"] = VersionBlock(1, 2, { { 0x0411, { { L"CompanyName", L"c" } } }, { 0x0409, { { L"FileVersion", L"9" } } } });
    versions.Files[L"bare.dll"] = VersionBlock(0xFFFF8000, 0xFFFFFFFF);

    std::wstring sVersion = L"old";
    CCollectorUtil::Properties properties{ { 2, L"old" } };
    {
        const CLogWatch watch;
        EXPECT_EQ(CCollectorUtil::GetFileVersion(L"C:\\none.dll", sVersion), S_OK);
        EXPECT_EQ(CCollectorUtil::GetFileProperty(L"C:\\none.dll", properties), S_OK);
        EXPECT_THAT(watch.Records(), IsEmpty());
    }
    EXPECT_EQ(sVersion, L"");
    EXPECT_THAT(properties, ElementsAre(Pair(2, L"old"))) << "untouched";

    EXPECT_EQ(CCollectorUtil::GetFileVersion(L"C:\\x\\all.dll", sVersion), S_OK);
    EXPECT_EQ(sVersion, L"1.2.3.4");
    EXPECT_EQ(CCollectorUtil::GetFileProperty(L"C:\\x\\all.dll", properties), S_OK);
    EXPECT_THAT(properties, ElementsAre(Pair(0, L"1, 2, 3, 4"), Pair(11, L"a \"b\"")));

    const CLogWatch watch;
    EXPECT_EQ(CCollectorUtil::GetFileVersion(L"C:\\second.dll", sVersion), E_FAIL);
    EXPECT_EQ(sVersion, L"");
    EXPECT_EQ(CCollectorUtil::GetFileProperty(L"C:\\second.dll", properties), S_OK);
    EXPECT_THAT(properties, ElementsAre(Pair(5, L"c")));
    EXPECT_EQ(CCollectorUtil::GetFileVersion(L"C:\\bare.dll", sVersion), E_FAIL);
    EXPECT_EQ(CCollectorUtil::GetFileProperty(L"C:\\bare.dll", properties), E_FAIL);
    const auto Records = watch.Records();
    ASSERT_EQ(Records.size(), 3u);
    EXPECT_THAT(Records[0], StartsWith("[CCollectorUtil::GetFileVersion] ::VerQueryValue( \"C:\\second.dll\", FileVersion ) failed. [0x8"));
    EXPECT_THAT(Records[1], StartsWith("[CCollectorUtil::GetFileVersion] ::VerQueryValue( \"C:\\bare.dll\", Translation ) failed. [0x8"));
    EXPECT_THAT(Records[2], StartsWith("[CCollectorUtil::GetFileProperty] ::VerQueryValue( \"C:\\bare.dll\", Translation ) failed. [0x8"));

    CFileVersion version;
    EXPECT_EQ(CCollectorUtil::GetFileVersion(L"C:\\bare.dll", version), S_OK);
    EXPECT_EQ(version, (CFileVersion{ 0xFFFFFFFF, 0xFFFF8000 }));
    EXPECT_EQ(CCollectorUtil::GetFileVersion(L"C:\\none.dll", version), static_cast<HRESULT>(0x80070715));
    versions.bReadFails = true;
    EXPECT_EQ(CCollectorUtil::GetFileVersion(L"C:\\bare.dll", version), static_cast<HRESULT>(0x80070715));
}

// A module's version stands in its bytes; by a full path a device file has none, and a name's case does not count.
TEST(CollectorUtilVersion, ReadsModuleHeaders)
{
    const CTestFolder folder;
    const struct
    {
        const wchar_t* pName;
        std::size_t nBytes;
        HRESULT hr;
        const wchar_t* pVersion;
    } aCases[] = {
        { L"x.tvm", 16, S_OK, L"1.2.3.4" }, { L"INIT.TVM", 16, S_OK, L"1.2.3.4" }, { L"DEVICE.TVL", 16, E_FAIL, L"" },
        { L"x.dll", 16, E_FAIL, L"" },      { L"short.TVM", 9, E_FAIL, L"" },      { L"empty.TVM", 0, E_UNEXPECTED, L"" },
    };
    for (const auto& rCase : aCases)
    {
        const std::wstring sPath = folder.Write(rCase.pName, { "\x01\x02\x02\x00\x01\x00\x04\x00\x03\x00\x05\x00\xFF\xFF\x06\x00", rCase.nBytes });
        std::wstring sVersion = L"old";
        EXPECT_EQ(CCollectorUtil::GetTvmFileVersion(sPath, sVersion), rCase.hr) << Utf8(sPath);
        EXPECT_EQ(Utf8(sVersion), Utf8(rCase.pVersion)) << Utf8(sPath);
    }
    EXPECT_TRUE(CCollectorUtil::IsModuleFile(L"a.tVm") && CCollectorUtil::IsModuleFile(L"device.TVL"));
    EXPECT_FALSE(CCollectorUtil::IsModuleFile(L"xDEVICE.TVL") || CCollectorUtil::IsModuleFile(L"a.tvmx"));
}

} // namespace
