// What the trace file and the error log have in common: opening with a way round a locked name, and writing.
#pragma once

#include <string>

#include "log/LogInterfaces.h"
#include "platform/Handle.h"

namespace opLogSys
{

// Opens or creates rsPath for appending. When the file exists but cannot be opened, the names "name(00).ext" to
// "name(99).ext" are tried; the first that opens becomes rsPath. A new UTF-8 file gets its byte order mark. No valid
// handle when nothing opens.
CFileHandle OpenLogFile(std::wstring& rsPath, DWORD dwAccess, SECURITY_ATTRIBUTES* pSecurity, Encoding eEncoding);

// Writes at most 2,047 bytes of the converted text, whole characters.
void WriteLogText(HANDLE hFile, const wchar_t* pText, Encoding eEncoding);
void WriteByteOrderMark(HANDLE hFile);

} // namespace opLogSys
