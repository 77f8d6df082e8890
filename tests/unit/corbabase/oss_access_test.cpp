#include <arpa/inet.h>
#include <gtest/gtest.h>
#include <kelp/corbabase/base_config.h>

#include "config_text.h"

using kelp::test::configure;
using NS_CORBA::CorbaBaseAgentConfig;

namespace {

bool isAllowed(const std::string& ipv4) {
    in_addr address{};
    EXPECT_EQ(::inet_pton(AF_INET, ipv4.c_str(), &address), 1) << ipv4;
    return CorbaBaseAgentConfig::Instance()->IsValidOssIP(ntohl(address.s_addr));
}

TEST(OssAccess, ByDefaultOnlyThisHostMayCall) {
    EXPECT_TRUE(isAllowed("127.0.0.1"));
    EXPECT_TRUE(isAllowed("127.255.255.255"));
    EXPECT_FALSE(isAllowed("126.255.255.255"));
    EXPECT_FALSE(isAllowed("128.0.0.0"));
    EXPECT_FALSE(isAllowed("10.0.0.1"));
}

TEST(OssAccess, PrefixLengthsCountBits) {
    configure("[access]\nallowed_oss = [\"10.1.2.128/25\", \"192.168.4.0/22\"]\n");
    EXPECT_TRUE(isAllowed("10.1.2.128"));
    EXPECT_TRUE(isAllowed("10.1.2.255"));
    EXPECT_FALSE(isAllowed("10.1.2.127"));
    EXPECT_FALSE(isAllowed("10.1.3.128"));
    EXPECT_TRUE(isAllowed("192.168.4.0"));
    EXPECT_TRUE(isAllowed("192.168.7.255"));
    EXPECT_FALSE(isAllowed("192.168.8.0"));
    EXPECT_FALSE(isAllowed("127.0.0.1"));
}

TEST(OssAccess, AnAddressAloneIsOneHost) {
    configure("[access]\nallowed_oss = [\"10.1.2.3\"]\n");
    EXPECT_TRUE(isAllowed("10.1.2.3"));
    EXPECT_FALSE(isAllowed("10.1.2.2"));
    EXPECT_FALSE(isAllowed("10.1.2.4"));
}

TEST(OssAccess, BitsBehindThePrefixDoNotMatter) {
    configure("[access]\nallowed_oss = [\"10.1.2.3/8\"]\n");
    EXPECT_TRUE(isAllowed("10.200.0.1"));
    EXPECT_FALSE(isAllowed("11.1.2.3"));
}

TEST(OssAccess, ZeroBitsAllowEveryIpv4Address) {
    configure("[access]\nallowed_oss = [\"0.0.0.0/0\"]\n");
    EXPECT_TRUE(isAllowed("1.2.3.4"));
    EXPECT_TRUE(isAllowed("255.255.255.255"));
}

TEST(OssAccess, AnIpv6NetworkAllowsNoIpv4Address) {
    configure("[access]\nallowed_oss = [\"::/0\"]\n");
    EXPECT_FALSE(isAllowed("127.0.0.1"));
}

TEST(OssAccess, AnIpv4NetworkMayBeWrittenAsIpv6) {
    configure("[access]\nallowed_oss = [\"::ffff:10.0.0.0/104\"]\n");
    EXPECT_TRUE(isAllowed("10.9.9.9"));
    EXPECT_FALSE(isAllowed("11.0.0.1"));
}

TEST(OssAccess, AnEmptyListAllowsNobody) {
    configure("[access]\nallowed_oss = []\n");
    EXPECT_FALSE(isAllowed("127.0.0.1"));
}

TEST(OssAccess, APeerWithoutIpv4AddressOutsideARequestIsRefused) {
    configure("[access]\nallowed_oss = [\"0.0.0.0/0\", \"::/0\"]\n");
    EXPECT_FALSE(CorbaBaseAgentConfig::Instance()->IsValidOssIP(0));
}

TEST(OssAccess, FollowsAReloadOfTheConfiguration) {
    configure("[access]\nallowed_oss = [\"10.0.0.0/8\"]\n");
    EXPECT_TRUE(isAllowed("10.0.0.1"));
    configure("[access]\nallowed_oss = [\"11.0.0.0/8\"]\n");
    EXPECT_FALSE(isAllowed("10.0.0.1"));
    EXPECT_TRUE(isAllowed("11.0.0.1"));
}

}  // namespace
