// How a device is reached: by an open function that a class is given, so that another one can take its place.
#pragma once

#include <string>

#include "log/FunctionLog.h"
#include "platform/HResult.h"

// Opens a device path; the handle is the caller's.
using OpenDeviceFunc = HRESULT (*)(const std::wstring& sPath, HANDLE* phDevice);

// The body of the standard open functions; throws through its caller's log. Control codes that need no right on the
// device are content with the access 0.
inline void OpenDevicePath(const CFunctionLog& log, const std::wstring& sPath, DWORD dwAccess, DWORD dwShare,
                           DWORD dwFlags, HANDLE* phDevice)
{
    if (phDevice == nullptr)
        log.Fail(E_POINTER, L"pHandle == NULL");
    const HANDLE hDevice = ::CreateFileW(sPath.c_str(), dwAccess, dwShare, nullptr, OPEN_EXISTING, dwFlags, nullptr);
    if (hDevice == INVALID_HANDLE_VALUE)
        log.ThrowCode(LastErrorResult(), L"::CreateFile( \"%s\" ) failed. [0x%08X]", sPath);
    *phDevice = hDevice;
}
