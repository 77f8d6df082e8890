// The metrics of a real host, with a real NMS.

#include <gtest/gtest.h>
#include <httplib.h>
#include <sys/socket.h>

#include <map>
#include <sstream>
#include <string>

#include "harness/eventually.h"
#include "harness/host.h"
#include "harness/nms_process.h"

namespace kelp::test {
namespace {

class MetricsOfAHost : public testing::Test {
  protected:
    void SetUp() override {
        host_.set("session", "ping_interval_s", 1).set("notification", "heartbeat_s", 0);
        host_.addUser("alice");
        host_.start();
        ASSERT_TRUE(eventually([&] { return !scrape().empty(); }));
    }

    /// The values by their names with labels.
    std::map<std::string, std::string> scrape() {
        httplib::Client client((host_.scratch("state") / "kelp/admin.sock").string());
        client.set_address_family(AF_UNIX);
        const httplib::Result result = client.Get("/metrics");
        std::map<std::string, std::string> values;
        if (!result || result->status != 200)
            return values;
        EXPECT_EQ(result->get_header_value("Content-Type"),
                  "text/plain; version=0.0.4; charset=utf-8");
        std::istringstream lines(result->body);
        for (std::string line; std::getline(lines, line);) {
            if (line.empty() || line[0] == '#')
                continue;
            const std::size_t blank = line.rfind(' ');
            EXPECT_TRUE(values.emplace(line.substr(0, blank), line.substr(blank + 1)).second)
                << line;
        }
        return values;
    }
    bool hasValue(const std::string& name, const std::string& value) {
        return eventually([&] { return scrape()[name] == value; });
    }

    Host host_;
};

TEST_F(MetricsOfAHost, FollowSessionsLogInsAndEvents) {
    EXPECT_EQ(scrape()["kelp_sessions{state=\"normal\"}"], "0");
    EXPECT_TRUE(hasValue("kelp_naming_registered", "1"));
    EXPECT_EQ(scrape()["kelp_metrics_failed"], "0");
    NmsProcess nms(host_);
    nms.logIn(0, "alice");
    nms.follow(0);
    EXPECT_NE(nms.tryLogIn(0, "alice", "wrong"), "");
    EXPECT_TRUE(hasValue("kelp_sessions{state=\"normal\"}", "1"));
    EXPECT_TRUE(hasValue("kelp_log_ins_total{outcome=\"ok\"}", "1"));
    EXPECT_TRUE(hasValue("kelp_log_ins_total{outcome=\"refused\"}", "1"));
    Launch raise = host_.launch(
        KELPCTL, {"--config", host_.configFile().string(), "alarm", "raise", "--object",
                  "ManagedElement=NE-1", "--severity", "major", "--probable-cause", "LOS"});
    ASSERT_EQ(runToEnd(raise), 0);
    EXPECT_TRUE(hasValue("kelp_nms_events_delivered{user=\"alice\"}", "1"));
    EXPECT_TRUE(hasValue("kelp_alarms_active{severity=\"PS_MAJOR\"}", "1"));
    EXPECT_TRUE(
        hasValue("kelp_alarm_changes_total{source=\"operator\",outcome=\"accepted\"}", "1"));
    EXPECT_TRUE(hasValue("kelp_consumers", "1"));
    EXPECT_TRUE(eventually([&] {
        const std::string seconds = scrape()["kelp_nms_ping_seconds{user=\"alice\"}"];
        return !seconds.empty() && std::stod(seconds) > 0;
    }));
}

TEST_F(MetricsOfAHost, ShowAFrozenNms) {
    NmsProcess nms(host_);
    nms.logIn(0, "alice");
    nms.process().freeze();
    EXPECT_TRUE(eventually([&] {
        const std::string pings = scrape()["kelp_nms_unanswered_pings{user=\"alice\"}"];
        return !pings.empty() && std::stod(pings) >= 1;
    }));
    EXPECT_TRUE(hasValue("kelp_conditions{severity=\"warning\"}", "1"));
    nms.process().thaw();
}

TEST_F(MetricsOfAHost, HostileNamesStayInTheirLabel) {
    const std::string name = "a\"}1\\n";
    host_.addUser(name);
    NmsProcess nms(host_);
    nms.logIn(0, name);
    EXPECT_TRUE(hasValue("kelp_nms_sessions{user=\"a\\\"}1\\\\n\"}", "1"));
}

}  // namespace
}  // namespace kelp::test
