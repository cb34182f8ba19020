// The devices of a PC that a test describes, behind CreateFileW, DeviceIoControl and CloseHandle for as long as the
// object lives. Any other path and handle goes to the system. One at a time.
#pragma once

#include <functional>
#include <map>
#include <memory>
#include <span>
#include <string>
#include <vector>

#include "platform/Win32.h"

// One DeviceIoControl. In is a copy, since a caller may use one buffer for both.
struct CFakeRequest
{
    DWORD dwCode;
    std::vector<BYTE> In;
    std::span<BYTE> Out;
    DWORD dwReturned = 0; // bytes of Out; nothing keeps an answer from lying
};
// Gives ERROR_SUCCESS, or the last error of a call that fails.
using CFakeAnswer = std::function<DWORD(CFakeRequest&)>;

struct CFakeOpening
{
    std::wstring sPath;
    DWORD dwAccess, dwShare, dwFlags;
};

class CFakePcIo
{
public:
    CFakePcIo();
    ~CFakePcIo();
    CFakePcIo(const CFakePcIo&) = delete;
    CFakePcIo& operator=(const CFakePcIo&) = delete;

    // A path is found whatever its case. Paths with "\\.\" in front that nobody added are not found.
    void Add(const std::wstring& sPath, CFakeAnswer answer);

    std::vector<CFakeOpening> Openings; // every attempt
    // Sees each answered request, with the path as it was added and the error.
    std::function<void(const std::wstring&, const CFakeRequest&, DWORD)> Watch;
    std::size_t OpenHandles() const { return m_Handles.size(); }

private:
    struct CPatches;
    static HANDLE WINAPI CreateFileFake(LPCWSTR pPath, DWORD dwAccess, DWORD dwShare, SECURITY_ATTRIBUTES* pSecurity,
                                        DWORD dwDisposition, DWORD dwFlags, HANDLE hTemplate);
    static BOOL WINAPI DeviceIoControlFake(HANDLE hDevice, DWORD dwCode, void* pIn, DWORD dwIn, void* pOut, DWORD dwOut,
                                           DWORD* pdwReturned, OVERLAPPED* pOverlapped);
    static BOOL WINAPI CloseHandleFake(HANDLE hDevice);

    std::map<std::wstring, CFakeAnswer> m_Devices;
    std::map<HANDLE, std::wstring> m_Handles;
    ULONG_PTR m_nLastHandle = 0x7E000000;
    std::unique_ptr<CPatches> m_pPatches;
};
