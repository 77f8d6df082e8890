// A hundred NMS at one host: 49 work, 40 hang, 5 hoard, 5 come and go, and one forges.

#include <gtest/gtest.h>
#include <unistd.h>

#include <algorithm>
#include <cstdlib>
#include <iostream>
#include <list>
#include <map>
#include <sstream>
#include <stdexcept>

#include "harness/eventually.h"
#include "harness/host.h"
#include "harness/nms_process.h"

namespace kelp::test {
namespace {

using std::chrono::microseconds;
using std::chrono::milliseconds;
using std::chrono::seconds;

constexpr int kGood = 49;
constexpr int kHanging = 40;
constexpr milliseconds kCallPause{200};
#if defined(__SANITIZE_ADDRESS__) || defined(__SANITIZE_THREAD__)
constexpr bool kIsSlowed = true;
#else
constexpr bool kIsSlowed = false;
#endif
/// Each alarm also goes to thousands of consumers that the bad NMS have connected.
constexpr int kAlarmsPerSecond = kIsSlowed ? 4 : 20;

seconds duration() {
    const char* const text = std::getenv("KELP_CROWD_SECONDS");
    return seconds(text != nullptr ? std::stoi(text) : 20);
}

/// Times are checked only in a long run, which has the machine to itself.
bool timesAreJudged() {
    return !kIsSlowed && duration() >= seconds(60);
}

using Seen = std::map<std::string, long>;

/// Several NMS of one bad kind in a separate process.
class BadNms {
  public:
    /// Returns when every NMS has logged in.
    BadNms(const Host& host, const std::string& kind, int network, int count)
        : process_(launch(host, kind, network, count)) {
        readLine();
    }

    /// Return how often they have logged in so far.
    long logIns() {
        ask("log_ins\n");
        return std::stol(readLine());
    }

    /// End them. Return the values that they report, by name.
    Seen end() {
        ask("\n");
        std::string text;
        char buffer[512];
        for (ssize_t got = 0; (got = ::read(process_.output(), buffer, sizeof buffer)) > 0;)
            text.append(buffer, static_cast<std::size_t>(got));
        EXPECT_EQ(process_.waitExit(), 0);
        Seen seen;
        std::istringstream lines(text);
        std::string name;
        for (long value = 0; lines >> name >> value;)
            seen[name] = value;
        return seen;
    }

  private:
    static Launch launch(const Host& host, const std::string& kind, int network, int count) {
        Launch launch =
            host.launch(PYTHON, {BAD_NMS, kind, std::to_string(host.port()), Host::kPassword,
                                 "127.0." + std::to_string(network), std::to_string(count)});
        launch.piped = true;
        launch.environment["PYTHONDONTWRITEBYTECODE"] = "1";
        launch.environment["PYTHONPATH"] = ATTACKS;
        return launch;
    }

    void ask(const std::string& line) {
        EXPECT_EQ(::write(process_.input(), line.data(), line.size()),
                  static_cast<ssize_t>(line.size()));
    }
    std::string readLine() {
        std::string line;
        for (char octet = 0; ::read(process_.output(), &octet, 1) == 1 && octet != '\n';)
            line += octet;
        return line;
    }

    ChildProcess process_;
};

class Crowd : public testing::Test {
  protected:
    Crowd() {
        host_.set("orb", "connections_max", 4000)
            .set("access", "allowed_oss", "['127.0.0.0/8']")
            .set("notification", "heartbeat_s", 0)
            // what a good NMS does not take within this time is sent to it again
            .set("notification", "push_timeout_s", timesAreJudged() ? 2 : 10)
            // each interval leaves time for two rounds of hung calls of ping_threads each
            .set("session", "call_timeout_s", 3)
            .set("session", "ping_interval_s", static_cast<int>(interval_.count()))
            .set("trace", "level", 1);
        for (const char* const user : {"good", "hang", "hoard", "flap", "forge"})
            host_.addUser(user);
        if (runToEnd(kelpctl({"inventory", "generate", "--elements", "50", "--ports", "50"})) != 0)
            throw std::runtime_error("there is no inventory");
        host_.start();
        for (int i = 0; i < kGood; ++i) {
            NmsProcess& made = good_.emplace_back(host_);
            made.logIn(0, "good");
            made.follow(0);
            made.startChatter(0, kCallPause);
        }
    }

    Launch kelpctl(std::vector<std::string> arguments) {
        arguments.insert(arguments.begin(), {"--config", host_.configFile().string()});
        return host_.launch(KELPCTL, arguments);
    }
    /// Raise alarms for this time. Return when the channel has accepted all of them.
    void raiseAlarmsFor(seconds time) {
        const auto count = static_cast<int>(time.count()) * kAlarmsPerSecond;
        EXPECT_EQ(runToEnd(kelpctl({"storm", "--rate", std::to_string(kAlarmsPerSecond), "--count",
                                    std::to_string(count), "--first", std::to_string(alarms_ + 1)}),
                           4 * time + kPatience),
                  0);
        alarms_ += count;
    }
    /// Return the list of consumers that kelpctl prints.
    std::string consumers() {
        LogFile log(host_.scratch("consumers"));
        Launch launch = kelpctl({"consumers"});
        launch.output = log.file();
        runToEnd(launch);
        return log.text();
    }
    /// Return the 99th percentile of the durations of the good NMS's calls since the last query.
    microseconds p99() {
        std::vector<microseconds> all;
        for (NmsProcess& each : good_) {
            const auto some = each.takeLatencies(0);
            all.insert(all.end(), some.begin(), some.end());
        }
        EXPECT_FALSE(all.empty());
        std::sort(all.begin(), all.end());
        return all.empty() ? microseconds(0) : all[all.size() * 99 / 100];
    }
    void expectEveryAlarm(NmsProcess& nms) {
        EXPECT_TRUE(eventually([&] { return nms.followed(0).events == alarms_; }, patience_))
            << consumers();
        patience_ = kPatience;  // the wait for the first NMS gave all others the same time
        const FollowedEvents got = nms.followed(0);
        EXPECT_EQ(got.events, alarms_);
        EXPECT_EQ(got.late, 0);
        EXPECT_EQ(got.missing, 0);
        EXPECT_EQ(got.repeated, 0);
    }
    /// `before` is the number of pings before the bad NMS came.
    void expectPings(NmsProcess& nms, std::size_t before) {
        const std::vector<milliseconds> gaps = nms.roundGaps(0);
        ASSERT_GT(gaps.size(), before + 1);
        if (!timesAreJudged())
            return;
        for (std::size_t i = before; i < gaps.size(); ++i) {
            EXPECT_GE(gaps[i], interval_ * 8 / 10);
            EXPECT_LE(gaps[i], interval_ * 12 / 10);
        }
    }
    void expectServed(NmsProcess& nms) {
        const ChatterResult calls = nms.stopChatter(0);
        EXPECT_GT(calls.calls, 0);
        EXPECT_EQ(calls.failures, 0) << "of " << calls.calls;
        EXPECT_EQ(nms.counts(0).ended, 0);
    }

    const seconds interval_{duration() < seconds(60) ? 2 : 10};
    Host host_;
    std::list<NmsProcess> good_;
    int alarms_ = 0;
    milliseconds patience_ = std::chrono::minutes(4);
};

TEST_F(Crowd, GoodNmsAreNotAffectedByBadOnes) {
    raiseAlarmsFor(std::max(seconds(5), duration() / 5));
    const microseconds alone = p99();
    std::vector<std::size_t> pingsBefore;
    for (NmsProcess& each : good_)
        pingsBefore.push_back(each.roundGaps(0).size());

    BadNms forging(host_, "forge", 4, 1);
    BadNms hoarding(host_, "hoard", 2, 5);
    BadNms flapping(host_, "flap", 3, 5);
    BadNms hanging(host_, "hang", 1, kHanging);
    p99();
    raiseAlarmsFor(duration());
    const microseconds together = p99();
    std::cout << "p99 of two calls: " << alone.count() << " us alone, " << together.count()
              << " us with the bad ones\n";
    if (timesAreJudged()) {
        EXPECT_LE(together, 2 * alone);
    }
    auto before = pingsBefore.begin();
    for (NmsProcess& each : good_) {
        expectEveryAlarm(each);
        expectPings(each, *before++);
        expectServed(each);
    }

    // an NMS that hangs logs in again after its session was ended for its silence
    EXPECT_TRUE(eventually([&] { return hanging.logIns() > kHanging; }, seconds(90)));
    hanging.end();
    const Seen forged = forging.end();
    EXPECT_GT(forged.at("log_ins"), 0);
    for (const char* const wrong :
         {"pushed", "proxies", "admins", "limited", "slowed", "channel_slowed", "destroyed"})
        EXPECT_EQ(forged.at(wrong), 0) << wrong;
    const Seen hoarded = hoarding.end();
    for (const char* const taken : {"admins", "filters", "consumers", "iterators"})
        EXPECT_GT(hoarded.at(taken), 0) << taken;
    EXPECT_GT(flapping.end().at("log_ins"), 5);
    EXPECT_EQ(host_.stop(seconds(60)), 0);
}

}  // namespace
}  // namespace kelp::test
