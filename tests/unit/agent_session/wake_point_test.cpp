#include "session/wake_point.h"

#include <gtest/gtest.h>

#include <atomic>
#include <chrono>
#include <thread>

#include "support/wait_until.h"
#include "util/agent_state.h"

namespace {

using namespace kelp::test;
using namespace NS_KELPCORBA;

constexpr int kForEver = 86400;

class WakePointTest : public testing::Test {
  protected:
    WakePointTest() { AgentState::instance().exitRequested = false; }
    ~WakePointTest() override { AgentState::instance().exitRequested = false; }

    WaitEnd wait(int seconds) {
        return point_.wait(
            seconds, seen_, [this] { return isMine_.load(); },
            [this] {
                ++ends_;
                return canEnd_.load();
            });
    }

    WakePoint point_;
    std::uint64_t seen_ = 0;
    std::atomic<bool> isMine_{true};
    std::atomic<bool> canEnd_{true};
    int ends_ = 0;
};

TEST_F(WakePointTest, TimesOutAndEndsTheSession) {
    EXPECT_EQ(wait(0), WaitEnd::TimedOut);
    EXPECT_EQ(ends_, 1);
}

TEST_F(WakePointTest, DoesNotTimeOutWhenTheSessionIsNoLongerItsOwnToEnd) {
    canEnd_ = false;
    EXPECT_EQ(wait(0), WaitEnd::NotWaited);
}

TEST_F(WakePointTest, RemembersASignalThatCameBeforeTheWait) {
    point_.signalActivity();
    EXPECT_EQ(wait(kForEver), WaitEnd::Activity);
    EXPECT_EQ(wait(0), WaitEnd::TimedOut) << "once";
}

TEST_F(WakePointTest, TakesSignalsOfOneMomentTogether) {
    point_.signalActivity();
    point_.signalActivity();
    EXPECT_EQ(wait(kForEver), WaitEnd::Activity);
    EXPECT_EQ(wait(0), WaitEnd::TimedOut);
}

TEST_F(WakePointTest, PrefersASignalOverATimeOut) {
    point_.signalActivity();
    EXPECT_EQ(wait(0), WaitEnd::Activity);
    EXPECT_EQ(ends_, 0);
}

TEST_F(WakePointTest, DoesNotWaitForASessionInAnotherState) {
    isMine_ = false;
    EXPECT_EQ(wait(kForEver), WaitEnd::NotWaited);
    EXPECT_EQ(ends_, 0);
}

TEST_F(WakePointTest, LeavesAtTheExitWhateverElseThereIs) {
    AgentState::instance().exitRequested = true;
    point_.signalActivity();
    isMine_ = false;
    EXPECT_EQ(wait(kForEver), WaitEnd::AgentExits);
    EXPECT_EQ(ends_, 0);
}

TEST_F(WakePointTest, IsWokenByASignal) {
    std::thread nms([&] { point_.signalActivity(); });
    EXPECT_EQ(wait(kForEver), WaitEnd::Activity);
    nms.join();
}

TEST_F(WakePointTest, IsWokenWhenTheStateHasChanged) {
    std::thread end([&] {
        isMine_ = false;
        point_.wake();
    });
    EXPECT_EQ(wait(kForEver), WaitEnd::NotWaited);
    end.join();
}

TEST_F(WakePointTest, IsWokenByTheExit) {
    std::thread stop([&] {
        AgentState::instance().exitRequested = true;
        point_.wake();
    });
    EXPECT_EQ(wait(kForEver), WaitEnd::AgentExits);
    stop.join();
}

TEST_F(WakePointTest, WaitsOnWhenItIsWokenForNothing) {
    std::atomic<bool> stop{false};
    std::thread noise([&] {
        while (!stop)
            point_.wake();
    });
    const auto begin = std::chrono::steady_clock::now();
    EXPECT_EQ(wait(3), WaitEnd::TimedOut);
    // the wait counts whole seconds of the wall clock, and a part of the first one has already
    // passed
    EXPECT_GE(std::chrono::steady_clock::now() - begin, std::chrono::milliseconds(1900));
    stop = true;
    noise.join();
}

TEST_F(WakePointTest, LosesNoLastSignal) {
    // each signal is answered before the next one is sent, so a lost signal would block the waiter
    constexpr int signals = 2000;
    std::atomic<int> answered{0};
    std::thread waiter([&] {
        for (int i = 0; i < signals; ++i) {
            if (wait(kForEver) != WaitEnd::Activity)
                return;
            ++answered;
        }
    });
    bool isAnswered = true;
    for (int i = 0; i < signals && isAnswered; ++i) {
        point_.signalActivity();
        isAnswered = waitUntil([&] { return answered > i; });
    }
    EXPECT_TRUE(isAnswered) << "signal " << answered << " was lost";
    AgentState::instance().exitRequested = true;
    point_.wake();
    waiter.join();
}

TEST_F(WakePointTest, ServesSeveralWaiters) {
    std::atomic<int> woken{0};
    std::vector<std::thread> waiters;
    for (int i = 0; i < 3; ++i) {
        waiters.emplace_back([&] {
            std::uint64_t seen = 0;
            const auto yes = [] { return true; };
            if (point_.wait(kForEver, seen, yes, yes) == WaitEnd::Activity)
                ++woken;
        });
    }
    point_.signalActivity();
    for (std::thread& each : waiters)
        each.join();
    EXPECT_EQ(woken, 3);
}

TEST_F(WakePointTest, EndsNothingOnceASignalHasCome) {
    std::atomic<bool> stop{false};
    std::atomic<std::uint64_t> signals{0};
    std::thread nms([&] {
        while (!stop) {
            point_.signalActivity();
            ++signals;
        }
    });
    // Both functions are called under the lock. Between the calls, at most the counting of an
    // earlier signal is late.
    std::uint64_t signalsBefore = 0;
    for (int i = 0; i < 20000 && !HasFailure(); ++i) {
        point_.wait(
            0, seen_,
            [&] {
                signalsBefore = signals;
                return true;
            },
            [&] {
                EXPECT_LE(signals - signalsBefore, 1u) << "ended in spite of a signal";
                return true;
            });
    }
    stop = true;
    nms.join();
}

}  // namespace
