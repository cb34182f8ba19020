// Result codes: how the platform's error numbers become the HRESULTs that the program returns and throws.
#pragma once

#include "platform/Win32.h"

// A Win32 error e > 0 becomes 0x8007xxxx. A value that would not be negative then (0: "no error", though the call
// failed) becomes hrOtherwise.
[[nodiscard]] constexpr HRESULT HResultFromWin32(DWORD dwError, HRESULT hrOtherwise = E_UNEXPECTED)
{
    const auto nError = static_cast<HRESULT>(dwError);
    const HRESULT hr = nError > 0 ? static_cast<HRESULT>((dwError & 0xFFFFu) | 0x80070000u) : nError;
    return FAILED(hr) ? hr : hrOtherwise;
}

// The result of a call that answers its status, such as those of the registry.
[[nodiscard]] constexpr HRESULT ResultOf(DWORD dwStatus)
{
    return dwStatus == ERROR_SUCCESS ? S_OK : HResultFromWin32(dwStatus);
}

// The status of a call that answers TRUE, or FALSE and a last error; to be asked at once.
[[nodiscard]] inline DWORD StatusOf(BOOL bSucceeded)
{
    if (bSucceeded)
        return ERROR_SUCCESS;
    const DWORD dwError = ::GetLastError();
    return dwError != ERROR_SUCCESS ? dwError : ERROR_GEN_FAILURE;
}

// The calling thread's last error as a result code. Read it at once after the call that failed.
[[nodiscard]] inline HRESULT LastErrorResult(HRESULT hrOtherwise = E_UNEXPECTED)
{
    return HResultFromWin32(::GetLastError(), hrOtherwise);
}

// Code that runs on a failure path and must not disturb the last error that its caller is about to read.
class CLastErrorKeeper
{
public:
    CLastErrorKeeper() : m_dwError(::GetLastError()) {}
    ~CLastErrorKeeper() { ::SetLastError(m_dwError); }
    CLastErrorKeeper(const CLastErrorKeeper&) = delete;
    CLastErrorKeeper& operator=(const CLastErrorKeeper&) = delete;

private:
    DWORD m_dwError;
};
