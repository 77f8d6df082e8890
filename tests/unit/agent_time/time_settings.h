#pragma once

#include <kelp/bundlemgr/config_store.h>

#include <cstdlib>
#include <ctime>
#include <string>

namespace NS_KELPCORBA::test {

inline constexpr int kUtc = 0;
inline constexpr int kLocal = 1;
inline constexpr int kCompact = 0;
inline constexpr int kSlashed = 1;

/// A zone two and a half hours east of UTC without daylight saving.
inline constexpr const char* kEast = "TST-2:30";

inline void configure(int appearance, int reference) {
    NS_BUNDLEMGR1::ConfigStore::instance().loadText(
        "[time]\nappearance = " + std::to_string(appearance) +
            "\nreference = " + std::to_string(reference) + "\n",
        "test.toml");
}

inline void setZone(const char* zone) {
    ::setenv("TZ", zone, 1);
    ::tzset();
}

inline std::tm fields(int year, int month, int day, int hour, int minute, int second) {
    std::tm made{};
    made.tm_year = year - 1900;
    made.tm_mon = month - 1;
    made.tm_mday = day;
    made.tm_hour = hour;
    made.tm_min = minute;
    made.tm_sec = second;
    return made;
}

/// 2024-01-05 03:04:05 UTC.
inline constexpr long kMoment = 1704423845;

}  // namespace NS_KELPCORBA::test
