#include "kelpctl/check/tcp_probe.h"

#include <gtest/gtest.h>

#include "support/tcp_peers.h"

namespace kelp::ctl {
namespace {

constexpr std::chrono::seconds kConnectLimit{30};

TEST(TcpProbe, ReturnsThisMachinesAddressOnTheWay) {
    const test::DeafListener peer;
    const ProbeResult result = probe("127.0.0.1", peer.port(), kConnectLimit);
    EXPECT_FALSE(result.failure);
    EXPECT_EQ(result.localHost, "127.0.0.1");
}

TEST(TcpProbe, TellsWhyItCannotConnect) {
    const test::Socket closed = test::boundSocket();
    EXPECT_EQ(probe("127.0.0.1", test::portOf(closed), kConnectLimit).failure, Cause::Refused);
    const test::FullBacklogListener busy;
    EXPECT_EQ(probe("127.0.0.1", busy.port(), std::chrono::milliseconds(50)).failure,
              Cause::NotConnected);
}

TEST(TcpProbe, TellsAHostWithoutAnAddress) {
    const ProbeResult result = probe("no host", 4801, kConnectLimit);
    EXPECT_EQ(result.failure, Cause::UnknownHost);
    EXPECT_FALSE(result.reason.empty());
}

}  // namespace
}  // namespace kelp::ctl
