#include <gtest/gtest.h>

#include "check/Sha1.h"
#include "platform/Format.h"
#include "support/TestFolder.h"

namespace
{

// A wrong digest calls every healthy file damaged. Short texts and a million times "a" are the file checker's; these
// digests are those of sha1sum. A file above 512 MiB needs the second word of its length in bits.
TEST(Sha1, IsThatOfBothFormsAndOfLongFiles)
{
    const std::tuple<CSha1::Transform, int, const char*> aCases[] = {
        { CSha1::PortableTransform, 1, "e319585300d609ab6a22d15553cb3331a129d71e" },
        { CSha1::BestTransform(), 520, "66cd6f086a261bb74b7d48beb0c1e04103797165" },
    };
    const std::vector<BYTE> Piece((1 << 20) + 60, 'a'); // no whole number of blocks
    for (const auto& [pTransform, nTimes, pExpected] : aCases)
    {
        CSha1 sha(pTransform);
        for (int n = 0; n < nTimes; ++n)
            sha.Update(Piece);
        std::wstring sDigest;
        for (const BYTE nByte : sha.Final())
            sDigest += FormatText(L"%02x", nByte);
        EXPECT_EQ(Utf8(sDigest), pExpected);
    }
}

} // namespace
