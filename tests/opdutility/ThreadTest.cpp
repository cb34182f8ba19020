#include <gmock/gmock.h>

#include "opdutility/OpdThread.h"
#include "platform/Handle.h"
#include "support/LogWatch.h"

using testing::ElementsAre;

namespace
{

class CWorker
{
public:
    unsigned WaitForGo()
    {
        ::WaitForSingleObject(m_hGo.Get(), 20000);
        return 42;
    }
    unsigned Count() { return static_cast<unsigned>(::InterlockedIncrement(&m_nCount)); }

    CKernelHandle m_hGo{ ::CreateEventW(nullptr, FALSE, FALSE, nullptr) };
    LONG m_nCount = 0;
};

// A second start or an early close must leave the first thread and its handle alone.
TEST(Thread, IsHeldFromStartToClose)
{
    CWorker worker;
    COpdThreadT<CWorker> thread(&worker, &CWorker::WaitForGo);
    DWORD dwResult = 77;
    const CLogWatch watch;
    EXPECT_EQ(thread.Close(), S_OK);
    EXPECT_EQ(thread.WaitThread(INFINITE), S_OK);
    EXPECT_EQ(thread.WaitThread(INFINITE, dwResult), S_OK);
    EXPECT_EQ(dwResult, 77u);
    EXPECT_EQ(thread.ResumeThread(), E_UNEXPECTED);
    EXPECT_EQ(thread.SuspendThread(), E_UNEXPECTED);

    for (int n = 0; n < 2; ++n)
    {
        ASSERT_EQ(thread.BeginThread(nullptr, 0, 0), S_OK);
        const DWORD dwId = thread.GetThreadID();
        EXPECT_EQ(thread.BeginThread(nullptr, 0, 0), E_FAIL);
        EXPECT_EQ(thread.GetThreadID(), dwId);
        EXPECT_EQ(thread.Close(), E_PENDING);
        EXPECT_EQ(thread.WaitThread(0), E_PENDING);
        EXPECT_EQ(thread.WaitThread(0, dwResult), S_OK);
        EXPECT_EQ(dwResult, static_cast<DWORD>(WAIT_TIMEOUT));
        bool bActive = false;
        EXPECT_EQ(thread.IsThreadActive(bActive), S_OK);
        EXPECT_TRUE(bActive);

        ::SetEvent(worker.m_hGo.Get());
        EXPECT_EQ(thread.WaitThread(20000), S_OK);
        EXPECT_EQ(thread.IsThreadActive(bActive), S_OK);
        EXPECT_FALSE(bActive);
        DWORD dwExitCode = 0;
        EXPECT_EQ(thread.GetExitCodeThread(dwExitCode), S_OK);
        EXPECT_EQ(dwExitCode, 42u);
        EXPECT_EQ(thread.Close(), S_OK);
        EXPECT_EQ(thread.GetThreadID(), 0u);
        EXPECT_EQ(thread.GetThreadHandle(), nullptr);
    }
    EXPECT_THAT(watch.Records(),
                ElementsAre("[COpdThread::ResumeThread] m_hThread == 0", "[COpdThread::SuspendThread] m_hThread == 0",
                            "[COpdThread::BeginThread] m_hThread != 0", "[COpdThread::Close] ulWaitResult == WAIT_TIMEOUT",
                            "[COpdThread::BeginThread] m_hThread != 0", "[COpdThread::Close] ulWaitResult == WAIT_TIMEOUT"));
}

// A suspended start that ran at once would race with its owner.
TEST(Thread, CountsItsSuspensions)
{
    CWorker worker;
    const auto pThread = OpdBeginThread(&worker, &CWorker::Count, nullptr, 0, CREATE_SUSPENDED);
    ASSERT_NE(pThread, nullptr);
    DWORD dwCount = 99;
    EXPECT_EQ(pThread->SuspendThread(&dwCount), S_OK);
    EXPECT_EQ(dwCount, 1u);
    EXPECT_EQ(pThread->ResumeThread(&dwCount), S_OK);
    EXPECT_EQ(dwCount, 2u);
    EXPECT_EQ(pThread->WaitThread(50), E_PENDING);
    EXPECT_EQ(worker.m_nCount, 0);
    EXPECT_EQ(pThread->ResumeThread(&dwCount), S_OK);
    EXPECT_EQ(dwCount, 1u);
    EXPECT_EQ(pThread->WaitThread(20000), S_OK);
    EXPECT_EQ(worker.m_nCount, 1);
}

HANDLE s_hGo;
int s_nLeft;

// Lets the waiting body go when the last expected message has been dispatched.
LRESULT CALLBACK CountMessage(HWND hWnd, UINT nMessage, WPARAM wParam, LPARAM lParam)
{
    if (nMessage != WM_APP && nMessage != WM_TIMER)
        return ::DefWindowProcW(hWnd, nMessage, wParam, lParam);
    if (--s_nLeft == 0)
        ::SetEvent(s_hGo);
    return 0;
}

// The messages of a window whose thread waits: without the pump the dialog stands still and apartments deadlock.
TEST(Thread, KeepsMessagesMovingWhileItIsWaitedFor)
{
    CWorker worker;
    s_hGo = worker.m_hGo.Get();
    const HWND hWnd = ::CreateWindowExW(0, L"STATIC", L"", 0, 0, 0, 0, 0, HWND_MESSAGE, nullptr, nullptr, nullptr);
    ::SetWindowLongPtrW(hWnd, GWLP_WNDPROC, reinterpret_cast<LONG_PTR>(CountMessage));

    auto pThread = OpdBeginThread(&worker, &CWorker::WaitForGo);
    ASSERT_NE(pThread, nullptr);
    MSG Message;
    while (::PeekMessageW(&Message, nullptr, 0, 0, PM_REMOVE))
        ::DispatchMessageW(&Message);
    EXPECT_EQ(pThread->WaitThreadWithMessagePump(0), E_PENDING);
    s_nLeft = 2000;
    for (int n = 0; n < 2000; ++n)
        ::PostMessageW(hWnd, WM_APP, 0, 0);
    EXPECT_EQ(pThread->WaitThreadWithMessagePump(20000), S_OK);
    EXPECT_EQ(s_nLeft, 0);

    // Each round starts the time anew: eight ticks last longer than one time-out.
    pThread = OpdBeginThread(&worker, &CWorker::WaitForGo);
    ASSERT_NE(pThread, nullptr);
    s_nLeft = 8;
    ::SetTimer(hWnd, 1, 100, nullptr);
    EXPECT_EQ(pThread->WaitThreadWithMessagePump(600), S_OK);
    EXPECT_EQ(s_nLeft, 0);
    ::DestroyWindow(hWnd);
}

// New handles take the lowest free value, so lost ones show in the value of the next. (The platform's own count of the
// handles is not to be had everywhere.)
std::uintptr_t NextHandle()
{
    const CKernelHandle hEvent(::CreateEventW(nullptr, FALSE, FALSE, nullptr));
    return reinterpret_cast<std::uintptr_t>(hEvent.Get());
}

// One handle lost a check is thousands in a long run; an object that goes must have waited for its body.
TEST(Thread, LeaksNothingInManyRounds)
{
    CWorker worker;
    OpdBeginThread(&worker, &CWorker::Count);
    const std::uintptr_t nBefore = NextHandle();
    for (int n = 0; n < 200; ++n)
        OpdBeginThread(&worker, &CWorker::Count);
    EXPECT_EQ(worker.m_nCount, 201);
    EXPECT_LE(NextHandle(), nBefore + 40);
}

} // namespace
