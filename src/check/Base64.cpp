#include "check/Base64.h"

namespace
{

int SextetOf(char c)
{
    if (c >= 'A' && c <= 'Z')
        return c - 'A';
    if (c >= 'a' && c <= 'z')
        return c - 'a' + 26;
    if (c >= '0' && c <= '9')
        return c - '0' + 52;
    return c == '+' ? 62 : c == '/' ? 63 : -1;
}

} // namespace

std::size_t Base64Decode(std::string_view sText, std::span<BYTE> Buffer)
{
    std::size_t nBytes = 0;
    UINT32 nBits = 0;
    unsigned nCollected = 0; // bits
    for (const char c : sText.substr(0, sText.find('\0')))
    {
        const int nSextet = SextetOf(c);
        if (nSextet < 0)
            continue;
        nBits = (nBits << 6) | static_cast<UINT32>(nSextet);
        nCollected += 6;
        if (nCollected < 8)
            continue;
        nCollected -= 8;
        if (nBytes < Buffer.size())
            Buffer[nBytes] = static_cast<BYTE>(nBits >> nCollected);
        ++nBytes;
    }
    return nBytes;
}
