#include <gtest/gtest.h>
#include <kelp/orb/request.h>

namespace {

using kelp::orb::parsePeer;
using kelp::util::PeerAddress;

void expectEmpty(const std::string& text) {
    const PeerAddress peer = parsePeer(text);
    EXPECT_EQ(peer.text, "") << text;
    EXPECT_EQ(peer.port, 0) << text;
    EXPECT_EQ(peer.ipv4, 0U) << text;
    EXPECT_FALSE(peer.ipv6.has_value()) << text;
}

TEST(PeerAddress, IsReadFromAnIpv4Connection) {
    const PeerAddress peer = parsePeer("giop:tcp:127.0.0.1:48958");
    EXPECT_EQ(peer.text, "127.0.0.1");
    EXPECT_EQ(peer.port, 48958);
    EXPECT_EQ(peer.ipv4, 0x7f000001U);
    EXPECT_FALSE(peer.ipv6.has_value());
}

TEST(PeerAddress, IsReadFromATlsConnection) {
    const PeerAddress peer = parsePeer("giop:ssl:192.0.2.200:56646");
    EXPECT_EQ(peer.text, "192.0.2.200");
    EXPECT_EQ(peer.port, 56646);
    EXPECT_EQ(peer.ipv4, 0xc00002c8U);
}

TEST(PeerAddress, IsReadFromAnIpv6Connection) {
    const PeerAddress peer = parsePeer("giop:tcp:[2001:db8::1]:53430");
    EXPECT_EQ(peer.text, "2001:db8::1");
    EXPECT_EQ(peer.port, 53430);
    EXPECT_EQ(peer.ipv4, 0U);
    ASSERT_TRUE(peer.ipv6.has_value());
    EXPECT_EQ(*peer.ipv6, std::string("\x20\x01\x0d\xb8\0\0\0\0\0\0\0\0\0\0\0\x01", 16));
}

TEST(PeerAddress, IsIpv4WhenAnIpv4ClientComesToAnIpv6Listener) {
    for (const char* text :
         {"giop:tcp:[::ffff:127.0.0.1]:42538", "giop:ssl:[::FFFF:7f00:1]:42538"}) {
        const PeerAddress peer = parsePeer(text);
        EXPECT_EQ(peer.text, "127.0.0.1");
        EXPECT_EQ(peer.port, 42538);
        EXPECT_EQ(peer.ipv4, 0x7f000001U);
        EXPECT_FALSE(peer.ipv6.has_value());
    }
}

TEST(PeerAddress, KeepsTheInterfaceOfALinkLocalAddressInItsText) {
    const PeerAddress peer = parsePeer("giop:tcp:[fe80::1%eth0]:4800");
    EXPECT_EQ(peer.text, "fe80::1%eth0");
    EXPECT_EQ(peer.port, 4800);
    ASSERT_TRUE(peer.ipv6.has_value());
    EXPECT_EQ(peer.ipv6->size(), 16U);
}

TEST(PeerAddress, TakesTheWholeRangeOfPorts) {
    EXPECT_EQ(parsePeer("giop:tcp:127.0.0.1:1").port, 1);
    EXPECT_EQ(parsePeer("giop:tcp:127.0.0.1:65535").port, 65535);
}

TEST(PeerAddress, IsEmptyForOtherTransports) {
    expectEmpty("giop:unix:/tmp/omni-root/0001");
    expectEmpty("giop:http:http://127.0.0.1:80/");
    expectEmpty("giop:local:127.0.0.1:4800");
}

TEST(PeerAddress, IsEmptyForUnreadableTexts) {
    for (const char* text : {"",
                             "giop",
                             "giop:",
                             "giop:tcp",
                             "giop:tcp:",
                             "giop:tcp::",
                             "giop:tcp:127.0.0.1",
                             "giop:tcp:127.0.0.1:",
                             "giop:tcp:127.0.0.1:65536",
                             "giop:tcp:127.0.0.1:-1",
                             "giop:tcp:127.0.0.1:48x",
                             "giop:tcp:127.0.0.1: 48",
                             "giop:tcp:127.0.0:48",
                             "giop:tcp:256.0.0.1:48",
                             "giop:tcp:host.example:48",
                             "giop:tcp::::48",
                             "giop:tcp:[]:48",
                             "giop:tcp:[::1:48",
                             "giop:tcp:::1]:48",
                             "giop:tcp:::1:48",
                             "giop:tcp:[::1]48",
                             "giop:tcp:[zz::1]:48",
                             "127.0.0.1:48",
                             "tcp:127.0.0.1:48",
                             "GIOP:TCP:127.0.0.1:48"})
        expectEmpty(text);
}

TEST(PeerAddress, IsEmptyWhenItsTextCouldNotBeShown) {
    const std::string withZero("eth\0x", 5);
    for (const std::string& interface :
         {std::string("eth 0"), std::string("eth\n0"), std::string("eth\xff"), std::string("eth<0"),
          std::string("eth]0"), std::string("eth\x7f"), withZero})
        expectEmpty("giop:tcp:[fe80::1%" + interface + "]:4800");
    expectEmpty(std::string("giop:tcp:127.0.0.1\0.2:48", 24));
    expectEmpty(std::string("giop:tcp:[::1\0]:48", 18));
}

TEST(PeerAddress, IsEmptyForAVeryLongText) {
    expectEmpty("giop:tcp:" + std::string(100000, '1') + ":48");
    expectEmpty("giop:tcp:127.0.0.1:" + std::string(100000, '1'));
}

}  // namespace
