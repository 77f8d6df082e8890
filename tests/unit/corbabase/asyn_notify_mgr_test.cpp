#include <gtest/gtest.h>
#include <kelp/corbabase/asyn_notify_mgr.h>

#include <atomic>
#include <stdexcept>
#include <thread>

#include "support/latch.h"
#include "support/trace_capture.h"
#include "support/wait_until.h"

using kelp::test::Latch;
using kelp::test::waitUntil;
using NS_CORBA::AsynNotifyMgr;

namespace {

class AsynNotifyMgrTest : public testing::Test {
  protected:
    ~AsynNotifyMgrTest() override { AsynNotifyMgr::Destroy(); }
    AsynNotifyMgr& manager() { return *AsynNotifyMgr::Instance(); }
};

TEST_F(AsynNotifyMgrTest, RunsTasksOnItsOwnThreads) {
    ASSERT_TRUE(manager().Init());
    std::atomic<bool> elsewhere{false};
    ASSERT_TRUE(manager().Post([&, caller = std::this_thread::get_id()] {
        elsewhere = std::this_thread::get_id() != caller;
    }));
    EXPECT_TRUE(waitUntil([&] { return manager().Finished() == 1; }));
    EXPECT_TRUE(elsewhere);
}

TEST_F(AsynNotifyMgrTest, RefusesTasksBeforeInitAndAfterExitThread) {
    EXPECT_FALSE(manager().Post([] {}));
    ASSERT_TRUE(manager().Init());
    manager().ExitThread();
    EXPECT_FALSE(manager().Post([] {}));
    EXPECT_EQ(manager().Finished(), 0u);
    EXPECT_EQ(manager().Dropped(), 0u);
}

TEST_F(AsynNotifyMgrTest, IsFullAtAThousandWaitingTasks) {
    ASSERT_TRUE(manager().Init());
    Latch gate;
    ASSERT_TRUE(manager().Post([&] { gate.pass(); }));
    ASSERT_TRUE(manager().Post([&] { gate.pass(); }));
    ASSERT_TRUE(gate.isReachedBy(2));
    int taken = 0;
    while (taken < 2000 && manager().Post([] {}))
        ++taken;
    EXPECT_EQ(taken, 1000);
    gate.open();
    EXPECT_TRUE(waitUntil([&] { return manager().Finished() == 1002; }));
}

TEST_F(AsynNotifyMgrTest, ExitThreadFinishesWhatRunsAndDropsTheRest) {
    ASSERT_TRUE(manager().Init());
    Latch gate;
    for (int i = 0; i < 2; ++i)
        ASSERT_TRUE(manager().Post([&] { gate.pass(); }));
    ASSERT_TRUE(gate.isReachedBy(2));
    for (int i = 0; i < 5; ++i)
        ASSERT_TRUE(manager().Post([] {}));
    std::thread exiting([&] { manager().ExitThread(); });
    EXPECT_TRUE(waitUntil([&] { return manager().Dropped() == 5; }));
    gate.open();
    exiting.join();
    EXPECT_EQ(manager().Finished(), 2u);
    EXPECT_EQ(manager().Dropped(), 5u);
}

TEST_F(AsynNotifyMgrTest, AFailingTaskIsTracedAndTheNextOneRuns) {
    const kelp::test::TraceCapture capture;
    ASSERT_TRUE(manager().Init());
    ASSERT_TRUE(manager().Post([] { throw std::runtime_error("disk full"); }));
    ASSERT_TRUE(manager().Post([] { throw 7; }));
    ASSERT_TRUE(manager().Post([] {}));
    EXPECT_TRUE(waitUntil([&] { return manager().Finished() == 3; }));
    EXPECT_TRUE(capture.contains("A task failed! disk full"));
    EXPECT_TRUE(capture.contains("exception of unknown type"));
}

TEST_F(AsynNotifyMgrTest, StartsAgainAfterExitThread) {
    ASSERT_TRUE(manager().Init());
    manager().ExitThread();
    manager().ExitThread();
    ASSERT_TRUE(manager().Init());
    ASSERT_TRUE(manager().Post([] {}));
    EXPECT_TRUE(waitUntil([&] { return manager().Finished() == 1; }));
}

TEST(AsynNotifyMgrInstance, DestroyWithoutInstanceIsHarmless) {
    AsynNotifyMgr::Destroy();
    EXPECT_EQ(AsynNotifyMgr::Instance(), AsynNotifyMgr::Instance());
    AsynNotifyMgr::Destroy();
    AsynNotifyMgr::Destroy();
}

}  // namespace
