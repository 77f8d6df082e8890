#include <gtest/gtest.h>
#include <name_url.h>

namespace kelp::naming {
namespace {

TEST(NameUrl, AddressesOfTheStandardAreTaken) {
    for (const char* address :
         {":myhost.555xyz.com", ":myhost.555xyz.com/a/b/c", "iiop:10.0.0.1:4801", ":1.2@ems:4801",
          "ssliop:1.2@ems:4843/NameService", ":[2001:db8::1]:4801", ":[::1]",
          ":a,:b:2,iiop:1.0@c/Key", "rir:", "rir:/NameService", ":ems/a%20key"})
        EXPECT_TRUE(isUrlAddress(address)) << address;
}

TEST(NameUrl, OtherAddressesAreRefused) {
    for (const char* address :
         {"",          "ems:4801",   ":",         ":ems:",       ":ems:port", ":ems:123456",
          ":ems host", "http://ems", ":1.@ems",   ":@ems",       ":a,",       ",:a",
          ":ems#x",    ":ems/a%2",   ":ems/a%zz", ":ems/a b",    ":[::1",     ":[]",
          "rir:ems",   ":ems\n",     ":e\\ms",    ":ems\xc3\xa4"})
        EXPECT_FALSE(isUrlAddress(address)) << address;
    EXPECT_FALSE(isUrlAddress(":" + std::string(2000, 'a')));
}

TEST(NameUrl, WhatAUrlDoesNotAllowIsEscaped) {
    EXPECT_EQ(escapedForUrl("a.b/c.d"), "a.b/c.d");
    EXPECT_EQ(escapedForUrl("a b"), "a%20b");
    EXPECT_EQ(escapedForUrl("Kelp\\/EMS.x"), "Kelp%5c/EMS.x");
    EXPECT_EQ(escapedForUrl("100%<>\"#"), "100%25%3c%3e%22%23");
    EXPECT_EQ(escapedForUrl("\xc3\xa4\x01"), "%c3%a4%01");
    EXPECT_EQ(escapedForUrl(";/:?@&=+$,-_.!~*'()"), ";/:?@&=+$,-_.!~*'()");
    EXPECT_EQ(escapedForUrl(""), "");
}

}  // namespace
}  // namespace kelp::naming
