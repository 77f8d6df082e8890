#include <ace/Thread_Manager.h>
#include <gtest/gtest.h>
#include <kelp/appmgr/task_mgr.h>
#include <kelp/util/stopping.h>

#include <atomic>
#include <future>
#include <memory>
#include <mutex>
#include <set>
#include <stdexcept>
#include <thread>

#include "support/trace_capture.h"
#include "support/virtual_slot.h"
#include "support/wait_until.h"

namespace {

using kelp::test::slotOf;
using kelp::test::waitUntil;

constexpr int kType = 21;

/// Keeps workers busy until it is opened.
class Gate {
  public:
    KelpTaskMgr::Work holdingWork() {
        return [this] {
            ++held_;
            opened_.wait();
        };
    }
    bool holds(int workers) {
        return waitUntil([&] { return held_ == workers; });
    }
    void open() { open_.set_value(); }

  private:
    std::atomic<int> held_{0};
    std::promise<void> open_;
    std::shared_future<void> opened_ = open_.get_future().share();
};

class GnlTaskMgr : public testing::Test {
  protected:
    ACE_Thread_Manager threads;
    std::unique_ptr<KelpGnlTaskMgr> taskMgr =
        std::make_unique<KelpGnlTaskMgr>(KelpAppMgr::Instance(), &threads, kType, 2);
};

TEST(TaskMgr, OrderOfTheVirtualOperationsIsTheContractWithModules) {
    EXPECT_EQ(slotOf(&KelpTaskMgr::InitEnv), 2) << "after the destructors";
    EXPECT_EQ(slotOf(&KelpTaskMgr::Post), 3);
    EXPECT_EQ(slotOf(&KelpTaskMgr::Exit), 4);
    EXPECT_EQ(slotOf(&KelpTaskMgr::Type), 5);
}

TEST_F(GnlTaskMgr, RunsPostedWorkOnItsWorkers) {
    EXPECT_EQ(taskMgr->Type(), kType);
    ASSERT_EQ(taskMgr->InitEnv(), 0);
    std::mutex mutex;
    std::set<std::thread::id> workers;
    Gate gate;
    std::atomic<int> done{0};
    const auto work = [&] {
        {
            const std::lock_guard guard(mutex);
            workers.insert(std::this_thread::get_id());
        }
        gate.holdingWork()();
        ++done;
    };
    ASSERT_TRUE(taskMgr->Post(work));
    ASSERT_TRUE(taskMgr->Post(work));
    ASSERT_TRUE(gate.holds(2));
    gate.open();
    EXPECT_TRUE(waitUntil([&] { return done == 2; }));
    EXPECT_EQ(workers.size(), 2u);
    EXPECT_EQ(workers.count(std::this_thread::get_id()), 0u);
}

TEST_F(GnlTaskMgr, HasTheRequestedNumberOfWorkersOnTheGivenThreadManager) {
    ASSERT_EQ(taskMgr->InitEnv(), 0);
    EXPECT_EQ(threads.count_threads(), 2u);
    taskMgr->Exit();
    EXPECT_EQ(threads.count_threads(), 0u);
}

TEST_F(GnlTaskMgr, WorkPostedBeforeTheStartIsKept) {
    std::atomic<bool> done{false};
    EXPECT_TRUE(taskMgr->Post([&] { done = true; }));
    ASSERT_EQ(taskMgr->InitEnv(), 0);
    EXPECT_TRUE(waitUntil([&] { return done.load(); }));
}

TEST_F(GnlTaskMgr, StartsOnce) {
    EXPECT_EQ(taskMgr->InitEnv(), 0);
    EXPECT_EQ(taskMgr->InitEnv(), -1);
    taskMgr->Exit();
    EXPECT_EQ(taskMgr->InitEnv(), -1);
}

TEST_F(GnlTaskMgr, ExitFinishesRunningWorkAndDropsQueuedWork) {
    ASSERT_EQ(taskMgr->InitEnv(), 0);
    Gate gate;
    std::atomic<int> done{0};
    for (int i = 0; i < 2; ++i) {
        ASSERT_TRUE(taskMgr->Post([&, held = gate.holdingWork()] {
            held();
            ++done;
        }));
    }
    ASSERT_TRUE(gate.holds(2));
    const auto owned = std::make_shared<int>(0);
    for (int i = 0; i < 5; ++i)
        ASSERT_TRUE(taskMgr->Post([&, owned] { ++done; }));
    std::thread ending([&] { taskMgr->Exit(); });
    EXPECT_TRUE(waitUntil([&] { return taskMgr->Dropped() == 5; }));
    EXPECT_TRUE(waitUntil([&] { return owned.use_count() == 1; }))
        << "dropped work is destroyed at once";
    gate.open();
    ending.join();
    EXPECT_EQ(done, 2);
}

TEST_F(GnlTaskMgr, ExitAbandonsWorkThatKeepsRunningWhileTheProcessStops) {
    ASSERT_EQ(taskMgr->InitEnv(), 0);
    const kelp::test::TraceCapture trace;
    Gate gate;
    ASSERT_TRUE(taskMgr->Post(gate.holdingWork()));
    ASSERT_TRUE(gate.holds(1));
    kelp::util::beginStop();
    taskMgr->Exit();
    EXPECT_TRUE(kelp::util::isAnythingLeftRunning());
    EXPECT_TRUE(trace.contains("work of task manager 21 still runs"));
    taskMgr.reset();
    gate.open();
    // the worker that was left running ends as well
    threads.wait();
    kelp::util::endStop();
}

TEST_F(GnlTaskMgr, ExitGivesUpWaitingWhenTheProcessBeginsToStop) {
    ASSERT_EQ(taskMgr->InitEnv(), 0);
    Gate gate;
    ASSERT_TRUE(taskMgr->Post(gate.holdingWork()));
    ASSERT_TRUE(gate.holds(1));
    auto ending = std::async(std::launch::async, [&] { taskMgr->Exit(); });
    EXPECT_EQ(ending.wait_for(std::chrono::milliseconds(100)), std::future_status::timeout);
    kelp::util::beginStop();
    EXPECT_EQ(ending.wait_for(std::chrono::seconds(30)), std::future_status::ready);
    gate.open();
    threads.wait();
    kelp::util::endStop();
}

TEST_F(GnlTaskMgr, RefusesWorkWhileEnding) {
    ASSERT_EQ(taskMgr->InitEnv(), 0);
    taskMgr->Exit();
    EXPECT_FALSE(taskMgr->Post([] {}));
    EXPECT_EQ(taskMgr->Dropped(), 0u);
    taskMgr->Exit();
}

TEST_F(GnlTaskMgr, FullQueueRefusesWork) {
    int taken = 0;
    while (taken < 1000000 && taskMgr->Post([] {}))
        ++taken;
    EXPECT_EQ(taken, 10000);
    taskMgr->Exit();
    EXPECT_EQ(taskMgr->Dropped(), 10000u);
}

TEST_F(GnlTaskMgr, EmptyWorkIsRefused) {
    EXPECT_FALSE(taskMgr->Post(KelpTaskMgr::Work()));
}

TEST_F(GnlTaskMgr, WorkThatThrowsIsTracedAndCostsNoWorker) {
    const kelp::test::TraceCapture trace;
    ASSERT_EQ(taskMgr->InitEnv(), 0);
    for (int i = 0; i < 10; ++i)
        ASSERT_TRUE(taskMgr->Post([] { throw std::runtime_error("work is broken"); }));
    std::atomic<bool> done{false};
    ASSERT_TRUE(taskMgr->Post([&] { done = true; }));
    EXPECT_TRUE(waitUntil([&] { return done.load(); }));
    taskMgr->Exit();
    EXPECT_EQ(trace.count("work of task manager 21 threw: work is broken"), 10u);
}

TEST_F(GnlTaskMgr, DestructionEndsTheWorkers) {
    ASSERT_EQ(taskMgr->InitEnv(), 0);
    taskMgr.reset();
    EXPECT_EQ(threads.count_threads(), 0u);
}

TEST_F(GnlTaskMgr, WorkMayEndAndDeleteItsOwnTaskManager) {
    ASSERT_EQ(taskMgr->InitEnv(), 0);
    std::atomic<bool> ended{false};
    ASSERT_TRUE(taskMgr->Post([&] {
        taskMgr->Exit();
        taskMgr.reset();
        ended = true;
    }));
    EXPECT_TRUE(waitUntil([&] { return ended.load(); }));
    threads.wait();
    EXPECT_EQ(threads.count_threads(), 0u);
}

TEST(GnlTaskMgrDefaults, ReplaceAMissingThreadManagerAndWorkerCount) {
    KelpGnlTaskMgr taskMgr(nullptr, nullptr, 7, 0);
    ASSERT_EQ(taskMgr.InitEnv(), 0);
    std::atomic<bool> done{false};
    ASSERT_TRUE(taskMgr.Post([&] { done = true; }));
    EXPECT_TRUE(waitUntil([&] { return done.load(); }));
    taskMgr.Exit();
}

}  // namespace
