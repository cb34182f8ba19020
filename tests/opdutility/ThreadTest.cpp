#include <gtest/gtest.h>

#include "opdutility/OpdThread.h"
#include "platform/Handle.h"

namespace
{

struct CWorker
{
    unsigned WaitForGo()
    {
        ::WaitForSingleObject(hGo.Get(), 20000);
        ::Sleep(100);
        return ++nRounds;
    }

    CKernelHandle hGo{ ::CreateEventW(nullptr, FALSE, FALSE, nullptr) };
    unsigned nRounds = 0;
};

// A second start or an early close must leave the first thread and its handle alone; an object that goes must have
// waited for its body. (What a thread leaves behind, and the pump of a waiting one, the COM checker's tests show.)
TEST(Thread, IsHeldFromStartToClose)
{
    CWorker worker;
    COpdThreadT<CWorker> thread(&worker, &CWorker::WaitForGo);
    ASSERT_EQ(thread.BeginThread(nullptr, 0, 0), S_OK);
    EXPECT_EQ(thread.BeginThread(nullptr, 0, 0), E_FAIL);
    EXPECT_EQ(thread.Close(), E_PENDING);
    EXPECT_EQ(thread.WaitThread(0), E_PENDING);
    ::SetEvent(worker.hGo.Get());
    EXPECT_EQ(thread.WaitThread(20000), S_OK);
    EXPECT_EQ(thread.Close(), S_OK);
    ::SetEvent(worker.hGo.Get());
    OpdBeginThread(&worker, &CWorker::WaitForGo);
    EXPECT_EQ(worker.nRounds, 2u);
}

} // namespace
