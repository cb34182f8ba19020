// What the manifest's environment is made of, answered by fakes: the user's language, the processor, the shell folders.
#pragma once

#include <shlobj.h>

#include <cstring>
#include <string>

#include "support/ImportPatch.h"

inline std::wstring GuidText(const GUID& rGuid)
{
    wchar_t aText[64] = L"";
    ::StringFromGUID2(rGuid, aText, 64);
    return aText;
}

class CFakeSystem
{
public:
    static constexpr int NoFunction = -1;

    LCID m_nLocale = 0x0409;
    int m_nArchitecture = PROCESSOR_ARCHITECTURE_AMD64; // or NoFunction: the platform cannot tell it
    bool m_bWow64 = true;

    CFakeSystem() { s_pSystem = this; }
    ~CFakeSystem() { s_pSystem = nullptr; }

private:
    static LCID WINAPI Locale() { return s_pSystem->m_nLocale; }
    static void WINAPI SystemInfo(SYSTEM_INFO* pInfo)
    {
        pInfo->wProcessorArchitecture = static_cast<WORD>(s_pSystem->m_nArchitecture);
    }
    static BOOL WINAPI IsWow64(HANDLE, BOOL* pbAnswer)
    {
        *pbAnswer = s_pSystem->m_bWow64;
        return TRUE;
    }
    static FARPROC WINAPI Function(HMODULE hModule, const char* pName)
    {
        if (std::strcmp(pName, "GetNativeSystemInfo") == 0)
            return s_pSystem->m_nArchitecture == NoFunction
                       ? nullptr
                       : reinterpret_cast<FARPROC>(reinterpret_cast<void*>(SystemInfo));
        if (std::strcmp(pName, "IsWow64Process") == 0)
            return reinterpret_cast<FARPROC>(reinterpret_cast<void*>(IsWow64));
        return s_pSystem->m_Function.Original()(hModule, pName);
    }
    static HRESULT WINAPI Folder(HWND, int nCsidl, HANDLE, DWORD, wchar_t* pPath)
    {
        ::lstrcpyW(pPath, nCsidl == CSIDL_PROGRAM_FILES          ? L"C:\\Programs"
                          : nCsidl == CSIDL_PROGRAM_FILES_COMMON ? L"C:\\Common"
                                                                 : L"C:\\System");
        return S_OK;
    }

    static inline CFakeSystem* s_pSystem = nullptr;
    CImportPatch<decltype(::GetUserDefaultLCID)> m_Locale{ "GetUserDefaultLCID", Locale };
    CImportPatch<decltype(::GetProcAddress)> m_Function{ "GetProcAddress", Function };
    CImportPatch<decltype(::SHGetFolderPathW)> m_Folder{ "SHGetFolderPathW", Folder };
};
