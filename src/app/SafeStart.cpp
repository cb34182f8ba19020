// What the program does before any other code of its own: it takes no library from the folder that it lies
// in, where anybody may have put one (a folder of downloads). Nothing here may need another
// library than kernel32 and msvcrt, which the loader never looks for elsewhere. The tests do not link this file.
#include <algorithm>
#include <cstdint>
#include <optional>
#include <string>

#include "platform/FileIdentity.h"
#include "platform/HResult.h"
#include "platform/Path.h"
#include "platform/SystemLibrary.h"

namespace
{

// As the loader ends a program that lacks a library or a function.
constexpr UINT LibraryNotFound = 0xC0000135;
constexpr UINT FunctionNotFound = 0xC0000139;
constexpr UINT StackOverrun = 0xC0000409;

// One library and one function of the stubs that cmake/delay-imports.sh writes.
struct CDelayedLibrary
{
    HMODULE hModule;
    const wchar_t* pName;
};
struct CDelayedImport
{
    FARPROC* ppSlot;
    CDelayedLibrary* pLibrary;
    const char* pName;
};

HMODULE LoadForImport(const wchar_t* pName)
{
    // By its bare name, or the common controls would not be those of the program's manifest.
    HMODULE hModule = ::LoadLibraryExW(pName, nullptr, LOAD_LIBRARY_SEARCH_SYSTEM32);
    if (hModule == nullptr && ::GetLastError() == ERROR_INVALID_PARAMETER) // Windows 7 as it first came
        hModule = LoadSystemLibrary(pName).Detach();
    return hModule;
}

// A folder that objects under test may take their helpers from, as they do in other programs: on a local drive, since
// the system looks into it at once, and not the program's own, under whatever name.
bool IsTrustedFolder(const std::wstring& sPath, const std::optional<CFileIdentity>& rOwn)
{
    return sPath.size() > 2 && sPath[1] == L':' && sPath[2] == L'\\' &&
           ::GetDriveTypeW(sPath.substr(0, 3).c_str()) == DRIVE_FIXED && IdentityOf(sPath) != rOwn;
}

void AddSearchPath(DLL_DIRECTORY_COOKIE(WINAPI* pAddDllDirectory)(PCWSTR))
{
    std::wstring sPath(::GetEnvironmentVariableW(L"PATH", nullptr, 0), L'\0');
    sPath.resize(::GetEnvironmentVariableW(L"PATH", sPath.data(), static_cast<DWORD>(sPath.size())));
    const std::optional<CFileIdentity> own = IdentityOf(ModuleDirPath());
    if (!own)
        return;
    for (std::size_t n = 0; n < sPath.size();)
    {
        const std::size_t nEnd = std::min(sPath.find(L';', n), sPath.size());
        const std::wstring sFolder = sPath.substr(n, nEnd - n);
        if (IsTrustedFolder(sFolder, own))
            pAddDllDirectory(sFolder.c_str());
        n = nEnd + 1;
    }
}

void RestrictLibrarySearch()
{
    ::SetDllDirectoryW(L""); // not from the current folder either
    // Nor programs, by the command processor that the collectors start: it heeds this variable.
    ::SetEnvironmentVariableW(L"NoDefaultCurrentDirectoryInExePath", L"1");
    const HMODULE hKernel = ::GetModuleHandleW(L"kernel32.dll");
    decltype(&::SetDefaultDllDirectories) pSetDefault = nullptr;
    decltype(&::AddDllDirectory) pAdd = nullptr;
    if (!BindFunction(hKernel, "SetDefaultDllDirectories", pSetDefault) ||
        !BindFunction(hKernel, "AddDllDirectory", pAdd))
        return;
    pSetDefault(LOAD_LIBRARY_SEARCH_SYSTEM32 | LOAD_LIBRARY_SEARCH_USER_DIRS);
    AddSearchPath(pAdd);
}

} // namespace

extern "C"
{
    // The compiler's guard against overrun buffers. Its runtime library would fill it from a cryptographic provider,
    // and so load half of Windows before wWinMain, from wherever the loader finds it first.
    std::uintptr_t __stack_chk_guard = 0xFF0A0D00; // NOLINT(bugprone-reserved-identifier): its name

    [[noreturn]] void __stack_chk_fail() // NOLINT(bugprone-reserved-identifier)
    {
        ::TerminateProcess(::GetCurrentProcess(), StackOverrun);
        for (;;) // the process is gone before this runs on
            ::Sleep(INFINITE);
    }

    // Answers the function behind a stub and puts it into the stub's slot. The caller's last error is its own.
    [[gnu::used]] FARPROC WINAPI BindDelayedImport(const CDelayedImport* pImport)
    {
        const CLastErrorKeeper keeper;
        CDelayedLibrary& rLibrary = *pImport->pLibrary;
        if (rLibrary.hModule == nullptr)
            rLibrary.hModule = LoadForImport(rLibrary.pName);
        if (rLibrary.hModule == nullptr)
            ::TerminateProcess(::GetCurrentProcess(), LibraryNotFound);
        const FARPROC pFunction = ::GetProcAddress(rLibrary.hModule, pImport->pName);
        if (pFunction == nullptr)
            ::TerminateProcess(::GetCurrentProcess(), FunctionNotFound);
        return *pImport->ppSlot = pFunction;
    }
}

namespace
{

// Before the constructors of all globals, which already call Windows.
[[gnu::constructor(101), gnu::no_stack_protector]] void StartSafely()
{
    FILETIME Now;
    LARGE_INTEGER Counter;
    ::GetSystemTimeAsFileTime(&Now);
    ::QueryPerformanceCounter(&Counter);
    __stack_chk_guard ^= Now.dwLowDateTime ^ (Counter.LowPart << 8) ^ ::GetCurrentProcessId() ^ ::GetCurrentThreadId() ^
                         reinterpret_cast<std::uintptr_t>(&Now);
    RestrictLibrarySearch();
}

} // namespace
