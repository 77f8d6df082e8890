// kelpctl reload, config show and version.

#include <gtest/gtest.h>
#include <nlohmann/json.hpp>

#include <fstream>
#include <string>
#include <vector>

#include "harness/host.h"

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

}  // namespace
}  // namespace kelp::test
