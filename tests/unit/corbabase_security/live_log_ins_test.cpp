// Which live log-ins become invalid, and how often that is reported.

#include "access/live_log_ins.h"

#include <gmock/gmock.h>
#include <gtest/gtest.h>

using namespace std::chrono_literals;
using kelp::users::UserAccount;
using NS_CORBA::LiveLogIns;
using testing::ElementsAre;
using testing::IsEmpty;

namespace {

constexpr std::int64_t kUtc = 1'800'000'000;

class LiveLogInsTest : public testing::Test {
  protected:
    LiveLogInsTest() {
        account.id = 7;
        account.name = "nms1";
        live.enter(login, account);
    }
    std::vector<LiveLogIns::Key> invalid() { return live.invalid(utc, now); }

    const LiveLogIns::Key login{"nms1", "10.0.0.1:5000"};
    UserAccount account;
    LiveLogIns live;
    std::int64_t utc = kUtc;
    LiveLogIns::Time now{1000h};
};

TEST_F(LiveLogInsTest, AnUnchangedAccountIsLeftAlone) {
    live.compare({account});
    EXPECT_THAT(invalid(), IsEmpty());
}

TEST_F(LiveLogInsTest, ADisabledAccountIsReported) {
    account.enabled = false;
    live.compare({account});
    EXPECT_THAT(invalid(), ElementsAre(login));
}

TEST_F(LiveLogInsTest, ARemovedAccountIsReportedEvenWhenItsNameIsUsedAgain) {
    live.compare({});
    EXPECT_THAT(invalid(), ElementsAre(login));
    live.leave(login);
    live.enter(login, account);
    account.id = 8;
    live.compare({account});
    EXPECT_THAT(invalid(), ElementsAre(login));
}

TEST_F(LiveLogInsTest, AChangedPasswordIsReported) {
    account.passwordNumber = 1;
    live.compare({account});
    EXPECT_THAT(invalid(), ElementsAre(login));
}

TEST_F(LiveLogInsTest, ALogInWithTheNewPasswordContinues) {
    account.passwordNumber = 1;
    live.renew(login, account);
    live.compare({account});
    EXPECT_THAT(invalid(), IsEmpty());
    EXPECT_EQ(live.count(login), 1u);
}

TEST_F(LiveLogInsTest, ACertificateThatIsNoLongerAllowedIsReported) {
    const LiveLogIns::Key bound{"nms1", "10.0.0.3:5000"};
    live.enter(bound, account, "10.0.0.3", "CN=nms1");
    account.subjects = {"CN=nms1", "CN=standby"};
    live.compare({account});
    EXPECT_THAT(invalid(), ElementsAre(login)) << "the one that showed none";
    live.leave(login);
    account.subjects = {"CN=standby"};
    live.compare({account});
    EXPECT_THAT(invalid(), ElementsAre(bound));
}

TEST_F(LiveLogInsTest, ALogInThatIsRenewedHoldsForItsNewCertificate) {
    account.subjects = {"CN=nms1"};
    live.renew(login, account, "10.0.0.1", "CN=nms1");
    live.compare({account});
    EXPECT_THAT(invalid(), IsEmpty());
}

TEST_F(LiveLogInsTest, RenewingEntersNothing) {
    const LiveLogIns::Key other{"nms1", "10.0.0.2:5000"};
    live.renew(other, account);
    EXPECT_EQ(live.count(other), 0u);
}

TEST_F(LiveLogInsTest, AnExpiringAccountIsReportedAtItsTime) {
    account.expiresUtc = kUtc + 10;
    live.compare({account});
    EXPECT_THAT(invalid(), IsEmpty());
    utc = kUtc + 9;
    EXPECT_THAT(invalid(), IsEmpty());
    utc = kUtc + 10;
    EXPECT_THAT(invalid(), ElementsAre(login));
}

TEST_F(LiveLogInsTest, AnExpiryThatWasRevokedInTimeIsNotReported) {
    account.expiresUtc = kUtc + 10;
    live.compare({account});
    account.expiresUtc.reset();
    live.compare({account});
    utc = kUtc + 20;
    EXPECT_THAT(invalid(), IsEmpty());
}

TEST_F(LiveLogInsTest, EveryLogInOfTheUserAndNoOtherIsReported) {
    const LiveLogIns::Key elsewhere{"nms1", "10.0.0.2:5000"};
    live.enter(elsewhere, account);
    live.enter(elsewhere, account);
    UserAccount other;
    other.id = 9;
    other.name = "nms2";
    live.enter({"nms2", "10.0.0.1:5000"}, other);
    account.enabled = false;
    live.compare({account, other});
    EXPECT_THAT(invalid(), ElementsAre(login, elsewhere, elsewhere));
}

TEST_F(LiveLogInsTest, ALogInThatStaysIsReportedAgainAfterGrowingPauses) {
    live.compare({});
    std::vector<std::chrono::milliseconds> times;
    const LiveLogIns::Time start = now;
    for (; now < start + 200s; now += 100ms) {
        if (!invalid().empty())
            times.push_back(std::chrono::duration_cast<std::chrono::milliseconds>(now - start));
    }
    EXPECT_THAT(times, ElementsAre(0ms, 300ms, 900ms, 2100ms, 4500ms, 9300ms, 18900ms, 38100ms,
                                   68100ms, 98100ms, 128100ms, 158100ms, 188100ms));
}

TEST_F(LiveLogInsTest, ALogInThatHasEndedIsNotReported) {
    live.compare({});
    live.leave(login);
    EXPECT_THAT(invalid(), IsEmpty());
    live.leave(login);
    EXPECT_EQ(live.count(login), 0u);
}

TEST_F(LiveLogInsTest, ANewLogInUnderTheSameNameOutlivesTheOldOne) {
    account.enabled = false;
    live.compare({account});
    account.enabled = true;
    live.enter(login, account);
    live.leave(login);  // the old log-in ends first
    live.compare({account});
    EXPECT_THAT(invalid(), IsEmpty());
    EXPECT_EQ(live.count(login), 1u);
}

constexpr const char* kHere = "10.0.0.1";
constexpr const char* kThere = "10.0.0.2";

class LoggedInAddresses : public LiveLogInsTest {
  protected:
    LoggedInAddresses() {
        live.leave(login);
        live.enter(login, account, kHere);
    }
};

TEST_F(LoggedInAddresses, AreThoseThatLogInsCameFrom) {
    EXPECT_TRUE(live.isFrom(kHere));
    EXPECT_FALSE(live.isFrom(kThere));
    live.leave(login);
    EXPECT_FALSE(live.isFrom(kHere));
}

TEST_F(LoggedInAddresses, AreNoneOfLogInsInsideTheProcess) {
    live.enter({"nms1", "10.0.0.9:1"}, account);
    EXPECT_FALSE(live.isFrom(""));
}

TEST_F(LoggedInAddresses, StayUntilTheLastLogInFromThereHasEnded) {
    const LiveLogIns::Key other{"nms1", "10.0.0.1:6000"};
    live.enter(other, account, kHere);
    live.enter(login, account, kHere);
    live.leave(login);
    live.leave(other);
    EXPECT_TRUE(live.isFrom(kHere));
    live.leave(login);
    EXPECT_FALSE(live.isFrom(kHere));
}

TEST_F(LoggedInAddresses, EndWithTheirAccountBeforeTheSessionHas) {
    account.enabled = false;
    live.compare({account});
    EXPECT_FALSE(live.isFrom(kHere));
    live.compare({account});
    live.leave(login);
    EXPECT_FALSE(live.isFrom(kHere));
    account.enabled = true;
    live.enter(login, account, kHere);
    EXPECT_TRUE(live.isFrom(kHere)) << "counted right after an invalid one has ended";
}

TEST_F(LoggedInAddresses, EndWithAnotherPasswordWithARemovalAndWithExpiry) {
    account.passwordNumber = 1;
    live.compare({account});
    EXPECT_FALSE(live.isFrom(kHere));

    live.enter(login, account, kThere);
    live.compare({});
    EXPECT_FALSE(live.isFrom(kThere));

    live.enter(login, account, kThere);
    account.expiresUtc = kUtc + 10;
    live.compare({account});
    invalid();
    EXPECT_TRUE(live.isFrom(kThere));
    utc = kUtc + 10;
    invalid();
    EXPECT_FALSE(live.isFrom(kThere));
}

TEST_F(LoggedInAddresses, OfOneUserStayWhenAnotherUserThereIsDisabled) {
    UserAccount other;
    other.id = 9;
    other.name = "nms2";
    live.enter({"nms2", "10.0.0.1:6000"}, other, kHere);
    account.enabled = false;
    live.compare({account, other});
    EXPECT_TRUE(live.isFrom(kHere));
    live.leave({"nms2", "10.0.0.1:6000"});
    EXPECT_FALSE(live.isFrom(kHere));
}

TEST_F(LoggedInAddresses, OfARenewedLogInAreTheOldOneAndTheNewOne) {
    live.renew(login, account, kThere);
    live.renew(login, account, kThere);
    EXPECT_TRUE(live.isFrom(kHere));
    EXPECT_TRUE(live.isFrom(kThere));
    live.leave(login);
    EXPECT_FALSE(live.isFrom(kHere));
    EXPECT_FALSE(live.isFrom(kThere));
}

TEST_F(LoggedInAddresses, OfALogInWhoseNewPasswordWasGivenCountAgain) {
    account.passwordNumber = 1;
    live.compare({account});
    EXPECT_FALSE(live.isFrom(kHere));
    live.renew(login, account, kHere);
    live.compare({account});
    EXPECT_TRUE(live.isFrom(kHere));
    live.leave(login);
    EXPECT_FALSE(live.isFrom(kHere));
}

TEST_F(LoggedInAddresses, OfALogInThatIsRenewedFromEverywhereAreTheLatest) {
    for (int i = 1; i <= 100; ++i)
        live.renew(login, account, "10.1.0." + std::to_string(i));
    EXPECT_TRUE(live.isFrom("10.1.0.100"));
    EXPECT_TRUE(live.isFrom("10.1.0.93"));
    EXPECT_FALSE(live.isFrom("10.1.0.92"));
    EXPECT_FALSE(live.isFrom(kHere));
}

TEST_F(LiveLogInsTest, ANewLogInAsksForAComparison) {
    EXPECT_TRUE(live.takeEntered());
    EXPECT_FALSE(live.takeEntered());
    live.enter({"nms1", "10.0.0.2:5000"}, account);
    EXPECT_TRUE(live.takeEntered());
}

}  // namespace
