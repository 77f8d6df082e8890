// Times written and read again, in zones with and without daylight saving.

#include <gtest/gtest.h>
#include <kelp/agent/time_change.h>

#include <random>

#include "time_settings.h"

namespace NS_KELPCORBA {
namespace {

using namespace test;

constexpr long kFrom = 1451606400;  // 2016-01-01 UTC
constexpr long kTo = 2145916800;    // 2038-01-01 UTC

struct Zone {
    const char* name;
    const char* rule;
};

class RoundTrip : public testing::TestWithParam<Zone> {
  protected:
    RoundTrip() { setZone(GetParam().rule); }

    template <class Check>
    static void forRandomMoments(Check check) {
        const unsigned seed = std::random_device()();
        SCOPED_TRACE("seed " + std::to_string(seed));
        std::mt19937 random(seed);
        std::uniform_int_distribution<long> moments(kFrom, kTo - 1);
        for (int i = 0; i < 20000 && !testing::Test::HasFailure(); ++i)
            check(moments(random));
    }
    static std::time_t read(const std::string& text) {
        bool err = true;
        std::tm time = TimeChange::str2Time(text, err);
        EXPECT_FALSE(err) << text;
        return std::mktime(&time);
    }
};

TEST_P(RoundTrip, InUtcGivesTheSameMoment) {
    for (const int appearance : {kCompact, kSlashed}) {
        configure(appearance, kUtc);
        forRandomMoments([](long moment) {
            const std::string text = TimeChange::time2strByConf(moment);
            EXPECT_EQ(read(text), moment) << text;
        });
    }
}

TEST_P(RoundTrip, InLocalTimeGivesTheSameMomentOrTheOtherHourOfTheSameText) {
    for (const int appearance : {kCompact, kSlashed}) {
        configure(appearance, kLocal);
        forRandomMoments([](long moment) {
            const std::string text = TimeChange::time2strByConf(moment);
            const std::time_t back = read(text);
            EXPECT_EQ(TimeChange::time2strByConf(static_cast<long>(back)), text);
            if (back != moment) {
                EXPECT_EQ(std::abs(back - moment), 3600) << text;
            }
        });
    }
}

INSTANTIATE_TEST_SUITE_P(Zones, RoundTrip,
                         testing::Values(Zone{"Utc", "UTC0"},
                                         Zone{"CentralEurope", "CET-1CEST,M3.5.0,M10.5.0/3"},
                                         Zone{"EasternAmerica", "EST5EDT,M3.2.0,M11.1.0"},
                                         Zone{"India", "IST-5:30"},
                                         Zone{"NewZealand", "NZST-12NZDT,M9.5.0,M4.1.0/3"},
                                         Zone{"Newfoundland", "NST3:30NDT,M3.2.0,M11.1.0"}),
                         [](const auto& test) { return std::string(test.param.name); });

void PrintTo(const Zone& zone, std::ostream* out) {
    *out << zone.name;
}

}  // namespace
}  // namespace NS_KELPCORBA
