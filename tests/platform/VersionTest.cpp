#include <gmock/gmock.h>

#include "platform/ModuleVersion.h"
#include "platform/Path.h"
#include "platform/VersionResource.h"
#include "support/TestFolder.h"

namespace
{

using Kind = CModuleVersion::Kind;

// The names and the byte offsets are the modules' own; a short file must not be read past its end.
TEST(ModuleVersion, ReadsSignedWordsOfEachKind)
{
    const struct
    {
        const wchar_t* pPath;
        Kind eKind;
    } aNames[] = {
        { L"init.Tvm", Kind::Init },     { L"C:\\x\\INIT.TVM", Kind::Module }, { L"C:\\x\\b.tvm", Kind::Module },
        { L"device.tvl", Kind::Device }, { L"x\\DEVICE.TVL", Kind::None },     { L"a.tvmx", Kind::None },
    };
    for (const auto& rName : aNames)
        EXPECT_EQ(CModuleVersion::KindOf(rName.pPath), rName.eKind) << Utf8(rName.pPath);

    const struct
    {
        Kind eKind;
        std::vector<BYTE> Bytes;
        const wchar_t* pText;
    } aFiles[] = {
        { Kind::Module, { 9, 9, 2, 0, 1, 0, 4, 1, 0xFF, 0xFF }, L"1.2.-1.260" },
        { Kind::Init, { 9, 9, 9, 9, 9, 9, 9, 2, 0, 1, 0, 0, 0x80, 3, 0 }, L"1.2.3.-32768" },
        { Kind::Device, { 9, 9, 1, 2, 0x80, 1 }, L"version:-32767, algorithm:258" },
    };
    for (const auto& rFile : aFiles)
    {
        EXPECT_EQ(CModuleVersion::Parse(rFile.eKind, rFile.Bytes), rFile.pText);
        for (std::size_t n = 0; n < rFile.Bytes.size(); ++n)
            EXPECT_EQ(CModuleVersion::Parse(rFile.eKind, std::span(rFile.Bytes).first(n)), std::nullopt) << n;
    }
}

// A damaged file on the customer's disk must not end the run, and must not look like one with a version.
TEST(VersionResource, IsReadFromAnyFile)
{
    CVersionResource version;
    ASSERT_EQ(version.Load(ModulePath()), ERROR_SUCCESS);
    EXPECT_EQ(version.FileVersionText(), L"1.0.0.0");

    const CTestFolder folder;
    EXPECT_NE(version.Load(folder.Write(L"plain.txt", "no module")), ERROR_SUCCESS);
    EXPECT_EQ(version.FileVersionText(), L"");
    EXPECT_EQ(version.Load(folder / L"missing"), ERROR_FILE_NOT_FOUND);

    const std::string sDll = ReadBytes(L"C:\\windows\\system32\\version.dll");
    for (std::size_t n = 0; n < 16; ++n)
    {
        const DWORD dwStatus = version.Load(folder.Write(L"cut.dll", sDll.substr(0, sDll.size() * n / 16)));
        EXPECT_TRUE(dwStatus != ERROR_SUCCESS || version.Size() != 0) << n;
        EXPECT_TRUE(n > 0 || dwStatus != ERROR_SUCCESS);
        EXPECT_THAT(version.FileVersionText(), testing::SizeIs(testing::Le(32u)));
    }
}

} // namespace
