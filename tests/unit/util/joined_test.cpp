#include <gtest/gtest.h>
#include <kelp/util/joined.h>

#include <vector>

namespace {

using kelp::util::joined;
using Texts = std::vector<std::string>;

TEST(Joined, PutsTheSeparatorBetweenTheTexts) {
    EXPECT_EQ(joined(Texts{"a", "b", "c"}, ", "), "a, b, c");
    EXPECT_EQ(joined(Texts{"a"}, ", "), "a");
    EXPECT_EQ(joined(Texts{}, ", "), "");
}

TEST(Joined, KeepsEmptyTexts) {
    EXPECT_EQ(joined(Texts{"", "b", ""}, "+"), "+b+");
}

TEST(Joined, TakesTheTextOfEachElement) {
    EXPECT_EQ(joined(std::vector{1, 2}, " ", [](int each) { return std::to_string(each); }), "1 2");
}

}  // namespace
