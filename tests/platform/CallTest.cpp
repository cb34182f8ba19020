#include <gtest/gtest.h>

#include "platform/ForeignCall.h"

namespace
{

constexpr DWORD ForeignCode = 0xE06D7363;

DWORD FirstFrame()
{
    DWORD dwFrame;
    __asm__ volatile("movl %%fs:0, %0" : "=r"(dwFrame));
    return dwFrame;
}

// A guard that leaves its frame in the chain, or loses a register, breaks the run long after the call.
TEST(ForeignCall, AnswersTheCodeAndLeavesNoFrame)
{
    const DWORD dwFrame = FirstFrame();
    auto raise = [] { ::RaiseException(ForeignCode, 0, 0, nullptr); };
    DWORD dwInner = 0;
    auto nested = [&] {
        dwInner = CallForeign(raise);
        raise();
    };
    DWORD dwSum = 0;
    for (DWORD n = 0; n < 100; ++n)
        dwSum += n + (CallForeign(raise) == ForeignCode ? 0u : 1000u);
    EXPECT_EQ(dwSum, 4950u);
    EXPECT_EQ(CallForeign(nested), ForeignCode);
    EXPECT_EQ(dwInner, ForeignCode);
    EXPECT_EQ(FirstFrame(), dwFrame);
}

} // namespace
