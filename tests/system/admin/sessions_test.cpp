// The operator's view of sessions: real hosts, real NMS, kelpctl.

#include <gtest/gtest.h>
#include <nlohmann/json.hpp>

#include <algorithm>
#include <atomic>
#include <fstream>
#include <iterator>
#include <string>
#include <thread>
#include <vector>

#include "harness/child_process.h"
#include "harness/eventually.h"
#include "harness/host.h"
#include "harness/log_file.h"
#include "harness/nms_process.h"

namespace kelp::test {
namespace {

using Json = nlohmann::ordered_json;
using std::chrono::milliseconds;

struct CommandResult {
    int status = -1;
    std::string output;
};

class OperatorSessions : public testing::Test {
  protected:
    void SetUp() override {
        host.set("session", "ping_interval_s", 1);
        host.set("session", "call_timeout_s", 1);
        host.addUser("alice");
        host.addUser("bob");
    }
    void start() {
        host.start();
        ASSERT_TRUE(eventually([&] { return ctl({"drain", "--status"}).status == 0; }));
    }

    CommandResult ctl(std::vector<std::string> arguments) {
        arguments.insert(arguments.begin(), {"--config", host.configFile().string()});
        Launch launch = host.launch(KELPCTL, std::move(arguments));
        const std::filesystem::path file =
            host.scratch("kelpctl-" + std::to_string(++commands_) + ".out");
        launch.output = file;
        CommandResult result{runToEnd(launch), {}};
        std::ifstream in(file);
        result.output.assign(std::istreambuf_iterator<char>(in), {});
        return result;
    }
    Json json(std::vector<std::string> arguments) {
        arguments.push_back("--json");
        const CommandResult result = ctl(std::move(arguments));
        EXPECT_EQ(result.status, 0) << result.output;
        return Json::parse(result.output, nullptr, false);
    }
    Json sessions() { return json({"sessions"}).at("sessions"); }
    /// The ended sessions, newest first.
    Json ended() { return json({"sessions", "--ended"}).at("sessions"); }
    /// Wait until a session has ended and return the newest one.
    Json awaitEnded(std::size_t count = 1) {
        EXPECT_TRUE(eventually([&] { return ended().size() >= count; }));
        const Json all = ended();
        return all.empty() ? Json::object() : all.front();
    }
    void expectEnd(const std::string& reason, const std::string& user, std::size_t count = 1) {
        const Json last = awaitEnded(count);
        EXPECT_EQ(last.value("reason", ""), reason) << last;
        EXPECT_EQ(last.value("user", ""), user) << last;
    }

    Host host;

  private:
    int commands_ = 0;
};

TEST_F(OperatorSessions, ShowsWhoIsConnectedAndHowItsPingsGo) {
    start();
    NmsProcess nms(host);
    nms.logIn(0, "alice");
    ASSERT_TRUE(eventually([&] {
        const Json all = sessions();
        return all.size() == 1 && all[0].at("ping").value("count", 0) >= 2;
    }));
    for (int i = 0; i < 5; ++i)
        nms.ping(0);
    const Json session = sessions().at(0);
    EXPECT_EQ(session.at("user"), "alice");
    EXPECT_EQ(session.at("state"), "normal");
    EXPECT_TRUE(session.at("peer").get<std::string>().starts_with("127.0.0.1:")) << session;
    EXPECT_GE(session.value("calls", 0), 5);
    EXPECT_GT(session.at("ping").value("averageMs", 0.0), 0.0);
    EXPECT_LT(session.at("ping").value("averageMs", 0.0), 1000.0);
    EXPECT_EQ(session.at("ping").value("failed", -1), 0);
}

TEST_F(OperatorSessions, CountsTheEventsOfTheConsumersOfASession) {
    start();
    NmsProcess nms(host);
    nms.logIn(0, "alice");
    nms.follow(0);
    for (int i = 0; i < 3; ++i)
        ASSERT_EQ(ctl({"alarm", "raise", "--object", "ManagedElement=N" + std::to_string(i),
                       "--severity", "major", "--probable-cause", "LOS"})
                      .status,
                  0);
    ASSERT_TRUE(
        eventually([&] { return sessions().at(0).at("events").value("delivered", 0) >= 3; }));
    const Json shown = json({"session", "show", "alice"});
    ASSERT_EQ(shown.at("consumers").size(), 1U);
    const Json& consumer = shown.at("consumers")[0];
    EXPECT_EQ(
        consumer.value("sent", 0),
        consumer.value("delivered", 0) + consumer.value("lost", 0) + consumer.value("queued", 0));
    EXPECT_GT(consumer.value("deliveryMs", 0.0), 0.0);
    EXPECT_FALSE(consumer.at("subscription").at("types").empty());
    const std::uint64_t delivered = shown.at("events").value("delivered", std::uint64_t{0});
    nms.unfollow(0);
    nms.end(0);
    // the figures of a consumer that left before the session ended are part of the session's
    EXPECT_GE(awaitEnded().at("events").value("delivered", std::uint64_t{0}), delivered);
}

TEST_F(OperatorSessions, KeepsALogOut) {
    start();
    NmsProcess nms(host);
    nms.logIn(0, "alice");
    nms.end(0);
    expectEnd("log-out", "alice");
    EXPECT_EQ(ended()[0].at("by"), "alice");
    EXPECT_TRUE(sessions().empty() || sessions()[0].at("state") == "ending");
}

TEST_F(OperatorSessions, KeepsAReplacedSession) {
    start();
    NmsProcess nms(host);
    nms.logIn(0, "alice");
    nms.logIn(1, "alice");
    expectEnd("replaced", "alice");
    EXPECT_TRUE(ended()[0].at("by").get<std::string>().starts_with("a log-in from 127.0.0.1:"));
}

TEST_F(OperatorSessions, KeepsAnNmsThatDoesNotAnswer) {
    start();
    NmsProcess nms(host);
    nms.logIn(0, "alice");
    nms.process().freeze();
    ASSERT_TRUE(eventually([&] {
        const Json all = sessions();
        return all.size() == 1 && all[0].at("ping").value("unanswered", 0) >= 1;
    }));
    const Json slow = json({"session", "show", "alice"});
    EXPECT_TRUE(slow.at("explanation").at("isSlow").get<bool>()) << slow;
    EXPECT_FALSE(slow.at("explanation").at("advice").empty());
    expectEnd("dead", "alice");
    nms.process().thaw();
}

TEST_F(OperatorSessions, NmsThatHasNotBeenPingedIsShownWithoutTimes) {
    host.set("session", "ping_interval_s", 3600);
    start();
    NmsProcess nms(host);
    nms.logIn(0, "alice");
    const std::string shown = ctl({"session", "show", "alice"}).output;
    EXPECT_NE(shown.find("none yet"), std::string::npos) << shown;
    EXPECT_EQ(shown.find("0.0 ms"), std::string::npos) << shown;
    EXPECT_NE(ctl({"sessions"}).output.find("none yet"), std::string::npos);
}

TEST_F(OperatorSessions, KeepsASilentNms) {
    host.set("session", "release_strategy", 2);
    host.set("session", "ping_mode", "false");
    host.set("session", "silent_time_s", 1);
    start();
    NmsProcess nms(host);
    nms.logIn(0, "alice");
    expectEnd("silent", "alice");
}

TEST_F(OperatorSessions, KeepsTheOldestSessionBeyondTheLimit) {
    host.set("session", "release_strategy", 1);
    host.set("session", "ping_mode", "false");
    host.set("session", "max_sessions", 1);
    start();
    NmsProcess nms(host, 2);
    nms.logIn(0, "alice");
    nms.logIn(1, "bob");
    expectEnd("limit", "alice");
}

TEST_F(OperatorSessions, KeepsTheSessionOfADisabledUser) {
    start();
    NmsProcess nms(host);
    nms.logIn(0, "alice");
    host.user({"disable", "alice"});
    expectEnd("user-disabled", "alice");
}

TEST_F(OperatorSessions, KeepsTheSessionsOfAHostThatStopped) {
    start();
    NmsProcess nms(host);
    nms.logIn(0, "alice");
    ASSERT_EQ(host.stop(), 0);
    start();
    expectEnd("host-stopped", "alice");
}

TEST_F(OperatorSessions, KeepsTheSessionsOfAHostThatWasKilled) {
    start();
    NmsProcess nms(host);
    nms.logIn(0, "alice");
    ASSERT_TRUE(eventually([&] { return sessions().size() == 1; }));
    const std::uint64_t number = sessions()[0].at("number");
    // an ended session is written after all that began before it
    nms.logIn(1, "bob");
    nms.end(1);
    expectEnd("log-out", "bob");
    host.process().kill();
    host.waitExit();
    start();
    ASSERT_TRUE(eventually([&] { return ended().size() == 2; }));
    const Json last = ended()[1];
    EXPECT_EQ(last.at("number"), number);
    EXPECT_EQ(last.at("reason"), "host-killed");
    EXPECT_EQ(last.at("user"), "alice");
}

TEST_F(OperatorSessions, EndsASessionAndTellsItsNms) {
    start();
    NmsProcess nms(host);
    nms.logIn(0, "alice");
    const std::string number = std::to_string(sessions().at(0).at("number").get<int>());
    ASSERT_EQ(ctl({"session", "end", "alice", "--by", "carol"}).status, 0);
    EXPECT_TRUE(eventually([&] { return nms.counts(0).ended == 1; }));
    EXPECT_FALSE(nms.hasSession(0));
    expectEnd("operator", "alice");
    EXPECT_EQ(ended()[0].at("by"), "carol");
    const CommandResult again = ctl({"session", "end", number});
    EXPECT_NE(again.status, 0);
    EXPECT_NE(ctl({"session", "end", "999999999"}).status, 0);
    nms.logIn(0, "alice");
}

TEST_F(OperatorSessions, EndsASessionOfAFrozenNms) {
    host.set("session", "ping_interval_s", 3600);
    start();
    NmsProcess nms(host);
    nms.logIn(0, "alice");
    nms.process().freeze();
    EXPECT_EQ(ctl({"session", "end", "alice"}).status, 0);
    expectEnd("operator", "alice");
    nms.process().thaw();
}

TEST_F(OperatorSessions, DrainRefusesLogInsWithTheReasonAndEndsTheRest) {
    start();
    NmsProcess nms(host, 2);
    nms.logIn(0, "alice");
    nms.logIn(1, "bob");
    ASSERT_EQ(ctl({"drain", "--reason", "upgrade at ten", "--by", "carol"}).status, 0);
    ASSERT_TRUE(eventually([&] { return json({"drain", "--status"}).at("state") == "drained"; }));
    EXPECT_EQ(json({"drain", "--status"}).value("ended", 0), 2);
    EXPECT_TRUE(eventually([&] { return nms.endedOnce() == 2; }));
    const std::string refusal = nms.tryLogIn(0, "alice", Host::kPassword);
    EXPECT_NE(refusal.find("upgrade at ten"), std::string::npos) << refusal;
    EXPECT_NE(refusal.find("drained"), std::string::npos) << refusal;
    // who does not know the password learns nothing
    EXPECT_EQ(nms.tryLogIn(0, "alice", "wrong").find("upgrade"), std::string::npos);
    expectEnd("operator", "bob", 2);
    ASSERT_EQ(ctl({"drain", "--end"}).status, 0);
    EXPECT_EQ(nms.tryLogIn(0, "alice", Host::kPassword), "");
    EXPECT_NE(ctl({"drain", "--end"}).status, 0);
}

TEST_F(OperatorSessions, DrainEndsLogInsThatWereInProgress) {
    start();
    NmsProcess nms(host, 4);
    std::atomic<bool> goesOn{true};
    std::thread logIns([&] {
        for (int i = 0; goesOn; ++i)
            nms.tryLogIn(i % 4, "alice", Host::kPassword);
    });
    EXPECT_TRUE(eventually([&] { return !sessions().empty(); }));
    EXPECT_EQ(ctl({"drain"}).status, 0);
    EXPECT_TRUE(eventually([&] { return json({"drain", "--status"}).at("state") == "drained"; }));
    // no log-in gets through from here on
    EXPECT_TRUE(sessions().empty());
    goesOn = false;
    logIns.join();
    EXPECT_EQ(json({"drain", "--status"}).at("sessionsLeft"), 0);
    EXPECT_EQ(host.stop(), 0);
}

TEST_F(OperatorSessions, StopsWhileItDrainsFrozenNms) {
    start();
    NmsProcess nms(host, 8);
    for (int i = 0; i < 8; ++i)
        nms.logIn(i, "alice");
    nms.process().freeze();
    EXPECT_EQ(ctl({"drain"}).status, 0);
    EXPECT_EQ(host.stop(), 0);
    nms.process().thaw();
}

TEST_F(OperatorSessions, HostileNamesReachNoTerminal) {
    start();
    NmsProcess nms(host);
    for (const char* const meant : {"\x1b[2Jalice", "a\nb", "../../etc"})
        EXPECT_NE(ctl({"session", "show", meant}).status, 0);
    const CommandResult longText = ctl({"sessions", "--ended", "--user", std::string(5000, 'x')});
    EXPECT_NE(longText.status, 0);
    const CommandResult escapes = ctl({"session", "end", "1", "--by", "\x1b[31mred"});
    EXPECT_EQ(escapes.output.find('\x1b'), std::string::npos);
    nms.logIn(0, "alice");
    ASSERT_EQ(ctl({"session", "end", "alice", "--by", "\x1b[31mred"}).status, 0);
    awaitEnded();
    EXPECT_EQ(ctl({"sessions", "--ended"}).output.find('\x1b'), std::string::npos);
    EXPECT_NE(ctl({"drain", "--reason", std::string(100000, 'y')}).status, 0);
    EXPECT_EQ(json({"drain", "--status"}).at("state"), "off");
}

TEST_F(OperatorSessions, SessionsDoNotNeedTheHistory) {
    host.set("session", "history", quoted("/proc/self/none/sessions.db"));
    start();
    NmsProcess nms(host);
    nms.logIn(0, "alice");
    EXPECT_EQ(sessions().size(), 1U);
    EXPECT_NE(ctl({"sessions", "--ended"}).status, 0);
    nms.end(0);
    nms.logIn(0, "alice");
    EXPECT_TRUE(nms.hasSession(0));
    EXPECT_EQ(host.stop(), 0);
}

TEST_F(OperatorSessions, TopPrintsTheSessionsOnceWithoutATerminal) {
    start();
    NmsProcess nms(host);
    nms.logIn(0, "alice");
    const CommandResult top = ctl({"top"});
    EXPECT_EQ(top.status, 0);
    EXPECT_NE(top.output.find("1 sessions"), std::string::npos) << top.output;
    EXPECT_NE(top.output.find("alice"), std::string::npos) << top.output;
    EXPECT_EQ(top.output.find('\x1b'), std::string::npos);
}

TEST_F(OperatorSessions, TraceShowsTheRequestsOfOneNms) {
    start();
    NmsProcess nms(host);
    nms.logIn(0, "alice");
    NmsProcess other(host);
    other.logIn(0, "bob");
    Launch launch = host.launch(KELPCTL, {"--config", host.configFile().string(), "trace", "alice",
                                          "--for", "1h", "--json"});
    LogFile lines(host.scratch("trace"));
    launch.output = lines.file();
    ChildProcess trace(launch);
    // it shows what is answered after its start
    ASSERT_TRUE(eventually([&] {
        other.ping(0);
        nms.ping(0);
        return lines.contains("\"ping\"");
    })) << lines.text();
    nms.end(0);
    EXPECT_TRUE(lines.waitFor("endSession")) << lines.text();
    EXPECT_FALSE(lines.contains("bob")) << lines.text();
    EXPECT_FALSE(lines.contains("getEmsSession")) << lines.text();
    trace.kill();
}

TEST_F(OperatorSessions, TraceEndsAfterItsTime) {
    start();
    const CommandResult trace = ctl({"trace", "127.0.0.1", "--for", "1s"});
    EXPECT_EQ(trace.status, 0) << trace.output;
    EXPECT_NE(trace.output.find("OPERATION"), std::string::npos) << trace.output;
    for (const char* const wrong : {"0s", "25h", "-1s", "5", "soon", "99999999999999s"})
        EXPECT_EQ(ctl({"trace", "alice", std::string("--for=") + wrong}).status, 1) << wrong;
}

TEST_F(OperatorSessions, ThreadsShowWhatTheyDo) {
    start();
    const Json threads = json({"threads"}).at("threads");
    const auto serves = [&](const Json& each) { return each.at("name") == "security"; };
    EXPECT_TRUE(std::any_of(threads.begin(), threads.end(), serves)) << threads;
    for (const Json& each : threads)
        EXPECT_FALSE(each.at("stuck").get<bool>()) << each;
    const CommandResult table = ctl({"threads"});
    EXPECT_NE(table.output.find("security"), std::string::npos) << table.output;
}

TEST_F(OperatorSessions, PartsShowIntakeBySourceAndWhatElseTheHostHas) {
    start();
    ASSERT_EQ(ctl({"alarm", "raise", "--object", "ManagedElement=N1", "--severity", "major",
                   "--probable-cause", "LOS"})
                  .status,
              0);
    const Json parts = json({"parts"});
    for (const char* const part : {"alarms", "certificates", "channel", "disks", "intake",
                                   "inventory", "iterators", "logs", "managers"}) {
        ASSERT_TRUE(parts.contains(part)) << part;
        EXPECT_FALSE(parts.at(part).contains("error")) << parts.at(part);
    }
    EXPECT_EQ(parts.at("alarms").at("active").value("PS_MAJOR", 0), 1);
    const Json& sources = parts.at("intake").at("sources");
    const auto isOperator = [](const Json& each) { return each.at("source") == "operator"; };
    const auto source = std::find_if(sources.begin(), sources.end(), isOperator);
    ASSERT_NE(source, sources.end()) << sources;
    EXPECT_EQ(source->value("accepted", 0), 1);
    EXPECT_GT(parts.at("disks").at("disks").at(0).value("capacityBytes", 0.0), 0.0);
    EXPECT_EQ(parts.at("channel").value("mode", ""), "embedded");
    const CommandResult table = ctl({"parts"});
    EXPECT_NE(table.output.find("PS_MAJOR         1"), std::string::npos) << table.output;
}

TEST_F(OperatorSessions, WatchRepeatsUntilTheHostIsGone) {
    start();
    Launch launch =
        host.launch(KELPCTL, {"--config", host.configFile().string(), "naming", "--watch", "1"});
    LogFile shown(host.scratch("watch"));
    launch.output = shown.file();
    ChildProcess watch(launch);
    EXPECT_TRUE(shown.waitFor("embedded", 2)) << shown.text();
    EXPECT_FALSE(shown.contains("\x1b")) << shown.text();
    EXPECT_EQ(host.stop(), 0);
    EXPECT_EQ(watch.waitExit(), 1) << shown.text();
}

}  // namespace
}  // namespace kelp::test
