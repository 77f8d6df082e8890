// kelpctl reload, config show and version.

#include <gtest/gtest.h>
#include <nlohmann/json.hpp>

#include <fstream>
#include <string>
#include <vector>

#include "harness/child_process.h"
#include "harness/eventually.h"
#include "harness/host.h"
#include "harness/log_file.h"
#include "harness/nms_process.h"

namespace kelp::test {
namespace {

using nlohmann::json;

class Reload : public testing::Test {
  protected:
    Reload() { host_.set("session", "max_sessions", 5); }

    /// Run kelpctl with the file as it was first, so that kelpctl itself reads no mistake.
    int kelpctl(std::vector<std::string> arguments) {
        LogFile log(host_.scratch("kelpctl" + std::to_string(++runs_)));
        const std::filesystem::path own = host_.scratch("own.toml");
        if (!std::filesystem::exists(own))
            std::filesystem::copy_file(host_.configFile(), own);
        arguments.insert(arguments.begin(), {"--config", own.string()});
        Launch launch = host_.launch(KELPCTL, arguments);
        launch.output = log.file();
        const int code = runToEnd(launch);
        text_ = log.text();
        return code;
    }
    json setting(const std::string& key) {
        EXPECT_EQ(kelpctl({"config", "show", "--json"}), 0) << text_;
        const json answer = json::parse(text_, nullptr, false);
        for (const json& each : answer.value("settings", json::array())) {
            if (each.value("key", "") == key)
                return each;
        }
        return json::object();
    }
    /// Write the host's file without telling the host.
    void write(const std::string& from, const std::string& to) const {
        std::ifstream in(host_.configFile());
        std::string all(std::istreambuf_iterator<char>(in), {});
        const std::size_t found = all.find(from);
        ASSERT_NE(found, std::string::npos) << all;
        std::ofstream(host_.configFile()) << all.replace(found, from.size(), to);
    }

    Host host_;
    std::string text_;  ///< of the last run
    int runs_ = 0;
};

TEST_F(Reload, ListsWhatChangedAndWhatNeedsARestart) {
    host_.set("oplog", "stall_max_ms", 1000).start();
    write("max_sessions = 5", "max_sessions = 6");
    write("stall_max_ms = 1000", "stall_max_ms = 1500");
    ASSERT_EQ(kelpctl({"reload"}), 0) << text_;
    EXPECT_NE(text_.find("session.max_sessions: 5 -> 6"), std::string::npos) << text_;
    const std::size_t restart = text_.find("needs a restart");
    EXPECT_NE(restart, std::string::npos) << text_;
    EXPECT_NE(text_.find("oplog.stall_max_ms: 1000 -> 1500", restart), std::string::npos) << text_;
    EXPECT_EQ(setting("oplog.stall_max_ms").value("waiting", ""), "1500");
    EXPECT_EQ(setting("session.max_sessions").value("value", ""), "6");
    EXPECT_GT(setting("session.max_sessions").value("line", 0), 0);
    EXPECT_EQ(setting("session.max_sessions").value("file", ""), host_.configFile().string());
    ASSERT_EQ(kelpctl({"reload"}), 0) << text_;
    EXPECT_EQ(text_.find("max_sessions"), std::string::npos) << text_;
}

TEST_F(Reload, FileWithAMistakeChangesNothing) {
    host_.start();
    (void)setting("session.max_sessions");  // copies the valid file
    write("max_sessions = 5", "max_sessions = 6\nmax_sesions = 7");
    EXPECT_EQ(kelpctl({"reload"}), 1);
    EXPECT_NE(text_.find("kept as it was"), std::string::npos) << text_;
    EXPECT_NE(text_.find("session.max_sesions"), std::string::npos) << text_;
    EXPECT_NE(text_.find(host_.configFile().string() + ":"), std::string::npos) << text_;
    EXPECT_EQ(setting("session.max_sessions").value("value", ""), "5");
}

TEST_F(Reload, VersionIsThatOfTheHost) {
    host_.start();
    ASSERT_EQ(kelpctl({"version"}), 0) << text_;
    EXPECT_EQ(text_.find("kelpd "), 0u) << text_;
}

TEST_F(Reload, UnderLoadLosesNoRequestAndNoEvent) {
    constexpr int kAlarms = 600;
    host_.set("notification", "heartbeat_s", 0);
    host_.addUser("alice");
    host_.start();
    NmsProcess nms(host_);
    nms.logIn(0, "alice");
    nms.follow(0);
    (void)setting("session.max_sessions");  // copies the valid file
    LogFile stormLog(host_.scratch("storm"));
    Launch launch = host_.launch(KELPCTL, {"--config", host_.scratch("own.toml").string(), "storm",
                                           "--rate", "200", "--count", std::to_string(kAlarms)});
    launch.output = stormLog.file();
    ChildProcess storm(launch);
    int reloads = 0;
    int refused = 0;
    std::string current = "max_sessions = 5";
    while (storm.isRunning()) {
        const std::string next = "max_sessions = " + std::to_string(6 + reloads % 2);
        write(current, next);
        ASSERT_EQ(kelpctl({"reload"}), 0) << text_;
        ++reloads;
        nms.ping(0);  // throws when the request is lost
        write(next, next + "\nno_such_key = 1");
        ASSERT_EQ(kelpctl({"reload"}), 1) << text_;
        ++refused;
        write("\nno_such_key = 1", "");
        current = next;
        nms.ping(0);
    }
    EXPECT_EQ(storm.waitExit(), 0) << stormLog.text();
    EXPECT_GE(reloads, 3);
    EXPECT_GE(refused, 3);
    const auto consumer = [&] {
        EXPECT_EQ(kelpctl({"consumers", "--json"}), 0) << text_;
        return json::parse(text_, nullptr, false).value("consumers", json::array()).at(0);
    };
    EXPECT_TRUE(eventually([&] { return consumer().value("queued", 1) == 0; })) << text_;
    const json counts = consumer();
    EXPECT_GE(counts.value("delivered", 0), kAlarms) << counts;
    EXPECT_EQ(counts.value("lost", -1), 0) << counts;
    EXPECT_EQ(setting("session.max_sessions").value("value", ""), current.substr(15));
}

}  // namespace
}  // namespace kelp::test
