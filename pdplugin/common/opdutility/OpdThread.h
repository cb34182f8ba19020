// The one thread class of the program: a handle, an id and a lock around the platform's calls, and a wait that keeps a
// window's or an apartment's messages moving.
#pragma once

#include <memory>

#include "platform/Handle.h"
#include "platform/Lock.h"

// All operations take the object's lock for their whole duration, waits included: a second thread that calls any of
// them blocks until the wait ends. The lock is re-entrant for the thread that waits.
class COpdThread
{
protected:
    // The body, on the new thread; gives the exit code. It must not use this object while another thread waits on it.
    virtual unsigned Main() = 0;

public:
    // Throws the result code of a lock that cannot be made.
    COpdThread() = default;
    COpdThread(const COpdThread&) = delete;
    COpdThread& operator=(const COpdThread&) = delete;

    // A class that implements Main calls End in its own destructor: Main is gone when this one runs.
    virtual ~COpdThread() = default;

    // pSecurity is ignored; nStackSize in bytes, 0 is the default. E_FAIL when a thread is held already.
    virtual HRESULT BeginThread(void* pSecurity, unsigned nStackSize, unsigned nCreationFlags);
    // E_PENDING when the time (milliseconds) is over. Without a thread: 0 at once.
    virtual HRESULT WaitThread(DWORD dwTimeout);
    // The platform's wait result goes to rdwResult; a time-out is no failure here.
    virtual HRESULT WaitThread(DWORD dwTimeout, DWORD& rdwResult);
    virtual HRESULT ResumeThread(DWORD* pdwPreviousCount = nullptr);
    virtual HRESULT SuspendThread(DWORD* pdwPreviousCount = nullptr);
    virtual HRESULT GetExitCodeThread(DWORD& rdwExitCode);
    // A thread that really ends with 259 (STILL_ACTIVE) looks active.
    virtual HRESULT IsThreadActive(bool& rbActive);
    // Gives the handle back once the thread has ended; E_PENDING while it runs.
    virtual HRESULT Close();
    // 0 and null without a thread.
    virtual DWORD GetThreadID();
    virtual HANDLE GetThreadHandle();
    virtual HRESULT SetThreadPriority(int nPriority);
    virtual HRESULT GetThreadPriority(int& rnPriority);
    virtual HRESULT MsgWaitForMultipleObjects(DWORD dwTimeout, DWORD& rdwResult, DWORD dwWakeMask);
    // Dispatches the calling thread's messages until the thread has ended. The timeout starts anew with each round.
    virtual HRESULT WaitThreadWithMessagePump(DWORD dwTimeout);

protected:
    // Waits up to 5 seconds for a running thread, which is never killed; its handle goes with the object. A body that
    // may outlive its object has to be waited for before.
    void End();

private:
    static unsigned __stdcall Entry(void* pThread) noexcept;

    CKernelHandle m_hThread;
    unsigned m_nThreadId = 0;
    CLock m_Lock;
};

// A thread that runs a member function of an owner, which is borrowed.
template <typename T>
class COpdThreadT final : public COpdThread
{
public:
    using Body = unsigned (T::*)();
    COpdThreadT(T* pOwner, Body pBody) : m_pOwner(pOwner), m_pBody(pBody) {}
    ~COpdThreadT() override { End(); }

protected:
    unsigned Main() override { return (m_pOwner->*m_pBody)(); }

private:
    T* m_pOwner;
    Body m_pBody;
};

// A started thread, or null when it could not be started; the caller has its own words for that.
template <typename T>
std::unique_ptr<COpdThreadT<T>> OpdBeginThread(T* pOwner, typename COpdThreadT<T>::Body pBody,
                                               void* pSecurity = nullptr, unsigned nStackSize = 0,
                                               unsigned nCreationFlags = 0)
{
    auto pThread = std::make_unique<COpdThreadT<T>>(pOwner, pBody);
    if (FAILED(pThread->BeginThread(pSecurity, nStackSize, nCreationFlags)))
        pThread.reset();
    return pThread;
}
