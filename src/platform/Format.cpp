#include "platform/Format.h"

#include <cstdio>
#include <vector>

int FormatTo(std::span<wchar_t> Buffer, const wchar_t* pFormat, std::va_list args)
{
    if (pFormat == nullptr)
    {
        Buffer[0] = L'\0';
        return -1;
    }
    // The secure form of the platform's runtime: there %s is wide, and a text that does not fit gives -1.
    return ::_vsnwprintf_s(Buffer.data(), Buffer.size(), _TRUNCATE, pFormat, args);
}

int FormatToBuffer(std::span<wchar_t> Buffer, const wchar_t* pFormat, ...)
{
    std::va_list args;
    va_start(args, pFormat);
    const int nLength = FormatTo(Buffer, pFormat, args);
    va_end(args);
    return nLength;
}

std::wstring FormatToString(const wchar_t* pFormat, ...)
{
    wchar_t aShort[512];
    std::va_list args;
    va_start(args, pFormat);
    const int nLength = FormatTo(aShort, pFormat, args);
    va_end(args);
    if (nLength >= 0)
        return { aShort, static_cast<std::size_t>(nLength) };

    std::vector<wchar_t> Long(32768);
    va_start(args, pFormat);
    FormatTo(Long, pFormat, args);
    va_end(args);
    return Long.data();
}
