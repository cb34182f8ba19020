#include "opdutility/OpdThread.h"

#include <process.h>

#include "log/FunctionLog.h"
#include "platform/HResult.h"

namespace
{

constexpr DWORD EndWait = 5000; // milliseconds

// The wake mask QS_ALLEVENTS; its value in the headers changes with their version.
constexpr DWORD AllEvents = 1215;

} // namespace

void COpdThread::End()
{
    CFunctionLog log("COpdThread::~COpdThread");
    const CLockScope lock(m_Lock);
    if (!m_hThread)
        return;
    // The destructor's own: nothing that overrides them is left.
    COpdThread::WaitThread(EndWait);
    COpdThread::Close();
}

unsigned __stdcall COpdThread::Entry(void* pThread) noexcept
{
    return static_cast<COpdThread*>(pThread)->Main();
}

HRESULT COpdThread::BeginThread(void*, unsigned nStackSize, unsigned nCreationFlags)
{
    const CLockScope lock(m_Lock);
    CFunctionLog log;
    return log.Run([&] {
        if (m_hThread)
            log.Fail(E_FAIL, L"m_hThread != 0");
        m_hThread.Attach(
            reinterpret_cast<HANDLE>(::_beginthreadex(nullptr, nStackSize, Entry, this, nCreationFlags, &m_nThreadId)));
        if (!m_hThread)
            log.ThrowCode(LastErrorResult(E_FAIL), L"::_beginthreadex() failed. [0x%08X]");
    });
}

HRESULT COpdThread::WaitThread(DWORD dwTimeout)
{
    const CLockScope lock(m_Lock);
    CFunctionLog log;
    return log.Run([&] {
        DWORD dwResult = WAIT_OBJECT_0;
        log.Check(WaitThread(dwTimeout, dwResult), L"COpdThread::WaitThread() failed. [0x%08X]");
        if (dwResult == WAIT_TIMEOUT)
            log.Throw(E_PENDING);
    });
}

HRESULT COpdThread::WaitThread(DWORD dwTimeout, DWORD& rdwResult)
{
    const CLockScope lock(m_Lock);
    CFunctionLog log;
    return log.Run([&] {
        if (!m_hThread)
            return;
        const DWORD dwResult = ::WaitForSingleObject(m_hThread.Get(), dwTimeout);
        if (dwResult == WAIT_FAILED)
            log.ThrowCode(LastErrorResult(E_FAIL), L"::WaitForSingleObject( m_hThread ) failed. [0x%08X]");
        rdwResult = dwResult;
    });
}

HRESULT COpdThread::ResumeThread(DWORD* pdwPreviousCount)
{
    const CLockScope lock(m_Lock);
    CFunctionLog log;
    return log.Run([&] {
        if (!m_hThread)
            log.Fail(E_UNEXPECTED, L"m_hThread == 0");
        const DWORD dwCount = ::ResumeThread(m_hThread.Get());
        if (dwCount == static_cast<DWORD>(-1))
            log.ThrowCode(LastErrorResult(E_FAIL), L"::ResumeThread( m_hThread ) failed. [0x%08X]");
        if (pdwPreviousCount != nullptr)
            *pdwPreviousCount = dwCount;
    });
}

HRESULT COpdThread::SuspendThread(DWORD* pdwPreviousCount)
{
    const CLockScope lock(m_Lock);
    CFunctionLog log;
    return log.Run([&] {
        if (!m_hThread)
            log.Fail(E_UNEXPECTED, L"m_hThread == 0");
        const DWORD dwCount = ::SuspendThread(m_hThread.Get());
        if (dwCount == static_cast<DWORD>(-1))
            log.ThrowCode(LastErrorResult(E_FAIL), L"::SuspendThread( m_hThread ) failed. [0x%08X]");
        if (pdwPreviousCount != nullptr)
            *pdwPreviousCount = dwCount;
    });
}

HRESULT COpdThread::GetExitCodeThread(DWORD& rdwExitCode)
{
    const CLockScope lock(m_Lock);
    CFunctionLog log;
    return log.Run([&] {
        if (!::GetExitCodeThread(m_hThread.Get(), &rdwExitCode))
            log.ThrowCode(LastErrorResult(E_FAIL), L"::GetExitCodeThread( m_hThread ) failed. [0x%08X]");
    });
}

HRESULT COpdThread::IsThreadActive(bool& rbActive)
{
    const CLockScope lock(m_Lock);
    CFunctionLog log;
    return log.Run([&]() -> HRESULT {
        DWORD dwExitCode = 0;
        const HRESULT hr = GetExitCodeThread(dwExitCode);
        if (SUCCEEDED(hr))
            rbActive = dwExitCode == STILL_ACTIVE;
        return hr;
    });
}

HRESULT COpdThread::Close()
{
    const CLockScope lock(m_Lock);
    CFunctionLog log;
    return log.Run([&] {
        if (!m_hThread)
            return;
        DWORD dwResult = WAIT_OBJECT_0;
        log.Check(WaitThread(0, dwResult), L"COpdThread::WaitThread() failed. [0x%08X]");
        if (dwResult == WAIT_TIMEOUT)
            log.Throw(E_PENDING, L"ulWaitResult == WAIT_TIMEOUT");
        if (!::CloseHandle(m_hThread.Detach()))
            log.Error(L"::CloseHandle( m_hThread ) failed. [0x%08X]", LastErrorResult(E_FAIL));
        m_nThreadId = 0;
    });
}

DWORD COpdThread::GetThreadID()
{
    const CLockScope lock(m_Lock);
    CFunctionLog log;
    return log.Result(m_nThreadId);
}

HANDLE COpdThread::GetThreadHandle()
{
    const CLockScope lock(m_Lock);
    CFunctionLog log;
    return log.Result(m_hThread.Get());
}

HRESULT COpdThread::SetThreadPriority(int nPriority)
{
    const CLockScope lock(m_Lock);
    CFunctionLog log;
    return log.Run([&] {
        if (!::SetThreadPriority(m_hThread.Get(), nPriority))
            log.Throw(LastErrorResult(E_FAIL));
    });
}

HRESULT COpdThread::GetThreadPriority(int& rnPriority)
{
    const CLockScope lock(m_Lock);
    CFunctionLog log;
    return log.Run([&] {
        const int nPriority = ::GetThreadPriority(m_hThread.Get());
        if (nPriority == THREAD_PRIORITY_ERROR_RETURN)
            log.Throw(LastErrorResult(E_FAIL));
        rnPriority = nPriority;
    });
}

HRESULT COpdThread::MsgWaitForMultipleObjects(DWORD dwTimeout, DWORD& rdwResult, DWORD dwWakeMask)
{
    const CLockScope lock(m_Lock);
    CFunctionLog log;
    return log.Run([&] {
        const HANDLE hThread = m_hThread.Get();
        const DWORD dwResult = ::MsgWaitForMultipleObjects(1, &hThread, FALSE, dwTimeout, dwWakeMask);
        if (dwResult == WAIT_FAILED)
            log.Throw(LastErrorResult(E_FAIL));
        rdwResult = dwResult;
    });
}

HRESULT COpdThread::WaitThreadWithMessagePump(DWORD dwTimeout)
{
    const CLockScope lock(m_Lock);
    CFunctionLog log;
    return log.Run([&] {
        for (;;)
        {
            DWORD dwResult = WAIT_OBJECT_0;
            log.Check(MsgWaitForMultipleObjects(dwTimeout, dwResult, AllEvents),
                      L"COpdThread::MsgWaitForMultipleObjects() failed. [0x%08X]");
            if (dwResult == WAIT_OBJECT_0)
                return;
            if (dwResult == WAIT_TIMEOUT)
                log.Throw(E_PENDING);
            if (dwResult == WAIT_OBJECT_0 + 1)
            {
                MSG Message;
                while (::PeekMessageW(&Message, nullptr, 0, 0, PM_REMOVE))
                    ::DispatchMessageW(&Message);
            }
        }
    });
}
