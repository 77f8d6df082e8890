// Which peers lie in a list of networks.

#include <gtest/gtest.h>
#include <kelp/orb/request.h>
#include <kelp/users/oss_networks.h>

using kelp::users::OssNetworks;

namespace {

bool holds(const std::vector<std::string>& entries, const std::string& transportText) {
    OssNetworks networks;
    std::string whyNot;
    EXPECT_TRUE(networks.parse(entries, whyNot)) << whyNot;
    return networks.contains(kelp::orb::parsePeer(transportText));
}

TEST(UserNetworks, ContainIpv4Peers) {
    EXPECT_TRUE(holds({"10.1.0.0/16"}, "giop:tcp:10.1.255.3:4000"));
    EXPECT_FALSE(holds({"10.1.0.0/16"}, "giop:tcp:10.2.0.3:4000"));
    EXPECT_TRUE(holds({"10.1.0.3"}, "giop:ssl:10.1.0.3:4000"));
    EXPECT_FALSE(holds({"10.1.0.3"}, "giop:tcp:10.1.0.4:4000"));
    EXPECT_TRUE(holds({"192.168.0.0/24", "10.0.0.0/8"}, "giop:tcp:10.9.9.9:4000"));
    EXPECT_TRUE(holds({"0.0.0.0/0"}, "giop:tcp:10.9.9.9:4000"));
}

TEST(UserNetworks, ContainIpv4PeersSeenAsIpv6) {
    EXPECT_TRUE(holds({"10.1.0.0/16"}, "giop:tcp:[::ffff:10.1.0.3]:4000"));
    EXPECT_FALSE(holds({"10.1.0.0/16"}, "giop:tcp:[::ffff:10.2.0.3]:4000"));
    EXPECT_TRUE(holds({"::ffff:10.1.0.0/112"}, "giop:tcp:10.1.0.3:4000"));
}

TEST(UserNetworks, ContainIpv6Peers) {
    EXPECT_TRUE(holds({"2001:db8::/32"}, "giop:tcp:[2001:db8:1::5]:4000"));
    EXPECT_FALSE(holds({"2001:db8::/32"}, "giop:tcp:[2001:db9::5]:4000"));
    EXPECT_TRUE(holds({"::1"}, "giop:ssl:[::1]:4000"));
    EXPECT_FALSE(holds({"::/0"}, "giop:tcp:10.1.0.3:4000")) << "IPv4 peers need an IPv4 network";
    EXPECT_FALSE(holds({"0.0.0.0/0"}, "giop:tcp:[2001:db8::5]:4000"));
}

TEST(UserNetworks, ContainNobodyWithoutAnAddress) {
    EXPECT_FALSE(holds({"0.0.0.0/0", "::/0"}, ""));
    EXPECT_FALSE(holds({"0.0.0.0/0", "::/0"}, "giop:unix:/tmp/socket"));
}

TEST(UserNetworks, AreWrittenAsWholeTexts) {
    for (const std::string& entry : {std::string("10.0.0.0\0x/8", 12), std::string("10.0.0.0\0", 9),
                                     std::string("::1\0", 4), std::string("10.0.0.0/8\0", 11)}) {
        OssNetworks networks;
        std::string whyNot;
        EXPECT_FALSE(networks.parse({entry}, whyNot)) << entry;
        EXPECT_NE(whyNot, "");
        EXPECT_FALSE(networks.containsIpv4(0x0a000000));
    }
}

}  // namespace
