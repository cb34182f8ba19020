#include <gtest/gtest.h>

#include "check/Sha1.h"
#include "platform/Format.h"
#include "support/TestFolder.h"

namespace
{

// Of the text, many times.
std::string DigestOf(CSha1::Transform pTransform, const std::string& sText, int nTimes = 1)
{
    CSha1 sha(pTransform);
    for (int n = 0; n < nTimes; ++n)
        sha.Update({ reinterpret_cast<const BYTE*>(sText.data()), sText.size() });
    std::wstring sDigest;
    for (const BYTE nByte : sha.Final())
        sDigest += FormatText(L"%02x", nByte);
    return Utf8(sDigest);
}

// Calls the function on a stack that lies so many bytes below what the compiler takes for granted.
[[gnu::naked]] void CallOnShiftedStack(void (*)(), unsigned)
{
    asm("push %ebp\n mov %esp, %ebp\n and $-16, %esp\n sub 12(%ebp), %esp\n call *8(%ebp)\n leave\n ret");
}

// A wrong digest calls every healthy file damaged. The vectors are those that were published with the algorithm.
TEST(Sha1, GivesThePublishedDigests)
{
    for (const CSha1::Transform pTransform : { CSha1::PortableTransform, CSha1::BestTransform() })
    {
        EXPECT_EQ(DigestOf(pTransform, ""), "da39a3ee5e6b4b0d3255bfef95601890afd80709");
        EXPECT_EQ(DigestOf(pTransform, "abc"), "a9993e364706816aba3e25717850c26c9cd0d89d");
        EXPECT_EQ(DigestOf(pTransform, "abcdbcdecdefdefgefghfghighijhijkijkljklmklmnlmnomnopnopq"),
                  "84983e441c3bd26ebaae4aa1f95129e5e54670f1");
        EXPECT_EQ(DigestOf(pTransform, std::string(1000, 'a'), 1000), "34aa973cd4c4daa4f61eeb2bdbad27316534016f");
    }
    // Above 512 MiB the length in bits needs its second word. The digest is that of sha1sum.
    EXPECT_EQ(DigestOf(CSha1::BestTransform(), std::string(1 << 20, '\0'), 520),
              "ea5bbe584d9b601d7eb09496d075a39b155f6001");
}

// Windows aligns a thread's stack to 4 bytes, Wine by chance to 16: the program would die at the first digest.
TEST(Sha1, RunsOnAnyStackThatThePlatformGives)
{
    static std::string s_sDigest;
    for (unsigned nShift = 0; nShift < 16; nShift += 4)
    {
        CallOnShiftedStack([] { s_sDigest = DigestOf(CSha1::BestTransform(), "abc"); }, nShift);
        EXPECT_EQ(s_sDigest, "a9993e364706816aba3e25717850c26c9cd0d89d");
    }
}

} // namespace
