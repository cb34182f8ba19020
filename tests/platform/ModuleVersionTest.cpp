#include <gtest/gtest.h>

#include "platform/ModuleVersion.h"

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

} // namespace
