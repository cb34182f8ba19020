// The sample product's program: finds the platform through the registry, as the real one would, and says what it found.
#include <windows.h>

#include <cstdio>
#include <string>

int wmain()
{
    wchar_t sFolder[MAX_PATH] = L"";
    DWORD cbFolder = sizeof sFolder;
    const LSTATUS lStatus = RegGetValueW(HKEY_LOCAL_MACHINE, L"SOFTWARE\\Tolvane Corporation\\Velmora", L"repository",
                                         RRF_RT_REG_SZ, nullptr, sFolder, &cbFolder);
    if (lStatus != ERROR_SUCCESS)
    {
        std::fwprintf(stderr, L"Velmora is not installed. [%ld]\n", lStatus);
        return 1;
    }
    const std::wstring sCore = std::wstring(sFolder) + L"\\VlmCore.dll";
    const HMODULE hCore = LoadLibraryExW(sCore.c_str(), nullptr, LOAD_WITH_ALTERED_SEARCH_PATH);
    using ModuleName = const wchar_t*();
    auto* const pModuleName = hCore ? reinterpret_cast<ModuleName*>(
                                          reinterpret_cast<void*>(GetProcAddress(hCore, "VlmModuleName")))
                                    : nullptr;
    if (!pModuleName)
    {
        std::fwprintf(stderr, L"%ls cannot be used. [%lu]\n", sCore.c_str(), GetLastError());
        return 1;
    }
    std::wprintf(L"Player ready: %ls from %ls\n", pModuleName(), sFolder);
    return 0;
}
