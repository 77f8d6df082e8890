#include "owners/address_places.h"

#include <gtest/gtest.h>
#include <kelp/orb/request.h>

#include <atomic>
#include <thread>
#include <vector>

namespace {

using kelp::notification::AddressPlaces;
using kelp::orb::parsePeer;

const kelp::util::PeerAddress kOne = parsePeer("giop:tcp:192.0.2.1:4000");
const kelp::util::PeerAddress kOther = parsePeer("giop:tcp:192.0.2.2:4000");

TEST(AddressPlaces, OneAddressGetsItsPlacesAndNoMore) {
    AddressPlaces places(2);
    AddressPlaces::Place first = places.take(kOne);
    const AddressPlaces::Place second = places.take(parsePeer("giop:ssl:192.0.2.1:5000"));
    EXPECT_TRUE(first && second);
    EXPECT_FALSE(places.take(kOne));
    EXPECT_TRUE(places.take(kOther));
    first.reset();
    const AddressPlaces::Place third = places.take(kOne);
    EXPECT_TRUE(third);
    EXPECT_FALSE(places.take(kOne));
}

TEST(AddressPlaces, HostsOfOneIpv6NetworkShareTheirs) {
    AddressPlaces places(1);
    const AddressPlaces::Place held = places.take(parsePeer("giop:tcp:[2001:db8::1]:4000"));
    EXPECT_TRUE(held);
    EXPECT_FALSE(places.take(parsePeer("giop:tcp:[2001:db8::ffff]:4000")));
    EXPECT_TRUE(places.take(parsePeer("giop:tcp:[2001:db8:0:1::1]:4000")));
}

TEST(AddressPlaces, CallersInsideTheProcessAreNotLimited) {
    AddressPlaces places(1);
    std::vector<AddressPlaces::Place> held;
    for (int i = 0; i < 100; ++i)
        held.push_back(places.take({}));
    for (const AddressPlaces::Place& each : held)
        EXPECT_TRUE(each);
}

TEST(AddressPlaces, APlaceMayOutliveTheTable) {
    AddressPlaces::Place held;
    {
        AddressPlaces places(1);
        held = places.take(kOne);
    }
    EXPECT_TRUE(held);
}

TEST(AddressPlaces, ManyThreadsGetNoMoreThanThereAre) {
    AddressPlaces places(50);
    std::atomic<int> most{0}, now{0};
    std::vector<std::thread> threads;
    for (int t = 0; t < 4; ++t)
        threads.emplace_back([&] {
            std::vector<AddressPlaces::Place> mine;
            for (int i = 0; i < 100; ++i) {
                if (AddressPlaces::Place place = places.take(kOne)) {
                    mine.push_back(std::move(place));
                    most = std::max(most.load(), ++now);
                }
            }
            now -= static_cast<int>(mine.size());
        });
    for (std::thread& each : threads)
        each.join();
    EXPECT_LE(most, 50);
    std::vector<AddressPlaces::Place> all;
    while (AddressPlaces::Place place = places.take(kOne))
        all.push_back(std::move(place));
    EXPECT_EQ(all.size(), 50u) << "all places were given back";
}

}  // namespace
