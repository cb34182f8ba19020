#include "opdutility/OpdWow64.h"

#include "log/FunctionLog.h"
#include "platform/HResult.h"
#include "platform/SystemLibrary.h"

HRESULT COpdWow64::IsWow64(bool* pbIsWow64)
{
    CFunctionLog log;
    return log.Run([&] {
        *pbIsWow64 = false;
        const HMODULE hKernel = ::GetModuleHandleW(L"kernel32");
        if (hKernel == nullptr)
            log.ThrowCode(LastErrorResult(), L"GetModuleHandle( \"kernel32\" ) failed.[0x%08X]");
        decltype(&::IsWow64Process) pIsWow64Process = nullptr;
        if (!BindFunction(hKernel, "IsWow64Process", pIsWow64Process))
            return;
        BOOL bAnswer = FALSE;
        if (!pIsWow64Process(::GetCurrentProcess(), &bAnswer))
            log.ThrowCode(LastErrorResult(), L"IsWow64Process() failed.[0x%08X]");
        *pbIsWow64 = bAnswer != FALSE;
    });
}
