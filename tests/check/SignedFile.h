// A program file with an embedded signature by a self-signed certificate, made on the spot.
#pragma once

#include <string>

// The file's bytes: headers without a program, and the signature. Throws std::runtime_error when the platform's
// cryptography refuses.
std::string MakeSignedFile(const std::wstring& sSigner);
