// The throttle for failed log-ins, on a clock controlled by the test.

#include "access/log_in_throttle.h"

#include <gtest/gtest.h>
#include <kelp/orb/request.h>

using namespace std::chrono_literals;
using NS_CORBA::LoginOrigin;
using NS_CORBA::LogInThrottle;
using NS_CORBA::originOf;

namespace {

constexpr LogInThrottle::Limits kLimits{5, 300s};

LoginOrigin at(const std::string& address) {
    return {address, address};
}

class LogInThrottleTest : public testing::Test {
  protected:
    /// Fail this number of times with a wrong password, without waiting. Return the last lock-out.
    std::optional<std::chrono::seconds> fail(const std::string& user, const LoginOrigin& origin,
                                             int times = 1) {
        std::optional<std::chrono::seconds> lockout;
        for (int i = 0; i < times; ++i)
            lockout = throttle.failed(user, origin, now, kLimits);
        return lockout;
    }
    bool refuses(const std::string& user, const LoginOrigin& origin) const {
        return throttle.refuses(user, origin, now);
    }
    /// Advance the clock until an attempt is accepted. Return how many seconds that took.
    std::chrono::seconds waitUntilTaken(const std::string& user, const LoginOrigin& origin) {
        std::chrono::seconds waited{0};
        for (; refuses(user, origin) && waited < 24h; ++waited)
            now += 1s;
        return waited;
    }

    LogInThrottle throttle{1000};
    LogInThrottle::Time now{1000h};
};

TEST_F(LogInThrottleTest, AllowsTheConfiguredNumberOfFailures) {
    EXPECT_EQ(fail("nms1", at("10.0.0.1"), 4), std::nullopt);
    EXPECT_FALSE(refuses("nms1", at("10.0.0.1")));
    EXPECT_EQ(fail("nms1", at("10.0.0.1")), 300s);
    EXPECT_TRUE(refuses("nms1", at("10.0.0.1")));
}

TEST_F(LogInThrottleTest, LocksOutOneUserAtOneAddressOnly) {
    fail("nms1", at("10.0.0.1"), 5);
    EXPECT_FALSE(refuses("nms1", at("10.0.0.2")));
    EXPECT_FALSE(refuses("nms2", at("10.0.0.1")));
}

TEST_F(LogInThrottleTest, ALockOutEndsAfterItsTime) {
    fail("nms1", at("10.0.0.1"), 5);
    now += 299s;
    EXPECT_TRUE(refuses("nms1", at("10.0.0.1")));
    now += 1s;
    EXPECT_FALSE(refuses("nms1", at("10.0.0.1")));
}

TEST_F(LogInThrottleTest, EachFailureAfterALockOutLocksOutTwiceAsLongUpToEightTimes) {
    fail("nms1", at("10.0.0.1"), 5);
    for (const std::chrono::seconds expected : {300s, 600s, 1200s, 2400s, 2400s, 2400s}) {
        EXPECT_EQ(waitUntilTaken("nms1", at("10.0.0.1")), expected);
        fail("nms1", at("10.0.0.1"));
    }
}

TEST_F(LogInThrottleTest, AQuietTimeClearsTheFailures) {
    fail("nms1", at("10.0.0.1"), 4);
    now += 599s;
    EXPECT_EQ(fail("nms1", at("10.0.0.1")), 300s);
    now += 300s + 600s;
    EXPECT_EQ(fail("nms1", at("10.0.0.1"), 4), std::nullopt);
    EXPECT_EQ(fail("nms1", at("10.0.0.1")), 300s);
}

TEST_F(LogInThrottleTest, ALogInClearsTheFailures) {
    fail("nms1", at("10.0.0.1"), 4);
    throttle.succeeded("nms1", at("10.0.0.1"), now);
    EXPECT_EQ(fail("nms1", at("10.0.0.1"), 4), std::nullopt);
}

TEST_F(LogInThrottleTest, AUserUnderAttackFromEverywhereIsNeverLockedOutElsewhere) {
    for (int i = 0; i < 500; ++i)
        fail("nms1", at("10.1." + std::to_string(i / 250) + "." + std::to_string(i % 250)), 5);
    EXPECT_FALSE(refuses("nms1", at("10.0.0.1")));
}

TEST_F(LogInThrottleTest, AUserUnderAttackHasOneAttemptPerStrangeAddress) {
    for (int i = 0; i < 10; ++i)
        EXPECT_EQ(fail("nms1", at("10.1.0." + std::to_string(i)), 5), 300s);
    EXPECT_EQ(fail("nms1", at("10.2.0.1")), 300s);
    EXPECT_EQ(waitUntilTaken("nms1", at("10.2.0.1")), 300s);
    EXPECT_EQ(fail("nms1", at("10.2.0.1")), 600s);
    // other users still have all their attempts
    EXPECT_EQ(fail("nms2", at("10.2.0.1"), 4), std::nullopt);
}

TEST_F(LogInThrottleTest, AnAddressThatAUserUnderAttackLoggedInFromKeepsAllAttempts) {
    throttle.succeeded("nms1", at("10.0.0.1"), now);
    for (int i = 0; i < 20; ++i)
        fail("nms1", at("10.1.0." + std::to_string(i)), 5);
    EXPECT_EQ(fail("nms1", at("10.0.0.1"), 4), std::nullopt);
    EXPECT_EQ(fail("nms1", at("10.0.0.1")), 300s);
}

TEST_F(LogInThrottleTest, AnAddressThatFailsAsManyUsersWaitsLongerAndLonger) {
    for (int i = 0; i < 49; ++i)
        fail("name" + std::to_string(i), at("10.0.0.1"));
    EXPECT_FALSE(refuses("nms1", at("10.0.0.1")));
    for (int i = 0; const std::chrono::seconds expected :
                    {1s, 2s, 4s, 8s, 16s, 32s, 64s, 128s, 256s, 300s, 300s}) {
        fail("more" + std::to_string(i++), at("10.0.0.1"));
        EXPECT_EQ(waitUntilTaken("nms1", at("10.0.0.1")), expected);
    }
    EXPECT_FALSE(refuses("nms1", at("10.0.0.2")));
}

TEST_F(LogInThrottleTest, WhoHasLoggedInFromAnAddressDoesNotWaitForOthersFailuresThere) {
    throttle.succeeded("nms1", at("10.0.0.1"), now);
    for (int i = 0; i < 60; ++i)
        fail("name" + std::to_string(i), at("10.0.0.1"));
    EXPECT_TRUE(refuses("nms2", at("10.0.0.1")));
    EXPECT_FALSE(refuses("nms1", at("10.0.0.1")));
    fail("nms1", at("10.0.0.1"), 5);
    EXPECT_TRUE(refuses("nms1", at("10.0.0.1"))) << "its own failures count";
}

TEST_F(LogInThrottleTest, AllAddressesOfAnIpv6NetworkWaitTogether) {
    const auto origin = [](const std::string& text) {
        return originOf(kelp::orb::parsePeer("giop:tcp:[" + text + "]:4000"));
    };
    for (int i = 0; i < 60; ++i)
        fail("name" + std::to_string(i), origin("2001:db8::" + std::to_string(i + 1)));
    EXPECT_TRUE(refuses("nms1", origin("2001:db8::ffff")));
    EXPECT_FALSE(refuses("nms1", origin("2001:db8:0:1::1")));
    // but a user is locked out at a single address only
    fail("nms2", origin("2001:db8:0:2::1"), 5);
    EXPECT_TRUE(refuses("nms2", origin("2001:db8:0:2::1")));
    EXPECT_FALSE(refuses("nms2", origin("2001:db8:0:2::2")));
}

TEST_F(LogInThrottleTest, Ipv4InIpv6IsTheIpv4Address) {
    fail("nms1", originOf(kelp::orb::parsePeer("giop:tcp:[::ffff:10.0.0.1]:4000")), 5);
    EXPECT_TRUE(refuses("nms1", originOf(kelp::orb::parsePeer("giop:ssl:10.0.0.1:4001"))));
}

TEST_F(LogInThrottleTest, ForgettingAUserEndsItsLockOuts) {
    for (int i = 0; i < 15; ++i)
        fail("nms1", at("10.0.0." + std::to_string(i)), 5);
    for (int i = 0; i < 60; ++i)
        fail("name" + std::to_string(i), at("10.0.0.1"));
    fail("nms2", at("10.0.0.9"), 5);
    throttle.forget("nms1");
    for (int i = 0; i < 15; ++i)
        EXPECT_FALSE(refuses("nms1", at("10.0.0." + std::to_string(i)))) << i;
    EXPECT_EQ(fail("nms1", at("10.7.0.1"), 4), std::nullopt) << "it is no longer under attack";
    EXPECT_TRUE(refuses("nms2", at("10.0.0.9")));
}

TEST_F(LogInThrottleTest, RecordsAreBoundedWhateverTheNumberOfNamesAndAddresses) {
    for (int i = 0; i < 20000; ++i) {
        now += 1ms;
        fail("name" + std::to_string(i),
             at("10.0." + std::to_string(i / 250) + "." + std::to_string(i % 250)));
    }
    EXPECT_LE(throttle.records(), 3000u);
    // the newest records are kept
    fail("name19999", at("10.0.79.249"), 4);
    EXPECT_TRUE(refuses("name19999", at("10.0.79.249")));
}

TEST_F(LogInThrottleTest, NamesThatAreTooLongForAUserAreOneRecord) {
    for (int i = 0; i < 5; ++i)
        fail(std::string(static_cast<std::size_t>(65 + 10000 * i), 'n'), at("10.0.0.1"));
    EXPECT_TRUE(refuses(std::string(70, 'x'), at("10.0.0.1")));
    EXPECT_EQ(throttle.records(), 3u);
}

TEST_F(LogInThrottleTest, ARefusedAttemptCountsAsNothing) {
    fail("nms1", at("10.0.0.1"), 5);
    const std::size_t before = throttle.records();
    for (int i = 0; i < 100; ++i)
        EXPECT_TRUE(refuses("nms1", at("10.0.0.1")));
    EXPECT_EQ(throttle.records(), before);
    EXPECT_EQ(waitUntilTaken("nms1", at("10.0.0.1")), 300s);
}

TEST_F(LogInThrottleTest, AVeryLongLockOutDoesNotOverflow) {
    const LogInThrottle::Limits limits{1, 86400s};
    for (int i = 0; i < 200; ++i)
        EXPECT_LE(throttle.failed("nms1", at("10.0.0.1"), now, limits), 8 * 86400s);
    EXPECT_TRUE(refuses("nms1", at("10.0.0.1")));
}

}  // namespace
