#include <gmock/gmock.h>

#include <random>
#include <string>

#include "check/Base64.h"
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
        EXPECT_EQ(DigestOf(pTransform, "abcdbcdecdefdefgefghfghighijhijkijkljklmklmnlmnomnopnopq"), "84983e441c3bd26ebaae4aa1f95129e5e54670f1");
        EXPECT_EQ(DigestOf(pTransform, std::string(1'000'000, 'a')), "34aa973cd4c4daa4f61eeb2bdbad27316534016f");
    }
}

// Each length around the ends of blocks, each way of cutting it, and both forms must come to one digest.
TEST(Sha1, DoesNotDependOnTheFormOrThePieces)
{
    std::mt19937 random(20140309);
    for (std::size_t nLength = 0; nLength < 3000; nLength += nLength < 260 ? 1 : 97)
    {
        std::string sText(nLength, '\0');
        for (char& c : sText)
            c = static_cast<char>(random());
        const std::string sExpected = DigestOf(CSha1::PortableTransform, sText);
        for (const CSha1::Transform pTransform : Transforms())
        {
            CSha1 sha(pTransform);
            for (std::span<const BYTE> Left = BytesOf(sText); !Left.empty();)
            {
                const std::size_t nPiece = std::min<std::size_t>(random() % 150, Left.size());
                sha.Update(Left.first(nPiece));
                Left = Left.subspan(nPiece);
            }
            ASSERT_EQ(Hex(sha.Final()), sExpected) << nLength << " bytes";
        }
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

// Digests in manifests are wrapped, padded or not; more than the buffer holds must be counted and not stored.
TEST(Base64, DecodesWhatManifestsHold)
{
    const struct
    {
        std::string_view sText;
        std::size_t nBytes;
        const char* pStored; // hexadecimal, of a buffer of four
    } aCases[] = {
        { "", 0, "eeeeeeee" },
        { "TWFu", 3, "4d616eee" },
        { "TWE=", 2, "4d61eeee" },
        { "TQ==", 1, "4deeeeee" },
        { "TQ", 1, "4deeeeee" },
        { "T", 0, "eeeeeeee" },
        { " T W\r\nF-u\t=", 3, "4d616eee" },
        { "TQ==TWFu", 4, "4d04d616" }, // the padding separates nothing
        { "++//", 3, "fbefffee" },
        { "TWFuTWFu", 6, "4d616e4d" },
        { { "TWFu\0TWFu", 9 }, 3, "4d616eee" },
        { "\xC3\xA4TWFu\xFF", 3, "4d616eee" },
    };
    for (const auto& rCase : aCases)
    {
        BYTE aBuffer[5];
        std::fill(std::begin(aBuffer), std::end(aBuffer), BYTE{ 0xEE });
        EXPECT_EQ(Base64Decode(rCase.sText, { aBuffer, 4 }), rCase.nBytes) << rCase.sText;
        EXPECT_EQ(Hex({ aBuffer, 4 }), rCase.pStored) << rCase.sText;
        EXPECT_EQ(aBuffer[4], 0xEE) << rCase.sText;
    }
}

} // namespace
