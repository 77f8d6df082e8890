// What kelpctl status shows while something is wrong.

#include <gtest/gtest.h>
#include <nlohmann/json.hpp>
#include <sys/stat.h>

#include <algorithm>
#include <filesystem>
#include <fstream>
#include <string>

#include "harness/eventually.h"
#include "harness/host.h"
#include "harness/name_server.h"
#include "harness/naming_client.h"
#include "harness/nms_process.h"
#include "support/small_disk.h"
#include "support/throw_away_certificates.h"
#include "system/naming/naming_tools.h"
#include "unit/orb/hand_made_reference.h"

namespace kelp::test {
namespace {

using nlohmann::json;

class Status : public testing::Test {
  protected:
    Status() {
        host_.set("notification", "heartbeat_s", 0).set("session", "ping_interval_s", 1);
        host_.addUser("alice");
        host_.addUser("bob");
    }

    /// Start the host. It opens the operator's interface a little later than it accepts log-ins.
    void start() {
        host_.start();
        ASSERT_TRUE(host_.log().waitFor("the operator's interface is at"));
    }
    /// Run `kelpctl status`. Return its exit code.
    int status(std::vector<std::string> options = {}) {
        LogFile log(host_.scratch("status" + std::to_string(++looks_)));
        options.insert(options.begin(), {"--config", host_.configFile().string(), "status"});
        Launch launch = host_.launch(KELPCTL, options);
        launch.output = log.file();
        const int code = runToEnd(launch);
        text_ = log.text();
        return code;
    }
    /// Whether the status has a condition with this word whose sentence contains the text.
    bool shows(const std::string& word, const std::string& sentence = "") {
        code_ = status({"--json"});
        const json shown = json::parse(text_, nullptr, false).value("conditions", json::array());
        return std::any_of(shown.begin(), shown.end(), [&](const json& each) {
            return each.value("word", "") == word &&
                   each.value("sentence", "").find(sentence) != std::string::npos;
        });
    }
    bool comesToShow(const std::string& word, const std::string& sentence = "") {
        return eventually([&] { return shows(word, sentence); });
    }

    void raiseAlarm(const std::string& element) {
        const Launch raise =
            host_.launch(KELPCTL, {"--config", host_.configFile().string(), "alarm", "raise",
                                   "--object", "ManagedElement=" + element, "--severity", "major",
                                   "--probable-cause", "LOS"});
        EXPECT_EQ(runToEnd(raise), 0);
    }

    Host host_;
    std::string text_;  ///< of the last status
    int code_ = -1;     ///< of the last status in JSON
    int looks_ = 0;
};

TEST_F(Status, HealthyHostIsWell) {
    start();
    EXPECT_EQ(status(), 0) << text_;
    EXPECT_NE(text_.find("ok: all is well"), std::string::npos) << text_;
}

TEST_F(Status, StoppedHostIsNoWarning) {
    EXPECT_EQ(status(), 1);
}

TEST_F(Status, FrozenNmsIsShownUntilItsSessionHasEnded) {
    start();
    NmsProcess nms(host_);
    nms.logIn(0, "bob");
    nms.process().freeze();
    EXPECT_TRUE(comesToShow("nms-silent", "NMS bob at ")) << text_;
    EXPECT_EQ(code_, 10);
    EXPECT_TRUE(eventually([&] { return !shows("nms-silent"); })) << text_;
    nms.process().thaw();
}

TEST_F(Status, LockedOutUserIsShown) {
    host_.set("security", "lockout_failures", 2);
    start();
    std::ofstream(host_.scratch("wrong")) << "wrong\n";
    for (int i = 0; i < 3; ++i) {
        Launch launch = host_.launch(
            KELPNMS, {"--naming", "127.0.0.1:" + std::to_string(host_.namingPort()), "--user",
                      "bob", "--password-file", host_.scratch("wrong").string(), "ping"});
        EXPECT_NE(runToEnd(launch), 0);
    }
    EXPECT_TRUE(shows("user-locked-out", "user \"bob\" is locked out at 127.0.0.1")) << text_;
    EXPECT_EQ(code_, 10);
    EXPECT_FALSE(shows("user-locked-out", "alice")) << text_;
}

TEST_F(Status, LossOfEventsIsShownUntilItIsOver) {
    const std::string fifo = host_.scratch("loss").string();
    ASSERT_EQ(::mkfifo(fifo.c_str(), 0600), 0);
    host_.setEnvironment("KELP_TEST_EVENT_LOSS", fifo).addBundle("event_loss_switch");
    start();
    const auto report = [&](const std::string& line) {
        std::ofstream(fifo, std::ios::app) << line << std::endl;
    };
    report("occurred 20240105030405.0Z 4711");
    EXPECT_TRUE(comesToShow("events-lost", "20240105030405.0Z")) << text_;
    EXPECT_EQ(code_, 20);
    EXPECT_EQ(status(), 20);
    EXPECT_TRUE(text_.starts_with("critical: events are being lost")) << text_;
    report("cleared 20240105030500.0Z");
    EXPECT_TRUE(eventually([&] { return !shows("events-lost"); })) << text_;
}

TEST_F(Status, ConsumerThatDoesNotAnswerIsShown) {
    host_.set("notification", "push_timeout_s", 1);
    start();
    NmsProcess nms(host_);
    nms.logIn(0, "bob");
    nms.follow(0);
    nms.process().freeze();
    raiseAlarm("NE-1");
    EXPECT_TRUE(comesToShow("consumer-silent", "1 of ")) << text_;
    nms.process().thaw();
}

TEST_F(Status, SlowConsumerIsShownWithItsNms) {
    host_.set("notification", "push_timeout_s", 60).set("notification", "queue_events_max", 4);
    host_.set("session", "ping_interval_s", 60);
    start();
    NmsProcess nms(host_);
    nms.logIn(0, "bob");
    nms.follow(0);
    nms.process().freeze();
    for (const char* const element : {"NE-1", "NE-2", "NE-3"})
        raiseAlarm(element);
    EXPECT_TRUE(comesToShow("consumer-slow", "of NMS bob at ")) << text_;
    nms.process().thaw();
    EXPECT_TRUE(eventually([&] { return !shows("consumer-slow"); })) << text_;
}

TEST_F(Status, ReplacedNamingEntryIsShown) {
    const NameServer names;
    host_.useNamingService(names.port());
    start();
    NamingClient client(testOrb(), names.port());
    ASSERT_TRUE(eventually([&] { return !client.factoryAddress().empty(); }));
    const CORBA::Object_var foreign = orb::toReference(
        testOrb(), "corbaloc:iiop:1.2@127.0.0.9:4444/%ffV4800%00EMSSessionFactory");
    client.bindFactory(foreign.in());
    EXPECT_TRUE(comesToShow("naming-replaced", "127.0.0.9:4444")) << text_;
    EXPECT_EQ(code_, 10);
}

TEST_F(Status, NamingServiceThatDoesNotAnswerIsShown) {
    NameServer names;
    host_.useNamingService(names.port());
    start();
    names.process().kill();
    EXPECT_TRUE(comesToShow("naming-unreachable")) << text_;
    EXPECT_EQ(code_, 20);
}

TEST_F(Status, CertificateThatIsAboutToExpireOrHasExpiredIsShown) {
    const ThrowAwayCertificates certificates;
    const PortLease port;
    const PortLease namingPort;
    const std::string installed = certificates.issue("ems");
    host_.set("tls", "mode", 1)
        .set("tls", "listen", quoted(port.hostAndPort()))
        .set("tls", "ca", quoted(certificates.authority()))
        .set("tls", "certificate", quoted(installed))
        .set("naming", "ssl_port", namingPort.port());
    start();
    EXPECT_TRUE(shows("certificate-expires", "in 1 day")) << text_;
    EXPECT_EQ(code_, 10);
    std::filesystem::copy_file(certificates.issueExpired("old"), installed,
                               std::filesystem::copy_options::overwrite_existing);
    EXPECT_TRUE(shows("certificate-expired", "has ended at 2021-01-01")) << text_;
    EXPECT_EQ(code_, 20);
}

#ifdef KELP_CAN_MOUNT
TEST_F(Status, FullDiskAndRefusedIntakeAreShown) {
    const std::filesystem::path folder = host_.scratch("small");
    std::filesystem::create_directory(folder);
    const SmallDisk disk(folder, 24);
    ASSERT_TRUE(disk.isMounted());
    host_.set("oplog", "database", quoted((folder / "oplog.db").string()));
    host_.set("alarms", "log", quoted((folder / "changes.db").string()));
    start();
    disk.fill();
    const auto storm = [&] {
        Launch raise = host_.launch(KELPCTL, {"--config", host_.configFile().string(), "storm",
                                              "--rate", "1000", "--count", "1000"});
        LogFile log(host_.scratch("storm"));
        raise.output = log.file();
        return runToEnd(raise);
    };
    EXPECT_NE(storm(), 0);
    EXPECT_TRUE(comesToShow("disk-full", folder.string())) << text_;
    EXPECT_TRUE(comesToShow("intake-refused")) << text_;
    // a request, which the operation log should record
    NmsProcess nms(host_);
    nms.tryLogIn(0, "bob", "wrong");
    EXPECT_TRUE(comesToShow("log-failing", "the security log")) << text_;
    EXPECT_EQ(code_, 20);
    disk.makeRoom();
    EXPECT_TRUE(eventually([&] { return !shows("disk-full") && !shows("log-failing"); })) << text_;
}
#endif

}  // namespace
}  // namespace kelp::test
