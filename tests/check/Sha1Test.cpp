#include <gtest/gtest.h>

#include <algorithm>

#include "check/Sha1.h"
#include "platform/Format.h"
#include "support/TestFolder.h"

namespace
{

// Of the bytes, many times.
std::string DigestOf(CSha1::Transform pTransform, const std::string& sBytes, int nTimes = 1)
{
    CSha1 sha(pTransform);
    for (int n = 0; n < nTimes; ++n)
        sha.Update({ reinterpret_cast<const BYTE*>(sBytes.data()), sBytes.size() });
    std::wstring sDigest;
    for (const BYTE nByte : sha.Final())
        sDigest += FormatText(L"%02x", nByte);
    return Utf8(sDigest);
}

// A wrong digest calls every healthy file damaged. Short texts and a million times "a" are the file checker's; these
// digests are those of sha1sum. A file above 512 MiB needs the second word of its length in bits.
TEST(Sha1, IsThatOfBothFormsAndOfLongFiles)
{
    const std::string sPiece((1 << 20) + 60, 'a'); // no whole number of blocks
    EXPECT_EQ(DigestOf(CSha1::PortableTransform, sPiece), "e319585300d609ab6a22d15553cb3331a129d71e");
    EXPECT_EQ(DigestOf(CSha1::BestTransform(), sPiece, 520), "66cd6f086a261bb74b7d48beb0c1e04103797165");
}

// Calls the function on a stack that lies so many bytes below what the compiler takes for granted.
[[gnu::naked]] void CallOnShiftedStack(void (*)(), unsigned)
{
    asm("push %ebp\n mov %esp, %ebp\n and $-16, %esp\n sub 12(%ebp), %esp\n call *8(%ebp)\n leave\n ret");
}

// Windows aligns a thread's stack to 4 bytes, Wine by chance to 16: the program would die at the first digest.
TEST(Sha1, RunsOnAnyStackThatThePlatformGives)
{
    static UINT32 s_aState[5];
    static constexpr BYTE Block[64] = { 1, 2, 3 };
    UINT32 aExpected[5]{};
    CSha1::PortableTransform(aExpected, Block, 1);
    for (unsigned nShift = 0; nShift < 16; nShift += 4)
    {
        std::ranges::fill(s_aState, 0u);
        CallOnShiftedStack([] { CSha1::BestTransform()(s_aState, Block, 1); }, nShift);
        EXPECT_TRUE(std::ranges::equal(s_aState, aExpected)) << nShift;
    }
}

} // namespace
