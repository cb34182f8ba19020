// Base64 as the manifest's digests are written.
#pragma once

#include <span>
#include <string_view>

#include "platform/Win32.h"

// Decodes up to a zero byte. Characters outside the alphabet, the padding included, are skipped without a word; each
// group of up to four gives (number of characters * 6) / 8 bytes. Returns the number of bytes that the text holds:
// above Buffer's size nothing more is stored, but the counting goes on.
std::size_t Base64Decode(std::string_view sText, std::span<BYTE> Buffer);
