#include "service_fixture.h"

namespace kelp::test {
namespace {

using namespace std::chrono_literals;
using alarms::Outcome;
using alarms::Severity;

using Flapping = AlarmServiceTest;

TEST_F(Flapping, SettlesByItselfOnceTheAlarmIsQuiet) {
    settings_.list.flapRaises = 2;
    settings_.list.flapQuiet = 100ms;
    start();
    while (submitOne(raise(1)).outcome != Outcome::Coalesced)
        submitOne(clear(1));
    EXPECT_EQ(submitOne(clear(1)).outcome, Outcome::Coalesced);
    EXPECT_EQ(active().size(), 1u);
    const std::size_t sent = service().counts().events + service().counts().unsent;
    ASSERT_TRUE(waitUntil([&] { return active().empty(); }));
    ASSERT_TRUE(waitUntil([&] { return sink_.count() == sent + 1; }));
}

TEST_F(Flapping, SettlesAfterARestart) {
    settings_.list.flapRaises = 2;
    settings_.list.flapQuiet = 10min;
    start();
    while (submitOne(raise(1)).outcome != Outcome::Coalesced)
        submitOne(clear(1));
    submitOne(clear(1));
    end();
    settings_.list.flapQuiet = 1ms;
    start();
    EXPECT_TRUE(waitUntil([&] { return active().empty(); }));
}

}  // namespace
}  // namespace kelp::test
