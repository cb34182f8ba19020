#include <gmock/gmock.h>

#include "opdutility/OpdThread.h"
#include "platform/Handle.h"

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
    for (int n = 0; n < 2; ++n)
    {
        DWORD dwResult = 77;
        EXPECT_EQ(thread.Close(), S_OK);
        EXPECT_EQ(thread.WaitThread(INFINITE, dwResult), S_OK);
        EXPECT_EQ(dwResult, 77u);
        ASSERT_EQ(thread.BeginThread(nullptr, 0, 0), S_OK);
        EXPECT_EQ(thread.BeginThread(nullptr, 0, 0), E_FAIL);
        EXPECT_EQ(thread.Close(), E_PENDING);
        EXPECT_EQ(thread.WaitThread(0), E_PENDING);
        EXPECT_EQ(thread.WaitThread(0, dwResult), S_OK);
        EXPECT_EQ(dwResult, static_cast<DWORD>(WAIT_TIMEOUT));
        ::SetEvent(worker.m_hGo.Get());
        EXPECT_EQ(thread.WaitThread(20000), S_OK);
        EXPECT_EQ(thread.GetExitCodeThread(dwResult), S_OK);
        EXPECT_EQ(dwResult, 42u);
        EXPECT_EQ(thread.Close(), S_OK);
    }
}

HANDLE s_hGo;
int s_nLeft;

// Lets the waiting body go when the last expected message has been dispatched.
LRESULT CALLBACK CountMessage(HWND hWnd, UINT nMessage, WPARAM wParam, LPARAM lParam)
{
    if (nMessage != WM_APP)
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

    ::DestroyWindow(hWnd);
}

// One handle lost a check is thousands in a long run; an object that goes must have waited for its body. New handles
// take the lowest free value, so lost ones show in the value of the next. (The platform's own count is not to be had
// everywhere.)
TEST(Thread, LeaksNothingInManyRounds)
{
    CWorker worker;
    std::uintptr_t aNext[2]; // before and behind
    for (std::uintptr_t& rnNext : aNext)
    {
        for (int n = 0; n < 200; ++n)
            OpdBeginThread(&worker, &CWorker::Count);
        rnNext = reinterpret_cast<std::uintptr_t>(CKernelHandle(::CreateEventW(nullptr, FALSE, FALSE, nullptr)).Get());
    }
    EXPECT_EQ(worker.m_nCount, 400);
    EXPECT_LE(aNext[1], aNext[0] + 40);
}

} // namespace
