#include "opdutility/OpdWow64.h"

#include "log/FunctionLog.h"
#include "platform/HResult.h"

HRESULT COpdWow64::IsWow64(bool* pbIsWow64)
{
    CFunctionLog log;
    return log.Run([&] {
        *pbIsWow64 = false;
        const HMODULE hKernel = ::GetModuleHandleW(L"kernel32");
        if (hKernel == nullptr)
            log.ThrowCode(LastErrorResult(), L"GetModuleHandle( \"kernel32\" ) failed.[0x%08X]");
        using IsWow64ProcessFn = BOOL(WINAPI*)(HANDLE, PBOOL);
        const auto pIsWow64Process = reinterpret_cast<IsWow64ProcessFn>(
            reinterpret_cast<void*>(::GetProcAddress(hKernel, "IsWow64Process")));
        if (pIsWow64Process == nullptr)
            return;
        BOOL bAnswer = FALSE;
        if (!pIsWow64Process(::GetCurrentProcess(), &bAnswer))
            log.ThrowCode(LastErrorResult(), L"IsWow64Process() failed.[0x%08X]");
        *pbIsWow64 = bAnswer != FALSE;
    });
}
