#include "support/FakePcIo.h"

#include <algorithm>
#include <cwctype>

#include "support/ImportPatch.h"

namespace
{

CFakePcIo* s_pIo;

std::wstring Folded(std::wstring sPath)
{
    std::ranges::transform(sPath, sPath.begin(), [](wchar_t c) { return static_cast<wchar_t>(std::towlower(c)); });
    return sPath;
}

} // namespace

struct CFakePcIo::CPatches
{
    CImportPatch<decltype(CreateFileFake)> Create{ "CreateFileW", CreateFileFake };
    CImportPatch<decltype(DeviceIoControlFake)> Control{ "DeviceIoControl", DeviceIoControlFake };
    CImportPatch<decltype(CloseHandleFake)> Close{ "CloseHandle", CloseHandleFake };
};

CFakePcIo::CFakePcIo()
{
    s_pIo = this;
    m_pPatches = std::make_unique<CPatches>();
}

CFakePcIo::~CFakePcIo() = default;

void CFakePcIo::Add(const std::wstring& sPath, CFakeAnswer answer)
{
    m_Devices[Folded(sPath)] = std::move(answer);
}

HANDLE WINAPI CFakePcIo::CreateFileFake(LPCWSTR pPath, DWORD dwAccess, DWORD dwShare, SECURITY_ATTRIBUTES* pSecurity,
                                        DWORD dwDisposition, DWORD dwFlags, HANDLE hTemplate)
{
    const std::wstring sPath = Folded(pPath);
    const bool bKnown = s_pIo->m_Devices.contains(sPath);
    if (!bKnown && !sPath.starts_with(L"\\\\.\\"))
        return s_pIo->m_pPatches->Create.Original()(pPath, dwAccess, dwShare, pSecurity, dwDisposition, dwFlags,
                                                    hTemplate);
    s_pIo->Openings.push_back({ pPath, dwAccess, dwShare, dwFlags });
    if (!bKnown)
    {
        ::SetLastError(ERROR_FILE_NOT_FOUND);
        return INVALID_HANDLE_VALUE;
    }
    const auto hDevice = reinterpret_cast<HANDLE>(s_pIo->m_nLastHandle += 4);
    s_pIo->m_Handles[hDevice] = sPath;
    return hDevice;
}

BOOL WINAPI CFakePcIo::DeviceIoControlFake(HANDLE hDevice, DWORD dwCode, void* pIn, DWORD dwIn, void* pOut, DWORD dwOut,
                                           DWORD* pdwReturned, OVERLAPPED* pOverlapped)
{
    const auto it = s_pIo->m_Handles.find(hDevice);
    if (it == s_pIo->m_Handles.end())
        return s_pIo->m_pPatches->Control.Original()(hDevice, dwCode, pIn, dwIn, pOut, dwOut, pdwReturned, pOverlapped);
    const auto* const pFirst = static_cast<const BYTE*>(pIn);
    CFakeRequest request{ dwCode, std::vector<BYTE>(pFirst, pFirst + dwIn), { static_cast<BYTE*>(pOut), dwOut } };
    const DWORD dwError = s_pIo->m_Devices[it->second](request);
    *pdwReturned = request.dwReturned;
    if (s_pIo->Watch)
        s_pIo->Watch(it->second, request, dwError);
    ::SetLastError(dwError);
    return dwError == ERROR_SUCCESS;
}

BOOL WINAPI CFakePcIo::CloseHandleFake(HANDLE hDevice)
{
    return s_pIo->m_Handles.erase(hDevice) == 1 ? TRUE : s_pIo->m_pPatches->Close.Original()(hDevice);
}
