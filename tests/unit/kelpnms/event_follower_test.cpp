#include "events/event_follower.h"

#include <gmock/gmock.h>
#include <gtest/gtest.h>
#include <kelp/nms/error.h>

#include <vector>

#include "events/backoff.h"

namespace kelp::nms {
namespace {

using namespace std::chrono_literals;
using testing::ElementsAre;
using End = EventFollower::End;

LoginRefused refusal(globaldefs::ExceptionType_T type) {
    globaldefs::ProcessingFailureException raised;
    raised.exceptionType = type;
    raised.errorReason = "reason";
    return LoginRefused("log-in", raised);
}

/// A follower of a fake EMS. `story_` records the events of the links.
class EventFollowerTest : public testing::Test, protected FollowObserver {
  protected:
    /// The behaviour of the EMS. Each function receives the link's number, counted from 1.
    std::function<void(int)> onOpen_ = [](int) {};
    std::function<void(int)> onCheck_ = [](int) {};
    std::function<void(int)> onLeave_ = [](int) {};
    std::function<void()> onPausing_ = [] {};

    End run() {
        EventFollower follower(
            settings_,
            [this](std::function<void(const LinkLoss&)> lost) {
                lost_.push_back(std::move(lost));
                const int number = static_cast<int>(lost_.size());
                onOpen_(number);
                tell("open", number);
                return std::make_unique<FakeLink>(*this, number);
            },
            *this, signals_);
        return follower.run();
    }
    void lose(int link, bool sessionIsGone = true) {
        lost_.at(static_cast<std::size_t>(link - 1))({"said so", sessionIsGone});
    }
    void tell(const std::string& what, int number) {
        story_.push_back(what + " " + std::to_string(number));
    }

    class FakeLink : public EventLink {
      public:
        FakeLink(EventFollowerTest& test, int number) : test_(test), number_(number) {}
        ~FakeLink() override { test_.tell("gone", number_); }
        void check() override { test_.onCheck_(number_); }
        void leave() override {
            test_.onLeave_(number_);
            test_.tell("leave", number_);
        }

      private:
        EventFollowerTest& test_;
        const int number_;
    };

    void connecting() override {}
    void connected() override { ++connected_; }
    void lost(const std::string& why) override { reasons_.push_back(why); }
    void pausing(std::chrono::milliseconds pause) override {
        pauses_.push_back(pause);
        onPausing_();
    }
    void failed(const std::string& why) override { failures_.push_back(why); }
    void reconnected(std::chrono::milliseconds away) override { away_.push_back(away); }
    void notLeft(const std::string& why) override { notLeft_ = why; }
    std::optional<Clock::time_point> overdueAt() override { return overdueAt_; }
    void stoodStill() override { ++stoodStill_; }
    Clock::time_point lastSign() override { return lastSign_; }

    EventFollower::Settings settings_{true, {}, 1h, 1ms, 1h, 1ms, 4ms};
    std::shared_ptr<FollowSignals> signals_ = std::make_shared<FollowSignals>();
    std::vector<std::function<void(const LinkLoss&)>> lost_;
    std::vector<std::string> story_;
    std::vector<std::string> reasons_;
    std::vector<std::string> failures_;
    std::vector<std::chrono::milliseconds> pauses_;
    std::vector<std::chrono::milliseconds> away_;
    std::string notLeft_;
    int connected_ = 0;
    int stoodStill_ = 0;
    std::optional<Clock::time_point> overdueAt_;
    Clock::time_point lastSign_{};
};

TEST_F(EventFollowerTest, LeavesWhenTheCountIsReached) {
    onOpen_ = [this](int) { signals_->enough(); };
    EXPECT_EQ(run(), End::Enough);
    EXPECT_THAT(story_, ElementsAre("open 1", "leave 1", "gone 1"));
}

TEST_F(EventFollowerTest, LeavesWhenInterruptedWhileConnecting) {
    onOpen_ = [this](int) { signals_->interrupt(); };
    EXPECT_EQ(run(), End::Interrupted);
    EXPECT_THAT(story_, ElementsAre("open 1", "leave 1", "gone 1"));
}

TEST_F(EventFollowerTest, LeavesWhenTheTimeIsOver) {
    settings_.limit = 5ms;
    EXPECT_EQ(run(), End::TimeOver);
    EXPECT_THAT(story_, ElementsAre("open 1", "leave 1", "gone 1"));
}

TEST_F(EventFollowerTest, LogOutWithoutAnswerIsReportedAndChangesNothing) {
    onOpen_ = [this](int) { signals_->enough(); };
    onLeave_ = [](int) { throw NmsError("no answer"); };
    EXPECT_EQ(run(), End::Enough);
    EXPECT_EQ(notLeft_, "no answer");
}

TEST_F(EventFollowerTest, FirstLinkThatCannotBeOpenedIsAnError) {
    onOpen_ = [](int) { throw Unreachable("nobody there"); };
    EXPECT_THROW(run(), Unreachable);
    EXPECT_TRUE(pauses_.empty());
}

TEST_F(EventFollowerTest, EndedSessionIsReplacedWithoutACallToIt) {
    onOpen_ = [this](int link) { link == 1 ? lose(1) : signals_->enough(); };
    EXPECT_EQ(run(), End::Enough);
    EXPECT_THAT(story_, ElementsAre("open 1", "gone 1", "open 2", "leave 2", "gone 2"));
    EXPECT_THAT(reasons_, ElementsAre("said so"));
    EXPECT_EQ(connected_, 2);
}

TEST_F(EventFollowerTest, TimeAwayCountsFromTheLastEvent) {
    lastSign_ = Clock::now() + 1h;  // later than any answer
    onOpen_ = [this](int link) {
        if (link == 1)
            return lose(1);
        signals_->enough();
    };
    EXPECT_EQ(run(), End::Enough);
    ASSERT_EQ(away_.size(), 1u);
    EXPECT_LT(away_[0], 0ms);
}

TEST_F(EventFollowerTest, TimeAwayCountsFromTheLastAnswerWhenNoEventCame) {
    const auto begin = Clock::now();
    onOpen_ = [this](int link) { link == 1 ? lose(1) : signals_->enough(); };
    EXPECT_EQ(run(), End::Enough);
    ASSERT_EQ(away_.size(), 1u);
    EXPECT_GE(away_[0], 0ms);
    EXPECT_LE(away_[0], Clock::now() - begin);
}

TEST_F(EventFollowerTest, DisconnectedConsumersSessionIsLeftBeforeTheNextLogIn) {
    onOpen_ = [this](int link) { link == 1 ? lose(1, false) : signals_->enough(); };
    EXPECT_EQ(run(), End::Enough);
    EXPECT_THAT(story_, ElementsAre("open 1", "leave 1", "gone 1", "open 2", "leave 2", "gone 2"));
}

TEST_F(EventFollowerTest, DisconnectedConsumersSessionThatDoesNotAnswerIsDropped) {
    onOpen_ = [this](int link) { link == 1 ? lose(1, false) : signals_->enough(); };
    onCheck_ = [](int) { throw NmsError("TRANSIENT"); };
    EXPECT_EQ(run(), End::Enough);
    EXPECT_THAT(story_, ElementsAre("open 1", "gone 1", "open 2", "leave 2", "gone 2"));
}

TEST_F(EventFollowerTest, SessionThatDoesNotAnswerIsLost) {
    settings_.checkInterval = 0ms;
    onCheck_ = [this](int link) {
        if (link == 1)
            throw NmsError("ping: TRANSIENT");
        signals_->enough();
    };
    EXPECT_EQ(run(), End::Enough);
    EXPECT_THAT(story_, ElementsAre("open 1", "gone 1", "open 2", "leave 2", "gone 2"));
    EXPECT_THAT(reasons_, ElementsAre("ping: TRANSIENT"));
}

TEST_F(EventFollowerTest, OverdueHeartbeatIsALoss) {
    overdueAt_ = Clock::now();
    onOpen_ = [this](int link) {
        if (link == 2) {
            overdueAt_.reset();
            signals_->enough();
        }
    };
    EXPECT_EQ(run(), End::Enough);
    EXPECT_THAT(story_, ElementsAre("open 1", "leave 1", "gone 1", "open 2", "leave 2", "gone 2"));
    EXPECT_THAT(reasons_, ElementsAre(testing::HasSubstr("a heartbeat is overdue")));
}

TEST_F(EventFollowerTest, HeartbeatThatIsNotOverdueYetIsNoLoss) {
    overdueAt_ = Clock::now() + 1h;
    settings_.limit = 5ms;
    EXPECT_EQ(run(), End::TimeOver);
    EXPECT_TRUE(reasons_.empty());
}

TEST_F(EventFollowerTest, StandingStillIsNoticed) {
    settings_.sleepNoticed = -1h;  // every check is considered late
    settings_.limit = 5ms;
    EXPECT_EQ(run(), End::TimeOver);
    EXPECT_GT(stoodStill_, 0);
}

TEST_F(EventFollowerTest, LooksInTimeAreNoStandingStill) {
    settings_.limit = 5ms;
    EXPECT_EQ(run(), End::TimeOver);
    EXPECT_EQ(stoodStill_, 0);
}

TEST_F(EventFollowerTest, LossEndsTheFollowingWithoutReconnecting) {
    settings_.reconnect = false;
    onOpen_ = [this](int) { lose(1); };
    EXPECT_EQ(run(), End::Lost);
    EXPECT_THAT(story_, ElementsAre("open 1", "gone 1"));
    EXPECT_THAT(reasons_, ElementsAre("said so"));
    EXPECT_TRUE(pauses_.empty());
}

TEST_F(EventFollowerTest, PausesDoubleUpToTheLongestAndStartOverWithTheNextLoss) {
    onOpen_ = [this](int attempt) {
        if (attempt == 1 || attempt == 6)
            return lose(attempt);
        if (attempt < 6)
            throw Unreachable("nobody there");
        signals_->enough();
    };
    EXPECT_EQ(run(), End::Enough);
    EXPECT_THAT(pauses_, ElementsAre(1ms, 2ms, 4ms, 4ms, 4ms, 1ms));
    EXPECT_EQ(failures_.size(), 4u);
    EXPECT_EQ(away_.size(), 2u);
}

TEST_F(EventFollowerTest, BackoffGoesFromOneToThirtySeconds) {
    Backoff backoff(EventFollower::Settings{}.firstPause, EventFollower::Settings{}.longestPause);
    for (const auto pause : {1s, 2s, 4s, 8s, 16s, 30s, 30s})
        EXPECT_EQ(backoff.next(), pause);
}

TEST_F(EventFollowerTest, InterruptEndsThePauseAtOnce) {
    settings_.firstPause = settings_.longestPause = 1h;
    onOpen_ = [this](int) { lose(1); };
    onPausing_ = [this] {
        EXPECT_FALSE(signals_->isConnected());
        signals_->interrupt();
    };
    EXPECT_EQ(run(), End::Interrupted);
    EXPECT_THAT(story_, ElementsAre("open 1", "gone 1"));
}

TEST_F(EventFollowerTest, ThePauseEndsWithTheTime) {
    settings_.firstPause = settings_.longestPause = 1h;
    settings_.limit = 20ms;
    onOpen_ = [this](int) { lose(1); };
    EXPECT_EQ(run(), End::TimeOver);
}

TEST_F(EventFollowerTest, InterruptDuringAnAttemptLeavesWhatItOpened) {
    onOpen_ = [this](int link) { link == 1 ? lose(1) : signals_->interrupt(); };
    EXPECT_EQ(run(), End::Interrupted);
    EXPECT_THAT(story_, ElementsAre("open 1", "gone 1", "open 2", "leave 2", "gone 2"));
}

TEST_F(EventFollowerTest, UserWhoIsRefusedNowEndsTheFollowing) {
    onOpen_ = [this](int attempt) {
        if (attempt > 1)
            throw refusal(globaldefs::EXCPT_ACCESS_DENIED);
        lose(1);
    };
    EXPECT_THROW(run(), LoginRefused);
    EXPECT_EQ(pauses_.size(), 1u);
}

TEST_F(EventFollowerTest, FilterThatIsRefusedNowEndsTheFollowing) {
    onOpen_ = [this](int attempt) {
        if (attempt > 1)
            throw FilterRefused("no constraint");
        lose(1);
    };
    EXPECT_THROW(run(), FilterRefused);
    EXPECT_EQ(pauses_.size(), 1u);
}

TEST_F(EventFollowerTest, OtherRefusalsAreTriedAgain) {
    onOpen_ = [this](int attempt) {
        if (attempt == 1)
            return lose(1);
        if (attempt == 2)
            throw refusal(globaldefs::EXCPT_UNABLE_TO_COMPLY);
        signals_->enough();
    };
    EXPECT_EQ(run(), End::Enough);
    EXPECT_EQ(failures_.size(), 1u);
}

TEST_F(EventFollowerTest, LateNoticeOfAnOldLinkDoesNotAffectTheNewOne) {
    settings_.checkInterval = 0ms;
    onOpen_ = [this](int) { lose(1); };
    onCheck_ = [this](int) { signals_->enough(); };
    EXPECT_EQ(run(), End::Enough);
    EXPECT_THAT(story_, ElementsAre("open 1", "gone 1", "open 2", "leave 2", "gone 2"));
}

}  // namespace
}  // namespace kelp::nms
