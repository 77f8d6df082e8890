#include "session/silence_watch.h"

#include <gtest/gtest.h>

#include <algorithm>

#include "listed_session.h"

namespace {

using namespace kelp::test;
using namespace NS_KELPCORBA;

/// The thread bodies are plain functions, so the test's list is global.
SilenceWatch* theSilenceWatch = nullptr;

ACE_THR_FUNC_RETURN leaveAfterActivity(void* argument) {
    auto* const session = static_cast<EmsSession_IImpl*>(argument);
    std::uint64_t seen = 0;
    session->wakePoint().wait(
        86400, seen, [] { return true; }, [] { return true; });
    theSilenceWatch->leave(session);
    return nullptr;
}

class SilenceWatchTest : public testing::Test {
  protected:
    SilenceWatchTest() { theSilenceWatch = &watch_; }
    ~SilenceWatchTest() override { signalAll(); }

    void signalAll() {
        std::vector<SessionRef> pinned;
        watch_.pinAll(pinned);
        for (const SessionRef& each : pinned)
            each->wakePoint().signalActivity();
        watch_.threads().wait();
    }

    SilenceWatch watch_;
    const SessionRef session_ = makeSession("10.0.0.1:5000", "admin");
};

TEST_F(SilenceWatchTest, KeepsASessionUntilItsThreadHasEnded) {
    EXPECT_FALSE(watch_.isAny());
    ASSERT_TRUE(watch_.spawn(session_.get(), &leaveAfterActivity));
    EXPECT_TRUE(watch_.isAny());
    EXPECT_EQ(session_->_refcount_value(), 2u);
    EXPECT_NE(session_->waitingThread(), 0u);
    signalAll();
    EXPECT_FALSE(watch_.isAny());
    EXPECT_EQ(session_->_refcount_value(), 1u);
}

TEST_F(SilenceWatchTest, PinsEveryRegistrationAndKeepsWhatTheCallerHas) {
    const SessionRef other = makeSession("10.0.0.2:5000", "admin");
    ASSERT_TRUE(watch_.spawn(session_.get(), &leaveAfterActivity));
    ASSERT_TRUE(watch_.spawn(session_.get(), &leaveAfterActivity));
    ASSERT_TRUE(watch_.spawn(other.get(), &leaveAfterActivity));
    std::vector<SessionRef> pinned;
    pinned.push_back(SessionRef::pin(other.get()));
    watch_.pinAll(pinned);
    ASSERT_EQ(pinned.size(), 4u);
    EXPECT_EQ(pinned[0].get(), other.get());
    const auto isSession = [this](const SessionRef& each) { return each.get() == session_.get(); };
    EXPECT_EQ(std::count_if(pinned.begin(), pinned.end(), isSession), 2);
}

TEST_F(SilenceWatchTest, CountsEachRegistrationOfASession) {
    ASSERT_TRUE(watch_.spawn(session_.get(), &leaveAfterActivity));
    ASSERT_TRUE(watch_.spawn(session_.get(), &leaveAfterActivity));
    EXPECT_EQ(session_->_refcount_value(), 3u);
    signalAll();
    EXPECT_FALSE(watch_.isAny());
    EXPECT_EQ(session_->_refcount_value(), 1u);
}

TEST_F(SilenceWatchTest, DestroysASessionThatOnlyItsThreadHolds) {
    std::vector<SessionRef> pinned;
    {
        const SessionRef last = makeSession("10.0.0.2:5000", "admin");
        ASSERT_TRUE(watch_.spawn(last.get(), &leaveAfterActivity));
    }
    watch_.pinAll(pinned);
    ASSERT_EQ(pinned.size(), 1u);
    EXPECT_EQ(pinned[0]->source()->get_ip_and_port(), "10.0.0.2:5000");
    pinned.clear();
    signalAll();
    EXPECT_FALSE(watch_.isAny());
}

}  // namespace
