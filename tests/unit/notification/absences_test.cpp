// Whose proxies are kept, and when the others are dropped.

#include "owners/absences.h"

#include <gtest/gtest.h>

#include <set>

using namespace std::chrono_literals;
using kelp::notification::Absences;
using kelp::notification::Caller;
using kelp::notification::Owner;
using kelp::util::PeerAddress;

namespace {

class Allowed final : public kelp::notification::Guard {
  public:
    bool mayUse(const PeerAddress& peer) const override {
        ++asked;
        return addresses.count(peer.text) > 0;
    }
    bool isLive(const std::string& logIn) const override { return ended.count(logIn) == 0; }
    std::set<std::string> addresses;
    std::set<std::string> ended;
    mutable int asked = 0;
};

class AbsencesTest : public testing::Test {
  protected:
    /// Return the owner for an address, or for a log-in there.
    static Owner at(const std::string& address, const std::string& logIn = "") {
        Caller caller;
        caller.peer.text = address;
        if (!logIn.empty())
            caller.logIns.push_back({logIn, logIn});
        return Owner(caller);
    }
    /// Do one review. True if the owner's grace period is over.
    bool isOver(std::chrono::milliseconds time, const std::string& address = "10.0.0.1",
                const std::string& logIn = "") {
        absences.begin(Absences::Time(time));
        const bool over = absences.isOver(at(address, logIn));
        absences.end();
        return over;
    }

    Allowed allowed;
    Absences absences{&allowed, 1000ms};
};

TEST_F(AbsencesTest, AllowedOwnersAreNeverDropped) {
    allowed.addresses = {"10.0.0.1"};
    EXPECT_FALSE(isOver(0ms));
    EXPECT_FALSE(isOver(100000ms));
}

TEST_F(AbsencesTest, OthersAreDroppedAfterTheGraceAndNotBefore) {
    EXPECT_FALSE(isOver(5000ms)) << "seen for the first time";
    EXPECT_FALSE(isOver(5999ms));
    EXPECT_TRUE(isOver(6000ms));
}

TEST_F(AbsencesTest, ReturningOwnersHaveTheWholeGraceTheNextTime) {
    EXPECT_FALSE(isOver(0ms));
    allowed.addresses = {"10.0.0.1"};
    EXPECT_FALSE(isOver(900ms));
    allowed.addresses.clear();
    EXPECT_FALSE(isOver(1100ms));
    EXPECT_FALSE(isOver(2099ms));
    EXPECT_TRUE(isOver(2100ms));
}

TEST_F(AbsencesTest, ADroppedAddressStartsOver) {
    EXPECT_FALSE(isOver(0ms));
    EXPECT_TRUE(isOver(1000ms));
    EXPECT_FALSE(isOver(1100ms));
    EXPECT_TRUE(isOver(2100ms));
}

TEST_F(AbsencesTest, AnAddressWithoutProxiesIsForgotten) {
    EXPECT_FALSE(isOver(0ms));
    EXPECT_FALSE(isOver(500ms, "10.0.0.2"));
    EXPECT_FALSE(isOver(1500ms));
}

TEST_F(AbsencesTest, AnEndedLogInIsDroppedAfterTheGraceAlthoughItsAddressStays) {
    allowed.addresses = {"10.0.0.1"};
    EXPECT_FALSE(isOver(0ms, "10.0.0.1", "alice"));
    allowed.ended = {"alice"};
    EXPECT_FALSE(isOver(1000ms, "10.0.0.1", "alice"));
    EXPECT_FALSE(isOver(1999ms, "10.0.0.1", "alice"));
    EXPECT_TRUE(isOver(2000ms, "10.0.0.1", "alice"));
    EXPECT_FALSE(isOver(3000ms, "10.0.0.1", "bob"));
}

TEST_F(AbsencesTest, ALogInIsDroppedWithItsAddress) {
    EXPECT_FALSE(isOver(0ms, "10.0.0.1", "alice"));
    EXPECT_TRUE(isOver(1000ms, "10.0.0.1", "alice"));
}

TEST_F(AbsencesTest, AddressesAreAskedForOnceAReviewWhateverTheirLogIns) {
    absences.begin(Absences::Time(0ms));
    absences.isOver(at("10.0.0.1", "alice"));
    absences.isOver(at("10.0.0.1", "bob"));
    absences.isOver(at("10.0.0.1"));
    absences.isOver(at("10.0.0.2"));
    absences.end();
    EXPECT_EQ(allowed.asked, 2);
}

TEST_F(AbsencesTest, WithoutAGuardEverybodyStays) {
    Absences unguarded(nullptr, 0ms);
    unguarded.begin(Absences::Time(0ms));
    EXPECT_FALSE(unguarded.isOver(at("10.0.0.1")));
    EXPECT_EQ(allowed.asked, 0);
}

TEST_F(AbsencesTest, WithoutAGraceOthersAreDroppedAtOnce) {
    Absences strict(&allowed, 0ms);
    strict.begin(Absences::Time(0ms));
    EXPECT_TRUE(strict.isOver(at("10.0.0.1")));
    EXPECT_TRUE(strict.isOver(at("10.0.0.1"))) << "the same for all of its proxies";
    strict.end();
}

}  // namespace
