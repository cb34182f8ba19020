// SHA-1 (FIPS 180).
#pragma once

#include <array>
#include <span>

#include "platform/Win32.h"

class CSha1
{
public:
    using Digest = std::array<BYTE, 20>;
    // Takes nBlocks blocks of 64 bytes into the five chain words.
    using Transform = void (*)(UINT32* pState, const BYTE* pBlocks, std::size_t nBlocks);

    // The form that the processor runs best.
    CSha1() : CSha1(BestTransform()) {}
    explicit CSha1(Transform pTransform) : m_pTransform(pTransform) {}

    void Update(std::span<const BYTE> Data);
    // The object is used up afterwards.
    Digest Final();

    static Transform BestTransform();
    // Whether the processor has the instructions that HardwareTransform uses.
    static bool HasHardware();
    static void PortableTransform(UINT32* pState, const BYTE* pBlocks, std::size_t nBlocks);
    static void HardwareTransform(UINT32* pState, const BYTE* pBlocks, std::size_t nBlocks);

private:
    static constexpr std::size_t BlockSize = 64;

    Transform m_pTransform;
    std::array<UINT32, 5> m_aState{ 0x67452301, 0xEFCDAB89, 0x98BADCFE, 0x10325476, 0xC3D2E1F0 };
    UINT64 m_ullBytes = 0;
    std::array<BYTE, BlockSize> m_aBlock;
};
