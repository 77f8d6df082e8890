#include <gtest/gtest.h>
#include <kelp/util/host_name.h>

#include <string>

namespace {

using kelp::util::isHostName;
using kelp::util::isSameHostName;

TEST(HostName, IsOneOrMoreLabels) {
    for (const char* name :
         {"localhost", "nms-1.example.org", "NMS.EXAMPLE.ORG", "3com.com", "a", "x1"})
        EXPECT_TRUE(isHostName(name)) << name;
}

TEST(HostName, IsNoAddressAndNoMistypedOne) {
    for (const char* text :
         {"10.0.0.1", "10.0.0.300", "10.0.0", "10", "::1", "10.0.0.0/8", "example.org/8"})
        EXPECT_FALSE(isHostName(text)) << text;
}

TEST(HostName, HasNeitherEmptyNorOverlongLabels) {
    for (const char* text :
         {"", ".", "a.", ".a", "a..b", "-a", "a-", "a.-b", "a b", "a_b", "a\nb", "\xc3\xa4"})
        EXPECT_FALSE(isHostName(text)) << text;
    const std::string label(63, 'a');
    EXPECT_TRUE(isHostName(label));
    EXPECT_FALSE(isHostName(label + "a"));
    const std::string longest = label + "." + label + "." + label + "." + std::string(61, 'a');
    EXPECT_TRUE(isHostName(longest));
    EXPECT_FALSE(isHostName(longest + "a"));
}

TEST(HostName, ComparesWithoutCase) {
    EXPECT_TRUE(isSameHostName("NMS.example.org", "nms.Example.ORG"));
    EXPECT_FALSE(isSameHostName("nms.example.org", "nms.example.or"));
    EXPECT_FALSE(isSameHostName("nms.example.or", "nms.example.org"));
    EXPECT_FALSE(isSameHostName("nms", "nmt"));
}

}  // namespace
