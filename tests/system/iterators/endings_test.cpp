// What remains of iterators after their sessions have ended.

#include <cstdlib>
#include <string>
#include <vector>

#include "harness/process_memory.h"
#include "iterators_fixture.h"

namespace kelp::test {
namespace {

#if defined(__SANITIZE_ADDRESS__) || defined(__SANITIZE_THREAD__)
constexpr double kMostGrowthMib = 400;  // a sanitizer keeps freed memory in each thread too
#else
constexpr double kMostGrowthMib = 5;  // half of the memory that the iterators of two rounds take
#endif

class Endings : public IteratorsFixture {
  protected:
    /// The address sanitizer keeps up to 256 MiB of freed memory. Lower that, so that it does not
    /// hide how much the host keeps.
    void keepLittleFreedMemory() {
        const char* const options = std::getenv("ASAN_OPTIONS");
        host_.setEnvironment("ASAN_OPTIONS", std::string(options == nullptr ? "" : options) +
                                                 ":quarantine_size_mb=8");
    }
};

TEST_F(Endings, AKilledNmsLeavesNoIterator) {
    constexpr int kKnown = 10;
    limit(100000, 100000);
    startWithElements(500);
    NmsProcess alice(host_);
    alice.logIn(0, "alice");
    NmsLists watching(alice, 0);
    NmsProcess bob(host_);
    bob.logIn(0, "bob");
    NmsLists walking(bob, 0);
    std::vector<std::string> references;
    for (int i = 0; i < kKnown; ++i) {
        const int iterator = walking.ask(10).iterator;
        EXPECT_TRUE(walking.next(iterator, 20).isMore);
        references.push_back(walking.reference(iterator));
    }
    walking.startMixture();
    ASSERT_TRUE(eventually([&] { return walking.mixture().served > 200; }));
    for (const std::string& each : references)
        ASSERT_EQ(watching.outcomeByReference(each), "open");

    bob.process().kill();
    EXPECT_TRUE(
        host_.log().waitFor("[SessionSource::check_valid]Detect nmsSession failed or ems wants "
                            "exit, now EMS will destroy "
                            "associated emsSession resource,user<bob>"));
    for (const std::string& each : references)
        EXPECT_TRUE(eventually([&] { return watching.outcomeByReference(each) == "closed"; }));
    expectNoneOpen(alice, 0);
    EXPECT_EQ(host_.stop(), 0);
}

TEST_F(Endings, TheHostStopsInTheMiddleOfWalks) {
    constexpr int kNms = 3;
    startWithElements(3000);
    NmsProcess nms(host_, kNms);
    nms.logInAll(kNms, "alice");
    for (int i = 0; i < kNms; ++i)
        NmsLists(nms, i).startMixture();
    for (int i = 0; i < kNms; ++i)
        EXPECT_TRUE(eventually([&] { return NmsLists(nms, i).mixture().served > 100; }));
    EXPECT_EQ(host_.stop(), 0);
}

TEST_F(Endings, TenThousandIteratorsOfAHundredSessionsAreGoneWithTheirSessions) {
    constexpr int kSessions = 100, kEach = 100;
    constexpr int kThreads = 2;
    limit(kSessions * kEach, kSessions * kEach);  // exactly the number that the test opens
    host_.set("session", "ping_interval_s", 3600).set("trace", "level", 0);
    host_.set("access", "requests_per_second_before_login", 0);
    keepLittleFreedMemory();
    startWithElements(50);
    NmsProcess nms(host_, kSessions);
    const pid_t host = host_.process().pid();

    /// Open all iterators and end their sessions. Return the resident memory with all open, and at
    /// the end.
    const auto openAndEnd = [&](int round) {
        nms.logInAll(kSessions, "alice");
        for (int i = 0; i < kSessions; ++i) {
            const NmsLists::Openings openings =
                NmsLists(nms, i).openMany(kThreads, kEach / kThreads);
            EXPECT_EQ(openings.opened, kEach) << "session " << i << " in round " << round;
        }
        EXPECT_EQ(NmsLists(nms, 0).probe().open, kEach);
        EXPECT_EQ(NmsLists(nms, 0).openMany(1, 1).refused, 1);
        const double whileOpen = residentMib(host);
        nms.endAll();
        EXPECT_TRUE(
            eventually([&] { return !nms.hasSession(0) && !nms.hasSession(kSessions - 1); }));
        for (int i = 0; i < kSessions; i += 10)
            EXPECT_TRUE(eventually([&] { return NmsLists(nms, i).probe().open == 0; }))
                << "session " << i;
        return std::pair(whileOpen, residentMib(host));
    };
    const auto [firstOpen, firstEnd] = openAndEnd(1);
    openAndEnd(2);
    const auto [lastOpen, lastEnd] = openAndEnd(3);
    EXPECT_LT(lastOpen, firstOpen + kMostGrowthMib);
    EXPECT_LT(lastEnd, firstEnd + kMostGrowthMib);
    nms.logIn(0, "bob");
    expectNoneOpen(nms, 0);
    RecordProperty("resident_mib", std::to_string(firstOpen) + " " + std::to_string(firstEnd) +
                                       " " + std::to_string(lastOpen) + " " +
                                       std::to_string(lastEnd));
    EXPECT_EQ(host_.stop(), 0);
}

}  // namespace
}  // namespace kelp::test
