// The commands that call a running host. Here the test takes the place of the host.

#include <gmock/gmock.h>
#include <signal.h>

#include <functional>
#include <mutex>
#include <optional>

#include "admin/admin_server.h"
#include "harness/child_process.h"
#include "harness/log_file.h"
#include "kelpctl_fixture.h"
#include "support/tcp_peers.h"
#include "support/wait_until.h"

namespace kelp::test {
namespace {

using admin::Json;
using testing::StartsWith;

/// kelpctl with a host that records the requests.
class AlarmCommands : public KelpctlTest {
  protected:
    void startHost() {
        admin::Address address;
        address.socket = folder / "admin.sock";
        startHost(address);
    }
    void startHost(const admin::Address& address) {
        host_.emplace(address, host::AdminLimits{}, registry_);
    }

    Json take(const Json& request) {
        const std::lock_guard guard(mutex_);
        requests_.push_back(request);
        if (refuse_)
            throw admin::RequestError("not today", admin::RequestError::kUnavailable);
        const std::size_t count = request.is_array() ? request.size() : 1;
        taken_ += count;
        return {{"taken", count}, {"firstNotificationId", "17"}, {"lastNotificationId", "17"}};
    }
    std::size_t taken() {
        const std::lock_guard guard(mutex_);
        return taken_;
    }

    std::mutex mutex_;
    std::vector<Json> requests_;
    std::size_t taken_ = 0;
    bool refuse_ = false;
    admin::Registry registry_;
    const admin::Registration alarms_ =
        registry_.enter("POST", "/alarms", [this](const Json& request) { return take(request); });
    std::optional<host::AdminServer> host_;
};

TEST_F(AlarmCommands, RaiseSendsTheAlarmOfTheConfiguredEms) {
    folder.write("kelp.toml", "[ems]\nname = \"Acme/North\"\n");
    startHost();
    const ToolRun run = kelpctl(
        "alarm raise --object ManagedElement=NE-1 PTP=/shelf=1/port=2 --severity Major "
        "--probable-cause LOS");
    EXPECT_EQ(run.status, 0) << run;
    EXPECT_EQ(run.output, "alarm raised, notification id 17\n");
    ASSERT_EQ(requests_.size(), 1u);
    EXPECT_EQ(requests_.front(), Json::parse(R"({
        "probableCause": "LOS",
        "perceivedSeverity": "PS_MAJOR",
        "objectName": [{"name": "EMS", "value": "Acme/North"},
                       {"name": "ManagedElement", "value": "NE-1"},
                       {"name": "PTP", "value": "/shelf=1/port=2"}]})"));
}

TEST_F(AlarmCommands, RaiseSendsOptionalFields) {
    startHost();
    const ToolRun run = kelpctl(
        "alarm raise --json --object EMS=Other/EMS --severity indeterminate --probable-cause EMS "
        "--probable-cause-qualifier q --layer-rate 20 --service-affecting no --text 'two words' "
        "--ne-time 20240105030405.0Z --native-name n --native-cause c --object-type OT_EMS "
        "--event-type equipmentAlarm --info a=1 b=x=y");
    EXPECT_EQ(run.status, 0) << run;
    EXPECT_EQ(Json::parse(run.output)["taken"], 1);
    ASSERT_EQ(requests_.size(), 1u);
    const Json expected = Json::parse(R"({
        "objectName": [{"name": "EMS", "value": "Other/EMS"}],
        "perceivedSeverity": "PS_INDETERMINATE",
        "probableCause": "EMS",
        "probableCauseQualifier": "q",
        "layerRate": 20,
        "serviceAffecting": "SA_NON_SERVICE_AFFECTING",
        "additionalText": "two words",
        "neTime": "20240105030405.0Z",
        "nativeEMSName": "n",
        "nativeProbableCause": "c",
        "objectType": "OT_EMS",
        "X.733::EventType": "equipmentAlarm",
        "additionalInfo": [{"name": "a", "value": "1"}, {"name": "b", "value": "x=y"}]})");
    EXPECT_EQ(requests_.front().size(), expected.size());
    for (const auto& [key, value] : expected.items())
        EXPECT_EQ(requests_.front()[key], value) << key;
}

TEST_F(AlarmCommands, ClearSendsTheSeverityCleared) {
    startHost();
    const ToolRun run = kelpctl("alarm clear --object ManagedElement=NE-1 --probable-cause LOS");
    EXPECT_EQ(run.output, "alarm cleared, notification id 17\n") << run;
    ASSERT_EQ(requests_.size(), 1u);
    EXPECT_EQ(requests_.front()["perceivedSeverity"], "PS_CLEARED");
}

TEST_F(AlarmCommands, WrongCommandLinesAreNamed) {
    EXPECT_TRUE(kelpctl("alarm").failedWith(2, "A subcommand is required"));
    EXPECT_TRUE(kelpctl("alarm raise --object A=1 --probable-cause LOS")
                    .failedWith(2, "--severity is required"));
    EXPECT_TRUE(kelpctl("alarm clear --object A=1").failedWith(2, "--probable-cause is required"));
    EXPECT_TRUE(kelpctl("alarm clear --probable-cause LOS").failedWith(2, "--object is required"));
    EXPECT_TRUE(
        kelpctl("alarm raise --object A=1 --probable-cause LOS --severity huge")
            .failedWith(2, "\"huge\" is none of critical, major, minor, warning, indeterminate"));
    EXPECT_TRUE(kelpctl("storm --count 3").failedWith(2, "--rate is required"));
    EXPECT_TRUE(kelpctl("storm --rate 0 --count 3").failedWith(2, "--rate"));
    EXPECT_TRUE(kelpctl("storm --rate 1 --count 0").failedWith(2, "--count"));
    startHost();
    EXPECT_TRUE(kelpctl("alarm clear --object NE-1 --probable-cause LOS")
                    .failedWith(1, "--object: \"NE-1\" is not of the form NAME=VALUE"));
    EXPECT_TRUE(requests_.empty());
}

TEST_F(AlarmCommands, RefusalOfTheHostIsReported) {
    refuse_ = true;
    startHost();
    EXPECT_TRUE(kelpctl("alarm clear --object A=1 --probable-cause LOS")
                    .failedWith(1, "kelpctl: not today\n"));
    const ToolRun storm = kelpctl("storm --rate 10 --count 3");
    EXPECT_TRUE(storm.failedWith(1, "not today (0 of 3 alarms accepted)")) << storm;
}

TEST_F(AlarmCommands, MissingHostIsNamed) {
    const std::string clear = "alarm clear --object A=1 --probable-cause LOS";
    const std::string socket = (folder / "admin.sock").string();
    const ToolRun absent = kelpctl(clear);
    EXPECT_TRUE(absent.failedWith(
        1, "kelpd cannot be reached at " + socket + ": No such file or directory"))
        << absent;
    startHost();
    std::filesystem::rename(socket, socket + ".kept");
    host_.reset();
    std::filesystem::rename(socket + ".kept", socket);
    const ToolRun dead = kelpctl(clear);
    EXPECT_TRUE(
        dead.failedWith(1, "kelpd cannot be reached at " + socket + ": nothing listens there"))
        << dead;
}

TEST_F(AlarmCommands, SocketOfAnotherHostCanBeNamed) {
    admin::Address address;
    address.socket = folder / "other.sock";
    startHost(address);
    EXPECT_EQ(kelpctl("alarm clear --object A=1 --probable-cause LOS --socket other.sock").status,
              0);
    EXPECT_EQ(taken(), 1u);
}

TEST_F(AlarmCommands, TokenIsSentToAPort) {
    admin::Address address;
    address.host = "127.0.0.1";
    address.port = freePort();
    address.tokenFile = folder / "admin.token";
    folder.write("kelp.toml", "[admin]\nlisten = \"" + address.text() + "\"\n");
    const std::string clear = "alarm clear --object A=1 --probable-cause LOS";
    EXPECT_TRUE(kelpctl(clear).failedWith(1, "admin.token cannot be read"));
    startHost(address);
    const ToolRun run = kelpctl(clear);
    EXPECT_EQ(run.status, 0) << run;
    folder.write("admin.token", "another\n");
    EXPECT_TRUE(kelpctl(clear).failedWith(1, "the token is missing or wrong"));
    EXPECT_EQ(taken(), 1u);
}

TEST_F(AlarmCommands, StormSendsItsAlarmsInOrderAndReportsTheirNumber) {
    startHost();
    const ToolRun run = kelpctl("storm --rate 100000 --count 1300 --severity critical");
    EXPECT_EQ(run.status, 0) << run;
    EXPECT_THAT(run.output, StartsWith("1300 of 1300 alarms accepted, "));
    EXPECT_EQ(taken(), 1300u);
    int number = 0;
    for (const Json& batch : requests_) {
        EXPECT_LE(batch.size(), 500u);
        for (const Json& alarm : batch) {
            ++number;
            EXPECT_EQ(alarm["probableCauseQualifier"], std::to_string(number));
            EXPECT_EQ(alarm["perceivedSeverity"], "PS_CRITICAL");
        }
    }
    EXPECT_EQ(number, 1300);
}

TEST_F(AlarmCommands, InterruptedStormReportsItsProgress) {
    startHost();
    LogFile output(folder / "output");
    ChildProcess storm(
        {KELPCTL,
         {"--config", (folder / "kelp.toml").string(), "storm", "--rate", "20", "--count", "5000"},
         {},
         output.file(),
         false});
    ASSERT_TRUE(waitUntil([this] { return taken() >= 2; }));
    storm.signal(SIGINT);
    EXPECT_EQ(storm.waitExit(), 0);
    EXPECT_THAT(output.text(), StartsWith(std::to_string(taken()) + " of 5000 alarms accepted, "));
    EXPECT_TRUE(output.contains(", interrupted\n")) << output.text();
}

}  // namespace
}  // namespace kelp::test
