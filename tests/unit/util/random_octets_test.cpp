#include <gtest/gtest.h>
#include <kelp/util/random_octets.h>

#include <array>
#include <set>
#include <string>

namespace {

using kelp::util::fillRandomly;
using kelp::util::isEqualInConstantTime;

TEST(RandomOctets, DifferEachTimeAndHaveTheRequestedLength) {
    std::set<std::string> seen;
    for (int i = 0; i < 1000; ++i) {
        std::array<char, 24> octets{};
        fillRandomly(octets.data() + 4, 16);
        EXPECT_EQ(std::string(octets.data(), 4), std::string(4, '\0'));
        EXPECT_EQ(std::string(octets.data() + 20, 4), std::string(4, '\0'));
        seen.insert(std::string(octets.data() + 4, 16));
    }
    EXPECT_EQ(seen.size(), 1000u);
}

TEST(RandomOctets, TakeEveryValueInEveryPlace) {
    std::array<std::set<unsigned char>, 16> values;
    for (int i = 0; i < 8000; ++i) {
        std::array<unsigned char, 16> octets{};
        fillRandomly(octets.data(), octets.size());
        for (std::size_t at = 0; at < octets.size(); ++at)
            values[at].insert(octets[at]);
    }
    for (const std::set<unsigned char>& each : values)
        EXPECT_EQ(each.size(), 256u);
}

TEST(EqualityInConstantTime, IsThatOfTheOctets) {
    const std::string octets("\0abc\xff\0xyz", 9);
    EXPECT_TRUE(isEqualInConstantTime(octets.data(), octets.data(), octets.size()));
    EXPECT_TRUE(isEqualInConstantTime("a", "b", 0));
    for (std::size_t at = 0; at < octets.size(); ++at) {
        std::string other = octets;
        other[at] = static_cast<char>(other[at] ^ 1);
        EXPECT_FALSE(isEqualInConstantTime(octets.data(), other.data(), octets.size())) << at;
    }
}

}  // namespace
