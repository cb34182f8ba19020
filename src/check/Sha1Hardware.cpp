// SHA-1 on the processor's own instructions. In a file of its own: nothing here may run on a processor without them.
#include <immintrin.h>

#include "check/Sha1.h"

namespace
{

#define SHA_TARGET [[gnu::target("sha,sse4.1,ssse3")]]

// Four steps; Function is the round function of 20 steps each, 0 to 3.
template <int Function>
SHA_TARGET inline void FourSteps(__m128i& rABCD, __m128i& rE, __m128i& rNextE, __m128i Words)
{
    rE = _mm_sha1nexte_epu32(rE, Words);
    rNextE = rABCD;
    rABCD = _mm_sha1rnds4_epu32(rABCD, rE, Function);
}

// The schedule's next four words from the last sixteen, w0 the oldest.
SHA_TARGET inline __m128i NextWords(__m128i w0, __m128i w1, __m128i w2, __m128i w3)
{
    return _mm_sha1msg2_epu32(_mm_xor_si128(_mm_sha1msg1_epu32(w0, w1), w2), w3);
}

// 16 steps on four vectors of words, which then hold the next sixteen words. Group counts them in fours from 4 on.
template <int Group>
SHA_TARGET inline void SixteenSteps(__m128i& rABCD, __m128i& rE0, __m128i& rE1, __m128i (&w)[4])
{
    w[0] = NextWords(w[0], w[1], w[2], w[3]);
    FourSteps<(Group + 0) / 5>(rABCD, rE0, rE1, w[0]);
    w[1] = NextWords(w[1], w[2], w[3], w[0]);
    FourSteps<(Group + 1) / 5>(rABCD, rE1, rE0, w[1]);
    w[2] = NextWords(w[2], w[3], w[0], w[1]);
    FourSteps<(Group + 2) / 5>(rABCD, rE0, rE1, w[2]);
    w[3] = NextWords(w[3], w[0], w[1], w[2]);
    FourSteps<(Group + 3) / 5>(rABCD, rE1, rE0, w[3]);
}

} // namespace

// The platform aligns a thread's stack to 4 bytes; vectors that are spilled to it want 16.
SHA_TARGET [[gnu::force_align_arg_pointer]] void CSha1::HardwareTransform(UINT32* pState, const BYTE* pBlocks,
                                                                          std::size_t nBlocks)
{
    const __m128i Swap = _mm_set_epi64x(0x0001020304050607, 0x08090A0B0C0D0E0F);
    __m128i ABCD = _mm_shuffle_epi32(_mm_loadu_si128(reinterpret_cast<const __m128i*>(pState)), 0x1B);
    __m128i E0 = _mm_set_epi32(static_cast<int>(pState[4]), 0, 0, 0);
    for (; nBlocks > 0; --nBlocks, pBlocks += BlockSize)
    {
        const __m128i SavedABCD = ABCD;
        const __m128i SavedE = E0;
        __m128i w[4];
        for (int n = 0; n < 4; ++n)
            w[n] = _mm_shuffle_epi8(_mm_loadu_si128(reinterpret_cast<const __m128i*>(pBlocks) + n), Swap);

        // The first four steps add the words to E instead of rotating it in.
        E0 = _mm_add_epi32(E0, w[0]);
        __m128i E1 = ABCD;
        ABCD = _mm_sha1rnds4_epu32(ABCD, E0, 0);
        FourSteps<0>(ABCD, E1, E0, w[1]);
        FourSteps<0>(ABCD, E0, E1, w[2]);
        FourSteps<0>(ABCD, E1, E0, w[3]);
        SixteenSteps<4>(ABCD, E0, E1, w);
        SixteenSteps<8>(ABCD, E0, E1, w);
        SixteenSteps<12>(ABCD, E0, E1, w);
        SixteenSteps<16>(ABCD, E0, E1, w);

        E0 = _mm_sha1nexte_epu32(E0, SavedE);
        ABCD = _mm_add_epi32(ABCD, SavedABCD);
    }
    _mm_storeu_si128(reinterpret_cast<__m128i*>(pState), _mm_shuffle_epi32(ABCD, 0x1B));
    pState[4] = static_cast<UINT32>(_mm_extract_epi32(E0, 3));
}
