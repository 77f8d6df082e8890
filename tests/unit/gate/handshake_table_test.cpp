#include "gate/handshake_table.h"

#include <gtest/gtest.h>

using namespace std::chrono_literals;
using kelp::orb::gate::HandshakeSeat;
using kelp::orb::gate::HandshakeTable;

namespace {

struct CountedSeat final : HandshakeSeat {
    explicit CountedSeat(std::string itsAddress) : from(std::move(itsAddress)) {}
    const std::string& address() const override { return from; }
    void giveUp() override { hasGivenUp = true; }
    const std::string from;
    bool hasGivenUp = false;
};

class Handshakes : public testing::Test {
  protected:
    HandshakeTable table{{3, 2}};
    const HandshakeTable::Time now{1000h};
    CountedSeat one{"10.0.0.1"};
    CountedSeat two{"10.0.0.1"};
    CountedSeat three{"10.0.0.1"};
    CountedSeat other{"10.0.0.2"};
    CountedSeat another{"10.0.0.3"};
};

TEST_F(Handshakes, AnAddressHasItsPlaces) {
    EXPECT_TRUE(table.enter(one, now));
    EXPECT_TRUE(table.enter(two, now));
    EXPECT_FALSE(table.enter(three, now));
    EXPECT_TRUE(table.enter(other, now));
    table.leave(one);
    EXPECT_TRUE(table.enter(three, now));
    EXPECT_EQ(table.count(), 3U);
}

TEST_F(Handshakes, TheOldestOfTheAddressGivesWayOnceItHadItsTime) {
    EXPECT_TRUE(table.enter(other, now));
    EXPECT_TRUE(table.enter(one, now + 1s));
    EXPECT_TRUE(table.enter(two, now + 2s));
    EXPECT_FALSE(table.enter(three, now + 3999ms));
    EXPECT_TRUE(table.enter(three, now + 4s));
    EXPECT_TRUE(one.hasGivenUp);
    EXPECT_FALSE(two.hasGivenUp);
    EXPECT_FALSE(other.hasGivenUp);
    EXPECT_EQ(table.count(), 3U);
}

TEST_F(Handshakes, TheOldestOfAllGivesWayWhenAllPlacesAreTaken) {
    EXPECT_TRUE(table.enter(one, now));
    EXPECT_TRUE(table.enter(other, now + 1s));
    EXPECT_TRUE(table.enter(two, now + 1s));
    EXPECT_FALSE(table.enter(another, now + 2s));
    EXPECT_TRUE(table.enter(another, now + 3s));
    EXPECT_TRUE(one.hasGivenUp);
    EXPECT_EQ(table.count(), 3U);
}

TEST_F(Handshakes, ADroppedHandshakeReleasesItsPlaceOnlyOnce) {
    EXPECT_TRUE(table.enter(one, now));
    EXPECT_TRUE(table.enter(two, now));
    EXPECT_TRUE(table.enter(three, now + 3s));
    table.leave(one);
    table.leave(one);
    EXPECT_EQ(table.count(), 2U);
    EXPECT_FALSE(table.enter(one, now + 3s - 1ms)) << "the address still has its two";
}

}  // namespace
