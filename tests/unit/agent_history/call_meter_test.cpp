#include <gtest/gtest.h>
#include <kelp/corbabase/call_meter.h>

#include <thread>
#include <vector>

namespace NS_CORBA {
namespace {

using std::chrono::seconds;

const CallMeter::Clock::time_point kStart{seconds(1'000'000)};

TEST(CallMeter, CountsCallsAndTheirRateOverTenSeconds) {
    CallMeter meter;
    for (int second = 0; second < 10; ++second) {
        for (int call = 0; call < 5; ++call)
            meter.note(kStart + seconds(second));
    }
    const CallFigures figures = meter.figures(kStart + seconds(10));
    EXPECT_EQ(figures.total, 50U);
    EXPECT_DOUBLE_EQ(figures.perSecond, 5.0);
}

TEST(CallMeter, ForgetsOldCallsInTheRateOnly) {
    CallMeter meter;
    meter.note(kStart);
    EXPECT_DOUBLE_EQ(meter.figures(kStart + seconds(1)).perSecond, 0.1);
    EXPECT_DOUBLE_EQ(meter.figures(kStart + seconds(11)).perSecond, 0.0);
    // the same place of the ring, sixteen seconds later
    meter.note(kStart + seconds(16));
    const CallFigures figures = meter.figures(kStart + seconds(17));
    EXPECT_EQ(figures.total, 2U);
    EXPECT_DOUBLE_EQ(figures.perSecond, 0.1);
}

TEST(CallMeter, LeavesTheCurrentSecondOut) {
    CallMeter meter;
    meter.note(kStart);
    EXPECT_DOUBLE_EQ(meter.figures(kStart).perSecond, 0.0);
}

TEST(CallMeter, CountsEveryCallOfSeveralThreads) {
    CallMeter meter;
    std::vector<std::thread> threads;
    for (int i = 0; i < 4; ++i)
        threads.emplace_back([&meter] {
            for (int call = 0; call < 10'000; ++call)
                meter.note();
        });
    for (std::thread& each : threads)
        each.join();
    EXPECT_EQ(meter.figures().total, 40'000U);
}

}  // namespace
}  // namespace NS_CORBA
