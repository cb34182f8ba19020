#include "check/Sha1.h"

#include <cpuid.h>

#include <algorithm>
#include <bit>
#include <cstring>
#include <utility>

namespace
{

UINT32 LoadBigEndian(const BYTE* pBytes)
{
    UINT32 nValue;
    std::memcpy(&nValue, pBytes, sizeof nValue);
    return __builtin_bswap32(nValue);
}

void StoreBigEndian(BYTE* pBytes, UINT32 nValue)
{
    nValue = __builtin_bswap32(nValue);
    std::memcpy(pBytes, &nValue, sizeof nValue);
}

constexpr UINT32 Constants[] = { 0x5A827999, 0x6ED9EBA1, 0x8F1BBCDC, 0xCA62C1D6 };

// One of the 80 steps. The five words change their roles from step to step, so that none is moved.
template <int Step>
[[gnu::always_inline]] inline void DoStep(UINT32 (&s)[5], UINT32 (&w)[16])
{
    UINT32& a = s[(80 - Step) % 5];
    UINT32& b = s[(81 - Step) % 5];
    UINT32& c = s[(82 - Step) % 5];
    UINT32& d = s[(83 - Step) % 5];
    UINT32& e = s[(84 - Step) % 5];
    if constexpr (Step >= 16)
        w[Step % 16] = std::rotl(w[(Step + 13) % 16] ^ w[(Step + 8) % 16] ^ w[(Step + 2) % 16] ^ w[Step % 16], 1);
    UINT32 f;
    if constexpr (Step < 20)
        f = d ^ (b & (c ^ d));
    else if constexpr (Step >= 40 && Step < 60)
        f = (b & c) | (d & (b | c));
    else
        f = b ^ c ^ d;
    e += std::rotl(a, 5) + f + Constants[Step / 20] + w[Step % 16];
    b = std::rotl(b, 30);
}

template <int... Steps>
[[gnu::always_inline]] inline void DoSteps(UINT32 (&s)[5], UINT32 (&w)[16], std::integer_sequence<int, Steps...>)
{
    (DoStep<Steps>(s, w), ...);
}

} // namespace

void CSha1::PortableTransform(UINT32* pState, const BYTE* pBlocks, std::size_t nBlocks)
{
    for (; nBlocks > 0; --nBlocks, pBlocks += BlockSize)
    {
        UINT32 s[5];
        UINT32 w[16];
        std::copy_n(pState, 5, s);
        for (std::size_t n = 0; n < 16; ++n)
            w[n] = LoadBigEndian(pBlocks + 4 * n);
        DoSteps(s, w, std::make_integer_sequence<int, 80>());
        for (std::size_t n = 0; n < 5; ++n)
            pState[n] += s[n];
    }
}

bool CSha1::HasHardware()
{
    unsigned a = 0, b = 0, c = 0, d = 0;
    if (__get_cpuid(1, &a, &b, &c, &d) == 0 || (c & bit_SSE4_1) == 0 || (c & bit_SSSE3) == 0)
        return false;
    return __get_cpuid_count(7, 0, &a, &b, &c, &d) != 0 && (b & bit_SHA) != 0;
}

CSha1::Transform CSha1::BestTransform()
{
    static const Transform s_pBest = HasHardware() ? HardwareTransform : PortableTransform;
    return s_pBest;
}

void CSha1::Update(std::span<const BYTE> Data)
{
    const auto nHeld = static_cast<std::size_t>(m_ullBytes % BlockSize);
    m_ullBytes += Data.size();
    if (nHeld != 0)
    {
        const std::size_t nTaken = std::min(BlockSize - nHeld, Data.size());
        std::copy_n(Data.data(), nTaken, m_aBlock.data() + nHeld);
        Data = Data.subspan(nTaken);
        if (nHeld + nTaken < BlockSize)
            return;
        m_pTransform(m_aState.data(), m_aBlock.data(), 1);
    }
    const std::size_t nBlocks = Data.size() / BlockSize;
    m_pTransform(m_aState.data(), Data.data(), nBlocks);
    Data = Data.subspan(nBlocks * BlockSize);
    std::ranges::copy(Data, m_aBlock.begin());
}

CSha1::Digest CSha1::Final()
{
    const UINT64 ullBits = m_ullBytes * 8;
    // A one bit, then zeros up to the last eight bytes of a block, which hold the length in bits.
    BYTE aPadding[BlockSize + 8] = { 0x80 };
    const auto nHeld = static_cast<std::size_t>(m_ullBytes % BlockSize);
    const std::size_t nPadding = (nHeld < 56 ? 56 : 120) - nHeld;
    StoreBigEndian(aPadding + nPadding, static_cast<UINT32>(ullBits >> 32));
    StoreBigEndian(aPadding + nPadding + 4, static_cast<UINT32>(ullBits));
    Update({ aPadding, nPadding + 8 });

    Digest digest;
    for (std::size_t n = 0; n < m_aState.size(); ++n)
        StoreBigEndian(digest.data() + 4 * n, m_aState[n]);
    return digest;
}
