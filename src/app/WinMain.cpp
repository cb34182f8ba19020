// Process start and end: COM and the module, the command line, the mode, the exit code.
#include <exception>

#include "app/KelvarinApp.h"
#include "platform/ComInit.h"

namespace
{

constexpr int ExitNoModule = -1;

// An exception that no thread of ours takes ends the process at once, with a code of its own and without a box.
[[noreturn]] void OnTerminate()
{
    ::TerminateProcess(::GetCurrentProcess(), static_cast<UINT>(E_UNEXPECTED));
    for (;;) // the process is gone before this runs on
        ::Sleep(INFINITE);
}

int RunApplication(CKelvarinApp& rApp)
{
    try
    {
        const CCmdLineParam param = CCmdLineParam::OfThisProcess();
        // A silent run or a child must not stop at a crash box either: nobody would see it.
        if (param.m_bSilent || param.m_nExecMode != ExecMode_Main)
            ::SetErrorMode(::GetErrorMode() | SEM_NOGPFAULTERRORBOX);
        const HRESULT hr = rApp.Main(param);
        return FAILED(hr) ? hr : 0;
    }
    catch (HRESULT hr) // the log system found no folder at all
    {
        return hr;
    }
}

} // namespace

int WINAPI wWinMain(HINSTANCE, HINSTANCE, PWSTR, int)
{
    std::set_terminate(OnTerminate);
    // An empty card reader must not hold up a hidden child behind a box of the system.
    ::SetErrorMode(::GetErrorMode() | SEM_FAILCRITICALERRORS);

    const COpdComInit com; // a failure shows where COM is used
    CKelvarinApp& rApp = CKelvarinApp::GetApp();
    if (FAILED(rApp.Init()))
        return ExitNoModule;
    const int nExitCode = RunApplication(rApp);
    rApp.Term();
    return nExitCode;
}
