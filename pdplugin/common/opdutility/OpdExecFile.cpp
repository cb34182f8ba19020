#include "opdutility/OpdExecFile.h"

#include "log/FunctionLog.h"
#include "platform/HResult.h"
#include "platform/Handle.h"

namespace
{

// A child's two handles. The thread's is closed first.
struct CProcess
{
    CKernelHandle hProcess;
    CKernelHandle hThread;
};

CProcess Start(const CFunctionLog& log, std::wstring& rsLine)
{
    STARTUPINFOW Startup{};
    Startup.cb = sizeof Startup;
    PROCESS_INFORMATION Info{};
    if (!::CreateProcessW(nullptr, rsLine.data(), nullptr, nullptr, FALSE,
                          CREATE_NO_WINDOW | CREATE_NEW_PROCESS_GROUP | NORMAL_PRIORITY_CLASS, nullptr, nullptr,
                          &Startup, &Info))
        log.ThrowCode(LastErrorResult(), L"::CreateProcess( %s ) failed. [0x%08X]", rsLine);
    return { CKernelHandle(Info.hProcess), CKernelHandle(Info.hThread) };
}

void WaitForEnd(const CFunctionLog& log, const CProcess& rProcess, const std::wstring& sLine)
{
    const DWORD dwWait = ::WaitForSingleObject(rProcess.hProcess.Get(), INFINITE);
    if (dwWait == WAIT_OBJECT_0)
        return;
    const HRESULT hr = LastErrorResult();
    if (dwWait == WAIT_FAILED)
        log.Throw(hr, L"::WaitForSingleObject( %s ) failed. [WAIT_FAILED][0x%08X]", sLine, hr);
    log.Throw(hr, L"::WaitForSingleObject( %s ) failed. [0x%08X][0x%08X]", sLine, dwWait, hr);
}

} // namespace

HRESULT COpdExecFile::Execute(const std::wstring& rcsFileName, const std::wstring& sCmdLine, DWORD* pExitCode)
{
    CFunctionLog log;
    log.Trace(L"FileName: %s", rcsFileName);
    log.Trace(L"CmdLine : %s", sCmdLine);
    return log.Run([&] {
        if (rcsFileName.empty())
            log.Fail(E_INVALIDARG, L"rcsFileName == empty");
        std::wstring sLine = L"\"" + rcsFileName + L"\" " + sCmdLine;
        const CProcess process = Start(log, sLine);
        WaitForEnd(log, process, sLine);
        if (!::GetExitCodeProcess(process.hProcess.Get(), pExitCode))
            log.ThrowCode(LastErrorResult(), L"::GetExitCodeProcess( %s ) failed. [0x%08X]", sLine);
    });
}
