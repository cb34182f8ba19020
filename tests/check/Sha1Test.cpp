#include <gtest/gtest.h>

#include <string>

#include "check/Sha1.h"

namespace
{

std::string Hex(std::span<const BYTE> Bytes)
{
    std::string sText;
    for (const BYTE nByte : Bytes)
        for (const int nShift : { 4, 0 })
            sText += "0123456789abcdef"[(nByte >> nShift) & 15];
    return sText;
}

std::span<const BYTE> BytesOf(const std::string& sText)
{
    return { reinterpret_cast<const BYTE*>(sText.data()), sText.size() };
}

std::string DigestOf(CSha1::Transform pTransform, const std::string& sText)
{
    CSha1 sha(pTransform);
    sha.Update(BytesOf(sText));
    return Hex(sha.Final());
}

std::vector<CSha1::Transform> Transforms()
{
    if (CSha1::HasHardware())
        return { CSha1::PortableTransform, CSha1::HardwareTransform };
    return { CSha1::PortableTransform };
}

// A wrong digest calls every healthy file damaged. The vectors are those that were published with the algorithm.
TEST(Sha1, GivesThePublishedDigests)
{
    for (const CSha1::Transform pTransform : Transforms())
    {
        EXPECT_EQ(DigestOf(pTransform, ""), "da39a3ee5e6b4b0d3255bfef95601890afd80709");
        EXPECT_EQ(DigestOf(pTransform, "abc"), "a9993e364706816aba3e25717850c26c9cd0d89d");
        EXPECT_EQ(DigestOf(pTransform, "abcdbcdecdefdefgefghfghighijhijkijkljklmklmnlmnomnopnopq"),
                  "84983e441c3bd26ebaae4aa1f95129e5e54670f1");
        EXPECT_EQ(DigestOf(pTransform, std::string(1'000'000, 'a')), "34aa973cd4c4daa4f61eeb2bdbad27316534016f");
    }
}

// Above 512 MiB the length in bits needs its second word. The digest is that of sha1sum.
TEST(Sha1, CountsMoreThanTwoToThe32Bits)
{
    const std::vector<BYTE> Zeros(1 << 20);
    CSha1 sha;
    for (int n = 0; n < 520; ++n)
        sha.Update(Zeros);
    EXPECT_EQ(Hex(sha.Final()), "ea5bbe584d9b601d7eb09496d075a39b155f6001");
}

} // namespace
