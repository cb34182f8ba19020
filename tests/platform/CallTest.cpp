#include <gmock/gmock.h>

#include "platform/AppModule.h"
#include "platform/ForeignCall.h"

namespace
{

constexpr DWORD ForeignCode = 0xE06D7363;
constexpr DWORD OtherCode = 0xE0001234;

void Raise(DWORD dwCode)
{
    ::RaiseException(dwCode, 0, 0, nullptr);
}

DWORD FirstFrame()
{
    DWORD dwFrame;
    __asm__ volatile("movl %%fs:0, %0" : "=r"(dwFrame));
    return dwFrame;
}

LONG WINAPI GoOnAfterOther(EXCEPTION_POINTERS* pInfo)
{
    return pInfo->ExceptionRecord->ExceptionCode == OtherCode ? EXCEPTION_CONTINUE_EXECUTION : EXCEPTION_CONTINUE_SEARCH;
}

// A guard that leaves its frame in the chain, or loses a register, breaks the run long after the call.
TEST(ForeignCall, AnswersTheCodeAndLeavesNoFrame)
{
    const DWORD dwFrame = FirstFrame();
    auto fine = [] {};
    auto raise = [] { Raise(ForeignCode); };
    DWORD dwInner = 0;
    auto nested = [&] {
        dwInner = CallForeign(raise);
        Raise(ForeignCode);
    };
    auto healed = [&] { dwInner = CallForeign(raise); };
    DWORD dwSum = 0;
    for (DWORD n = 0; n < 100; ++n)
        dwSum += n + (CallForeign(raise) == ForeignCode ? 0u : 1000u);
    EXPECT_EQ(dwSum, 4950u);
    EXPECT_EQ(CallForeign(fine), 0u);
    EXPECT_EQ(CallForeign(nested), ForeignCode);
    EXPECT_EQ(dwInner, ForeignCode);
    dwInner = 0;
    EXPECT_EQ(CallForeign(healed), 0u);
    EXPECT_EQ(dwInner, ForeignCode);
    EXPECT_EQ(FirstFrame(), dwFrame);
}

// Another structured exception is nobody's to swallow: it must come to whoever stands behind the guard.
TEST(ForeignCall, PassesOtherCodesOn)
{
    const auto pBefore = ::SetUnhandledExceptionFilter(GoOnAfterOther);
    bool bWentOn = false;
    auto raise = [&] {
        Raise(OtherCode);
        bWentOn = true;
    };
    EXPECT_EQ(CallForeign(raise), 0u);
    EXPECT_TRUE(bWentOn);
    ::SetUnhandledExceptionFilter(pBefore);
}

// A quit message that a modal loop has swallowed would leave the program running without a window.
TEST(MessageLoop, EndsByQuitOrWhenIdleSaysSo)
{
    CMessageLoop loop;
    ::PostQuitMessage(7);
    EXPECT_EQ(loop.Run(), 7);

    int nAsked = 0;
    loop.SetIdleQuit([&] {
        if (++nAsked < 3)
            ::PostThreadMessageW(::GetCurrentThreadId(), WM_APP, 0, 0);
        return nAsked == 3;
    });
    EXPECT_EQ(loop.Run(), 0);
    EXPECT_EQ(nAsked, 3);
    MSG Message;
    EXPECT_FALSE(::PeekMessageW(&Message, nullptr, WM_APP, WM_APP, PM_REMOVE)) << "left in the queue";
}

} // namespace
