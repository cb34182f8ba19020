#include <gmock/gmock.h>

#include "platform/ModuleVersion.h"
#include "platform/VersionResource.h"
#include "support/TestFolder.h"

namespace
{

// The byte offsets are the modules' own; a short file must not be read past its end. (Which name has which kind, the
// test of the file checker tells.)
TEST(ModuleVersion, ReadsSignedWordsOfEachKind)
{
    using Kind = CModuleVersion::Kind;
    const std::tuple<Kind, std::vector<BYTE>, const wchar_t*> aFiles[] = {
        { Kind::Module, { 9, 9, 2, 0, 1, 0, 4, 1, 0xFF, 0xFF }, L"1.2.-1.260" },
        { Kind::Init, { 9, 9, 9, 9, 9, 9, 9, 2, 0, 1, 0, 0, 0x80, 3, 0 }, L"1.2.3.-32768" },
        { Kind::Device, { 9, 9, 1, 2, 0x80, 1 }, L"version:-32767, algorithm:258" },
    };
    for (const auto& [eKind, Bytes, pText] : aFiles)
    {
        EXPECT_EQ(CModuleVersion::Parse(eKind, Bytes), pText);
        for (std::size_t n = 0; n < Bytes.size(); ++n)
            EXPECT_EQ(CModuleVersion::Parse(eKind, std::span(Bytes).first(n)), std::nullopt) << n;
    }
}

// A damaged file on the customer's disk must not end the run, and must not look like one with a version.
TEST(VersionResource, IsReadFromAnyFile)
{
    const CTestFolder folder;
    CVersionResource version;
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
