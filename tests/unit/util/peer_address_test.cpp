// Addresses of hosts, and the network that stands for a caller. tests/unit/orb tests the addresses
// of connections.

#include <gtest/gtest.h>
#include <kelp/util/peer_address.h>

namespace {

using kelp::util::isSameAddress;
using kelp::util::networkOf;
using kelp::util::parseHostAddress;

TEST(HostAddress, IsReadFromANumericHostWithoutAPort) {
    EXPECT_EQ(parseHostAddress("192.0.2.1").ipv4, 0xc0000201U);
    EXPECT_EQ(parseHostAddress("192.0.2.1").text, "192.0.2.1");
    EXPECT_EQ(parseHostAddress("2001:db8::1").text, "2001:db8::1");
    EXPECT_EQ(parseHostAddress("::ffff:192.0.2.1").text, "192.0.2.1");
    EXPECT_EQ(parseHostAddress("192.0.2.1").port, 0);
}

TEST(HostAddress, IsEmptyForAHostName) {
    EXPECT_EQ(parseHostAddress("nms.example").text, "");
    EXPECT_EQ(parseHostAddress("").text, "");
}

TEST(HostAddress, IsTheSameInEachOfItsForms) {
    EXPECT_TRUE(isSameAddress(parseHostAddress("192.0.2.1"), parseHostAddress("::ffff:192.0.2.1")));
    EXPECT_TRUE(isSameAddress(parseHostAddress("2001:db8::1"), parseHostAddress("2001:db8:0::1")));
    EXPECT_FALSE(isSameAddress(parseHostAddress("192.0.2.1"), parseHostAddress("192.0.2.2")));
    EXPECT_FALSE(isSameAddress(parseHostAddress("2001:db8::1"), parseHostAddress("192.0.2.1")));
    EXPECT_FALSE(isSameAddress(parseHostAddress("nms"), parseHostAddress("nms")));
}

TEST(NetworkOf, IsTheAddressForIpv4AndTheFirst64BitsForIpv6) {
    EXPECT_EQ(networkOf(parseHostAddress("192.0.2.1")), "192.0.2.1");
    EXPECT_EQ(networkOf(parseHostAddress("2001:db8:0:1:2:3:4:5")), "2001:db8:0:1::/64");
    EXPECT_EQ(networkOf({}), "");
}

}  // namespace
