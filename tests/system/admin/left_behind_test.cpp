// Clean-up after NMS that are killed one after another, while an NMS at the same address stays
// logged in.

#include <gtest/gtest.h>
#include <nlohmann/json.hpp>

#include <filesystem>
#include <list>

#include "harness/host.h"
#include "harness/nms_process.h"
#include "harness/process_memory.h"

namespace kelp::test {
namespace {

constexpr int kRounds = 8;
constexpr int kKilledInARound = 5;
constexpr int kAlarmsInARound = 1000;
/// Five unanswered pings end a log-in. Its objects are destroyed a little later.
constexpr std::chrono::minutes kLongPatience{3};

class LeftBehind : public testing::Test {
  protected:
    LeftBehind() {
        host_.set("notification", "heartbeat_s", 0).set("notification", "push_timeout_s", 2);
        host_.set("session", "ping_interval_s", 1);
        host_.addUser("demo");
        host_.start();
    }

    Launch kelpctl(std::vector<std::string> arguments, const LogFile& log) {
        arguments.insert(arguments.begin(), {"--config", host_.configFile().string()});
        Launch launch = host_.launch(KELPCTL, arguments);
        launch.output = log.file();
        return launch;
    }
    std::size_t consumers() {
        LogFile log(host_.scratch("consumers" + std::to_string(++looks_)));
        EXPECT_EQ(runToEnd(kelpctl({"consumers", "--json"}, log)), 0);
        return nlohmann::json::parse(log.text())["consumers"].size();
    }
    void raiseAlarms() {
        LogFile log(host_.scratch("storm" + std::to_string(++looks_)));
        EXPECT_EQ(
            runToEnd(kelpctl({"storm", "--rate", "1000", "--count", std::to_string(kAlarmsInARound),
                              "--first", std::to_string(raised_ + 1)},
                             log)),
            0)
            << log.text();
        raised_ += kAlarmsInARound;
    }
    std::ptrdiff_t threads() {
        const std::filesystem::directory_iterator tasks(
            "/proc/" + std::to_string(host_.process().pid()) + "/task");
        return std::distance(begin(tasks), end(tasks));
    }
    double memory() { return residentMib(host_.process().pid()); }

    Host host_;
    int looks_ = 0;
    int raised_ = 0;
};

TEST_F(LeftBehind, ConsumersThreadsAndMemoryAreReleasedWhenKilledNmsAreDetected) {
    NmsProcess living(host_);
    living.logIn(0, "demo");
    living.follow(0);
    raiseAlarms();
    const std::ptrdiff_t threadsBefore = threads();
    [[maybe_unused]] const double memoryBefore = memory();

    for (int round = 0; round < kRounds; ++round) {
        std::list<NmsProcess> killed;
        for (int i = 0; i < kKilledInARound; ++i) {
            NmsProcess& made = killed.emplace_back(host_);
            made.logIn(0, "demo");
            made.follow(0);
        }
        for (NmsProcess& each : killed)
            each.process().kill();
        raiseAlarms();
    }

    EXPECT_TRUE(eventually([&] { return consumers() == 1; }, kLongPatience));
    EXPECT_TRUE(eventually([&] { return threads() <= threadsBefore + 8; }, kLongPatience))
        << threadsBefore << " before, " << threads() << " after";
#if !defined(__SANITIZE_ADDRESS__) && !defined(__SANITIZE_THREAD__)
    EXPECT_TRUE(eventually([&] { return memory() < memoryBefore + 24; }, kLongPatience))
        << memoryBefore << " MiB before, " << memory() << " MiB after";
#endif
    constexpr int alarms = kAlarmsInARound * (kRounds + 1);
    EXPECT_TRUE(eventually([&] { return living.followed(0).events == alarms; }));
    EXPECT_EQ(living.followed(0).missing, 0);
    EXPECT_EQ(living.followed(0).late, 0);
    EXPECT_EQ(living.counts(0).losses, 0);
    EXPECT_EQ(host_.stop(), 0);
}

}  // namespace
}  // namespace kelp::test
