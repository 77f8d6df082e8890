// Whose proxies stay, and from when on they go.

#include <gtest/gtest.h>

#include <set>

#include "absences.h"

using namespace std::chrono_literals;
using kelp::notification::Absences;
using kelp::orb::PeerAddress;

namespace {

class Allowed final : public kelp::notification::Guard {
  public:
    bool mayUse(const PeerAddress& peer) const override {
        ++asked;
        return addresses.count(peer.text) > 0;
    }
    std::set<std::string> addresses;
    mutable int asked = 0;
};

class AbsencesTest : public testing::Test {
  protected:
    static PeerAddress at(const std::string& address, std::uint16_t port = 1) {
        PeerAddress peer;
        peer.text = address;
        peer.port = port;
        return peer;
    }
    /// One review; whether the grace of the address is over.
    bool isOver(std::chrono::milliseconds time, const std::string& address = "10.0.0.1") {
        absences.begin(Absences::Time(time));
        const bool over = absences.isOver(at(address));
        absences.end();
        return over;
    }

    Allowed allowed;
    Absences absences{&allowed, 1000ms};
};

TEST_F(AbsencesTest, WhoIsAllowedNeverGoes) {
    allowed.addresses = {"10.0.0.1"};
    EXPECT_FALSE(isOver(0ms));
    EXPECT_FALSE(isOver(100000ms));
}

TEST_F(AbsencesTest, WhoIsNotGoesAfterTheGraceAndNotBefore) {
    EXPECT_FALSE(isOver(5000ms)) << "seen for the first time";
    EXPECT_FALSE(isOver(5999ms));
    EXPECT_TRUE(isOver(6000ms));
}

TEST_F(AbsencesTest, WhoComesBackHasTheWholeGraceTheNextTime) {
    EXPECT_FALSE(isOver(0ms));
    allowed.addresses = {"10.0.0.1"};
    EXPECT_FALSE(isOver(900ms));
    allowed.addresses.clear();
    EXPECT_FALSE(isOver(1100ms));
    EXPECT_FALSE(isOver(2099ms));
    EXPECT_TRUE(isOver(2100ms));
}

TEST_F(AbsencesTest, AnAddressThatWasDroppedBeginsANew) {
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

TEST_F(AbsencesTest, AddressesAreAskedForOnceAReviewWhateverTheirPorts) {
    absences.begin(Absences::Time(0ms));
    absences.isOver(at("10.0.0.1", 1));
    absences.isOver(at("10.0.0.1", 2));
    absences.isOver(at("10.0.0.2", 1));
    absences.end();
    EXPECT_EQ(allowed.asked, 2);
}

TEST_F(AbsencesTest, WhatWasMadeInsideTheProcessOrWithoutAGuardStays) {
    Absences unguarded(nullptr, 0ms);
    absences.begin(Absences::Time(0ms));
    unguarded.begin(Absences::Time(0ms));
    EXPECT_FALSE(absences.isOver(std::nullopt));
    EXPECT_FALSE(unguarded.isOver(at("10.0.0.1")));
    EXPECT_EQ(allowed.asked, 0);
}

TEST_F(AbsencesTest, WithoutAGraceWhoIsNotAllowedGoesAtOnce) {
    Absences strict(&allowed, 0ms);
    strict.begin(Absences::Time(0ms));
    EXPECT_TRUE(strict.isOver(at("10.0.0.1")));
    EXPECT_TRUE(strict.isOver(at("10.0.0.1"))) << "the same for all of its proxies";
    strict.end();
}

}  // namespace
