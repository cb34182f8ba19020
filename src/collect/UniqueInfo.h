// The hardware identity file: what tells this machine from others, and nothing about who uses it. One "name=value" a
// line, UTF-8; a source that does not answer has no line.
#pragma once

#include <string>

// Writes the file, in a folder that is made where it is missing. Gives an empty text, or what went wrong with the file.
[[nodiscard]] std::wstring collectUniqueInfo(const std::wstring& sPath);
