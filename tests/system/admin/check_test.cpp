// What kelpctl check finds on the way of an NMS, and what it says about the part that is broken.

#include <gtest/gtest.h>
#include <nlohmann/json.hpp>

#include <chrono>
#include <fstream>
#include <string>
#include <vector>

#include "harness/eventually.h"
#include "harness/host.h"
#include "harness/name_server.h"
#include "harness/naming_client.h"
#include "support/tcp_peers.h"
#include "support/tcp_relay.h"
#include "support/throw_away_certificates.h"
#include "system/naming/naming_tools.h"
#include "unit/orb/hand_made_reference.h"

namespace kelp::test {
namespace {

using nlohmann::json;

constexpr int kBroken = 20;
constexpr const char* kFactoryType =
    "IDL:mtnm.tmforum.org/emsSessionFactory/EmsSessionFactory_I:1.0";

class Check : public testing::Test {
  protected:
    Check() { host_.addUser("probe"); }

    /// Start the host. It writes its naming entry a little later than it accepts log-ins.
    void start() {
        host_.start();
        ASSERT_TRUE(eventually([this] { return check() == 0; })) << text_;
    }
    /// Run `kelpctl check` with these options. Return its exit code.
    int check(std::vector<std::string> options = {}) {
        LogFile log(host_.scratch("check" + std::to_string(++checks_)));
        options.insert(options.begin(), {"--config", host_.configFile().string(), "check"});
        Launch launch = host_.launch(KELPCTL, options);
        launch.output = log.file();
        const int code = runToEnd(launch);
        text_ = log.text();
        return code;
    }
    int checkAsProbe(const std::string& passwordFile) {
        return check({"--user", "probe", "--password-file", passwordFile});
    }
    int checkAsProbe() { return checkAsProbe(host_.passwordFile().string()); }
    bool says(const std::string& sentence) const {
        return text_.find(sentence) != std::string::npos;
    }
    /// Whether the table shows the step in this state.
    bool shows(const std::string& step, const std::string& state) const {
        return says("\n" + step + std::string(16 - step.size(), ' ') + state);
    }
    /// Use a naming service at this port that a test provides instead of the host's.
    void pointTo(std::uint16_t namingPort) {
        host_.useNamingService(namingPort);
        host_.addUser("other");  // writes the configuration
    }
    bool allSessionsGone() {
        return eventually([this] {
            return host_.log().count("has been constructured!") ==
                   host_.log().count("has been destroyed!");
        });
    }

    Host host_;
    std::string text_;  ///< of the last check
    int checks_ = 0;
};

TEST_F(Check, HealthyChainIsOkToItsEndAndLeavesNothingBehind) {
    start();
    EXPECT_EQ(checkAsProbe(), 0) << text_;
    for (const char* step : {"naming service", "naming entry", "address", "factory", "log-in",
                             "manager", "channel", "log-out"})
        EXPECT_TRUE(shows(step, "ok")) << step << "\n" << text_;
    EXPECT_TRUE(says("An NMS can log in and work.")) << text_;
    EXPECT_TRUE(allSessionsGone());
}

TEST_F(Check, WithoutAUserItEndsBeforeTheLogInAndSaysSo) {
    start();
    EXPECT_EQ(check({"--json"}), 0) << text_;
    const json answer = json::parse(text_, nullptr, false);
    EXPECT_EQ(answer.value("ok", false), true) << text_;
    EXPECT_EQ(answer.at("steps")[3].at("state"), "ok") << text_;
    EXPECT_EQ(answer.at("steps")[4].at("state"), "skipped") << text_;
    EXPECT_TRUE(says("were not checked")) << text_;
}

TEST_F(Check, StoppedNamingServiceIsNamed) {
    EXPECT_EQ(check(), kBroken);
    EXPECT_TRUE(says("The naming service at 127.0.0.1:" + std::to_string(host_.namingPort()) +
                     " refuses connections: is it running? It is inside kelpd"))
        << text_;
    EXPECT_TRUE(shows("naming service", "failed")) << text_;
    EXPECT_TRUE(shows("factory", "skipped")) << text_;
}

TEST_F(Check, NamingServiceWithoutTheEntryIsNamed) {
    const NameServer names;
    pointTo(names.port());
    EXPECT_EQ(check(), kBroken);
    EXPECT_TRUE(says("has no entry TMF_MTNM.Class/")) << text_;
}

TEST_F(Check, EntryOfAKilledHostIsStale) {
    const NameServer names;
    host_.useNamingService(names.port());
    start();
    EXPECT_EQ(checkAsProbe(), 0) << text_;
    host_.process().kill();
    EXPECT_EQ(checkAsProbe(), kBroken);
    EXPECT_TRUE(says("The naming entry points to " + host_.address() +
                     ", which nobody listens on: an old entry?"))
        << text_;
    EXPECT_TRUE(shows("naming entry", "ok")) << text_;
}

TEST_F(Check, HungHostIsTold) {
    const NameServer names;
    host_.useNamingService(names.port());
    start();
    host_.process().freeze();
    EXPECT_EQ(check({"--timeout", "1"}), kBroken);
    EXPECT_TRUE(says("The session factory at " + host_.address() +
                     " accepts connections but did not answer within 1 s"))
        << text_;
    host_.process().thaw();
}

TEST_F(Check, WrongPasswordIsRefusedWithTheRemedy) {
    start();
    const std::string wrong = host_.scratch("wrong").string();
    std::ofstream(wrong) << "wrong password\n";
    EXPECT_EQ(checkAsProbe(wrong), kBroken);
    EXPECT_TRUE(
        says("Log-in of probe refused: The user name or the password is wrong. Give the "
             "right password in --password-file"))
        << text_;
    EXPECT_TRUE(shows("factory", "ok")) << text_;
    EXPECT_TRUE(shows("channel", "skipped")) << text_;
    EXPECT_FALSE(says("wrong password\n")) << text_;
}

TEST_F(Check, DisabledUserIsRefusedWithTheRemedy) {
    start();
    host_.user({"disable", "probe"});
    EXPECT_TRUE(eventually([this] {
        return checkAsProbe() == kBroken &&
               says(
                   "Log-in of probe refused: The user's account is disabled. kelpctl user enable "
                   "probe enables it.");
    })) << text_;
}

TEST_F(Check, NamingServiceThatNeverAnswersEndsAtTheLimit) {
    const DeafListener deaf;
    pointTo(deaf.port());
    const auto begin = std::chrono::steady_clock::now();
    EXPECT_EQ(check({"--timeout", "1"}), kBroken);
    EXPECT_LT(std::chrono::steady_clock::now() - begin, std::chrono::seconds(15));
    EXPECT_TRUE(says("accepts connections but did not answer within 1 s")) << text_;
}

TEST_F(Check, NamingServiceThatAcceptsNoConnectionEndsAtTheLimit) {
    const FullBacklogListener full;
    pointTo(full.port());
    EXPECT_EQ(check({"--timeout", "1"}), kBroken);
    EXPECT_TRUE(says("did not answer an attempt to connect within 1 s")) << text_;
}

TEST_F(Check, NamingServiceThatCutsConnectionsIsNamed) {
    const CuttingListener cutting;
    pointTo(cutting.port());
    EXPECT_EQ(check({"--timeout", "5"}), kBroken);
    EXPECT_TRUE(says("closed the connection or failed")) << text_;
}

/// An entry that somebody else wrote. No host runs.
class CheckOfForeignEntry : public Check {
  protected:
    CheckOfForeignEntry() { pointTo(names_.port()); }

    void bind(const std::string& reference) {
        const CORBA::Object_var object = orb::toReference(testOrb(), reference);
        NamingClient(testOrb(), names_.port()).bindFactory(object.in());
    }
    void bindFactoryAt(const std::string& host, std::uint16_t port) {
        Iiop iiop;
        iiop.host = host;
        iiop.port = port;
        bind(hexReference(referenceBytes({{0, iiopProfile(iiop)}}, kFactoryType)));
    }
    void bindFactoryAt(std::uint16_t port) { bindFactoryAt("127.0.0.1", port); }

    NameServer names_;
};

TEST_F(CheckOfForeignEntry, FactoryThatNeverAnswersEndsAtTheLimit) {
    const DeafListener deaf;
    bindFactoryAt(deaf.port());
    EXPECT_EQ(check({"--timeout", "1"}), kBroken);
    EXPECT_TRUE(says("The session factory at " + deaf.hostAndPort() +
                     " accepts connections but did not answer within 1 s"))
        << text_;
}

TEST_F(CheckOfForeignEntry, ProcessThatDoesNotKnowTheFactoryIsNamed) {
    bindFactoryAt(names_.port());
    EXPECT_EQ(check(), kBroken);
    EXPECT_TRUE(says("does not know the session factory of the naming entry: an old entry?"))
        << text_;
}

TEST_F(CheckOfForeignEntry, ObjectOfAnotherTypeIsNamed) {
    bind("corbaloc:iiop:1.2@127.0.0.1:" + std::to_string(names_.port()) + "/NameService");
    EXPECT_EQ(check(), kBroken);
    EXPECT_TRUE(says("is not a session factory: an old entry")) << text_;
}

TEST_F(CheckOfForeignEntry, ReferenceWithAnEndlessHostIsNotUsed) {
    bindFactoryAt(std::string(60000, 'x'), 4800);
    EXPECT_EQ(check(), kBroken);
    EXPECT_LT(text_.size(), 4000u);
}

TEST_F(CheckOfForeignEntry, ReferenceWithControlCharactersIsShownEscaped) {
    bindFactoryAt("\x1b[2J\nhost", 4800);
    EXPECT_EQ(check(), kBroken);
    EXPECT_EQ(text_.find('\x1b'), std::string::npos);
    EXPECT_TRUE(says("somebody else wrote it")) << text_;
}

TEST_F(Check, GoesTheSameWayOverTls) {
    const ThrowAwayCertificates certificates;
    const PortLease tlsPort;
    const PortLease namingTlsPort;
    host_.set("tls", "mode", 2)
        .set("tls", "listen", quoted(tlsPort.hostAndPort()))
        .set("tls", "ca", quoted(certificates.authority()))
        .set("tls", "certificate", quoted(certificates.issue("ems")))
        .set("naming", "ssl_port", namingTlsPort.port());
    host_.start();
    ASSERT_TRUE(eventually([this] { return checkAsProbe() == 0; })) << text_;
    EXPECT_TRUE(says(tlsPort.hostAndPort())) << text_;
    EXPECT_EQ(check({"--tls-name", "ems.example.net"}), kBroken);
    EXPECT_TRUE(says("does its certificate suit [tls] ca")) << text_;
}

}  // namespace
}  // namespace kelp::test
