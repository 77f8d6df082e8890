// Times as an NMS reads them.

#include <gtest/gtest.h>
#include <kelp/corbabase/time_text.h>

#include <atomic>
#include <limits>
#include <set>
#include <thread>

#include "config_text.h"
#include "support/temporary_directory.h"

namespace kelp::test {
namespace {

using NS_CORBA::ConfiguredTimeText;

constexpr const char* kUtc = "[time]\nreference = 0\n";
constexpr const char* kLocal = "[time]\nreference = 1\n";
/// 2024-01-05 03:04:05 UTC.
constexpr std::time_t kMoment = 1704423845;

TEST(TimeText, FieldsBeyondAnIntegerWrap) {
    configure(kUtc);
    std::tm fields{};
    fields.tm_year = std::numeric_limits<int>::max();
    fields.tm_mon = std::numeric_limits<int>::max();
    fields.tm_mday = 7;
    EXPECT_EQ(ConfiguredTimeText(fields), "-2147481749-214748364807000000.0Z");
}

TEST(TimeText, IsOfOneReferenceWhileThatChanges) {
    const ScopedEnvironment zone("TZ", "TST-2:30");
    ::tzset();
    configure(kUtc);
    std::atomic<bool> ended{false};
    std::thread reloading([&] {
        for (int i = 0; i < 400; ++i)
            NS_BUNDLEMGR1::ConfigStore::instance().loadText(i % 2 == 0 ? kLocal : kUtc,
                                                            "test.toml");
        ended = true;
    });
    std::set<std::string> seen;
    while (!ended)
        seen.insert(ConfiguredTimeText(kMoment));
    reloading.join();
    for (const std::string& each : seen)
        EXPECT_TRUE(each == "20240105030405.0Z" || each == "20240105053405.0") << each;
}

}  // namespace
}  // namespace kelp::test
