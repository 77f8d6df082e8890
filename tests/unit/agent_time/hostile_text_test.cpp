#include <gtest/gtest.h>

#include <iostream>
#include <random>
#include <string>

#include "fuzz/targets.h"
#include "time_settings.h"

namespace NS_KELPCORBA {
namespace {

void feed(const std::string& text) {
    ASSERT_NO_THROW(
        kelp::fuzz::fuzzTimeText({reinterpret_cast<const std::uint8_t*>(text.data()), text.size()}))
        << testing::PrintToString(text);
}

TEST(HostileText, IsReadWithoutHarm) {
    test::setZone("CET-1CEST,M3.5.0,M10.5.0/3");
    const unsigned seed = std::random_device()();
    // printed now, because a failure may end the process
    std::cerr << "seed " << seed << std::endl;
    std::mt19937 random(seed);
    const std::string good[] = {"20240105030405",       "20240105030405.0",     "20240105030405.0Z",
                                "05/01/2024 03:04:05",  "05/01/2024 03:04:05Z", "2024-1-5-3-4-5",
                                "20240105030405.0+0100"};
    for (int i = 0; i < 200000; ++i) {
        std::string text = good[random() % std::size(good)];
        for (unsigned changes = random() % 4; changes > 0; --changes)
            text[random() % text.size()] = static_cast<char>(random());
        if (random() % 4 == 0)
            text.resize(random() % 24, static_cast<char>(random()));
        ASSERT_NO_FATAL_FAILURE(feed(text));
    }
    feed("");
    feed(std::string(1 << 16, '9'));
    feed(std::string(1 << 16, '-'));
}

}  // namespace
}  // namespace NS_KELPCORBA
