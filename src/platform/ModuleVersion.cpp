#include "platform/ModuleVersion.h"

#include <array>

#include "platform/Format.h"
#include "platform/Text.h"

namespace
{

// 16-bit words at the given offsets, read without alignment.
template <std::size_t N>
std::optional<std::array<INT32, N>> ReadWords(std::span<const BYTE> Data, const std::array<std::size_t, N>& rOffsets,
                                              bool bBigEndian)
{
    std::array<INT32, N> aWords{};
    for (std::size_t n = 0; n < N; ++n)
    {
        if (rOffsets[n] + 2 > Data.size())
            return std::nullopt;
        const BYTE nFirst = Data[rOffsets[n]];
        const BYTE nSecond = Data[rOffsets[n] + 1];
        aWords[n] = static_cast<INT16>(bBigEndian ? nFirst << 8 | nSecond : nSecond << 8 | nFirst);
    }
    return aWords;
}

} // namespace

CModuleVersion::Kind CModuleVersion::KindOf(const std::wstring& sPath)
{
    if (EqualsNoCase(sPath, L"INIT.TVM"))
        return Kind::Init;
    if (EndsWithNoCase(sPath, L".TVM"))
        return Kind::Module;
    return EqualsNoCase(sPath, L"DEVICE.TVL") ? Kind::Device : Kind::None;
}

std::optional<std::wstring> CModuleVersion::Parse(Kind eKind, std::span<const BYTE> Data)
{
    if (eKind == Kind::Device)
    {
        const auto aWords = ReadWords<2>(Data, { 4, 2 }, true);
        return aWords ? std::optional(FormatText(L"version:%d, algorithm:%d", (*aWords)[0], (*aWords)[1]))
                      : std::nullopt;
    }
    if (eKind == Kind::None)
        return std::nullopt;
    // Two 32-bit numbers, the high word of each first; "INIT.TVM" has five bytes more before them.
    const std::size_t nStart = eKind == Kind::Init ? 7 : 2;
    const auto aWords = ReadWords<4>(Data, { nStart + 2, nStart, nStart + 6, nStart + 4 }, false);
    return aWords ? std::optional(FormatText(L"%d.%d.%d.%d", (*aWords)[0], (*aWords)[1], (*aWords)[2], (*aWords)[3]))
                  : std::nullopt;
}
