// How a collector goes on after a step that failed, and how it fails by the platform's error numbers.
#pragma once

#include "log/FunctionLog.h"
#include "platform/HResult.h"

// A failure of one step of many: a record whose last conversion is the code, and the next step follows.
template <typename... Args>
void Tolerate(const CFunctionLog& log, HRESULT hr, CFormat<Args..., HRESULT> format, const Args&... args)
{
    if (FAILED(hr))
        log.Warning<Args..., HRESULT>(format, args..., hr);
}

// Throws a platform error with a record whose last conversion is its number. An "error" of 0 fails as well.
template <typename... Args>
[[noreturn]] void ThrowWin32(const CFunctionLog& log, DWORD dwError, CFormat<Args..., DWORD> format,
                             const Args&... args)
{
    log.Throw<Args..., DWORD>(HResultFromWin32(dwError), format, args..., dwError);
}
