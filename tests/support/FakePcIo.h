// The devices of a PC that a test describes, behind CreateFileW, DeviceIoControl and CloseHandle for as long as the
// object lives. Any other path and handle goes to the system. One at a time.
#pragma once

#include <functional>
#include <map>
#include <span>
#include <string>
#include <vector>

#include "support/ImportPatch.h"

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
// By their questions, as a description has them.
using CFakeAnswers = std::map<std::string, std::string>;

struct CFakeOpening
{
    DWORD dwAccess, dwShare, dwFlags;
};

class CFakePcIo
{
public:
    CFakePcIo() { s_pIo = this; }

    // A path is found whatever its case. Those without an answer are not, nor paths with "\\.\" in front that nobody
    // added.
    void Add(std::wstring sPath, CFakeAnswer answer) { m_Devices[::_wcslwr(sPath.data())] = std::move(answer); }
    // Adds the devices of a text file, whose form tests/data/hardware/UsbPc.txt tells; a later file has the last word.
    void Describe(const std::wstring& sPath);

    CFakeOpening LastOpening{};
    // By the paths of described devices. What has no answer is not ready.
    std::map<std::wstring, CFakeAnswers> Answers;
    // Sees each answered request, with the path in small letters, and may change its bytes, its size and its error.
    std::function<void(const std::wstring&, CFakeRequest&, DWORD& rdwError)> Tamper;
    std::size_t OpenHandles() const { return m_Handles.size(); }

private:
    static HANDLE WINAPI Open(LPCWSTR pPath, DWORD dwAccess, DWORD dwShare, SECURITY_ATTRIBUTES* pSecurity,
                              DWORD dwDisposition, DWORD dwFlags, HANDLE hTemplate)
    {
        std::wstring sPath = pPath;
        const auto it = s_pIo->m_Devices.find(::_wcslwr(sPath.data()));
        if (it == s_pIo->m_Devices.end() && !sPath.starts_with(L"\\\\.\\"))
            return s_pIo->m_Open.Original()(pPath, dwAccess, dwShare, pSecurity, dwDisposition, dwFlags, hTemplate);
        s_pIo->LastOpening = { dwAccess, dwShare, dwFlags };
        ::SetLastError(ERROR_FILE_NOT_FOUND);
        if (it == s_pIo->m_Devices.end() || !it->second)
            return INVALID_HANDLE_VALUE;
        if (s_pIo->m_Handles.empty()) // so that a second dump has the handles of the first
            s_pIo->m_nLastHandle = 0x7E000000;
        const auto hDevice = reinterpret_cast<HANDLE>(s_pIo->m_nLastHandle += 4);
        s_pIo->m_Handles[hDevice] = &*it;
        return hDevice;
    }
    static BOOL WINAPI Control(HANDLE hDevice, DWORD dwCode, void* pIn, DWORD dwIn, void* pOut, DWORD dwOut,
                               DWORD* pdwReturned, OVERLAPPED* pOverlapped)
    {
        const auto it = s_pIo->m_Handles.find(hDevice);
        if (it == s_pIo->m_Handles.end())
            return s_pIo->m_Control.Original()(hDevice, dwCode, pIn, dwIn, pOut, dwOut, pdwReturned, pOverlapped);
        const auto* const pFirst = static_cast<const BYTE*>(pIn);
        CFakeRequest request{ dwCode, std::vector<BYTE>(pFirst, pFirst + dwIn), { static_cast<BYTE*>(pOut), dwOut } };
        const auto& [sPath, answer] = *it->second;
        DWORD dwError = answer(request);
        if (s_pIo->Tamper)
            s_pIo->Tamper(sPath, request, dwError);
        *pdwReturned = request.dwReturned;
        ::SetLastError(dwError);
        return dwError == ERROR_SUCCESS;
    }
    static BOOL WINAPI Close(HANDLE hDevice)
    {
        return s_pIo->m_Handles.erase(hDevice) == 1 ? TRUE : s_pIo->m_Close.Original()(hDevice);
    }

    static inline CFakePcIo* s_pIo;
    std::map<std::wstring, CFakeAnswer> m_Devices;
    std::map<HANDLE, const std::pair<const std::wstring, CFakeAnswer>*> m_Handles;
    ULONG_PTR m_nLastHandle = 0;
    CImportPatch<decltype(Open)> m_Open{ "CreateFileW", Open };
    CImportPatch<decltype(Control)> m_Control{ "DeviceIoControl", Control };
    CImportPatch<decltype(Close)> m_Close{ "CloseHandle", Close };
};
