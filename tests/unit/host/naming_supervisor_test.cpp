#include "naming_supervisor.h"
#include "giop_probe.h"

#include "component/orb/throw_away_certificates.h"
#include "component/orb/tls_client.h"
#include "harness/eventually.h"
#include "harness/port_lease.h"
#include "harness/scratch_dir.h"
#include "support/tcp_peers.h"

#include <gtest/gtest.h>
#include <signal.h>

#include <cerrno>
#include <filesystem>

namespace kelp::host {
namespace {

using namespace std::chrono_literals;

class NamingSupervisorTest : public testing::Test {
  protected:
    NamingSettings settings() {
        NamingSettings all;
        all.port = port_.port();
        all.dataDirectory = scratch_ / "naming" / "data";
        all.firstPause = 10ms;
        all.longestPause = 100ms;
        return all;
    }

    /// A program in place of the naming service.
    std::string script(const std::string& commands) {
        const auto file = scratch_ / "service";
        test::writeFile(file, "#!/bin/sh\n" + commands + "\n");
        std::filesystem::permissions(file, std::filesystem::perms::owner_all);
        return file.string();
    }

    bool answers() { return objectAnswers("127.0.0.1", port_.port(), "NameService", 500ms); }

    static bool isGone(pid_t process) { return ::kill(process, 0) != 0 && errno == ESRCH; }

    test::ScratchDir scratch_;
    test::PortLease port_;
    std::string whyNot_;
};

TEST_F(NamingSupervisorTest, StartReturnsWhenTheServiceAnswers) {
    NamingSupervisor supervisor(settings());
    ASSERT_TRUE(supervisor.start(whyNot_)) << whyNot_;
    EXPECT_TRUE(answers());
    EXPECT_GT(supervisor.pid(), 0);
}

TEST_F(NamingSupervisorTest, StopLeavesNothingRunning) {
    NamingSupervisor supervisor(settings());
    ASSERT_TRUE(supervisor.start(whyNot_)) << whyNot_;
    const pid_t child = supervisor.pid();
    supervisor.stop();
    EXPECT_TRUE(isGone(child));
    EXPECT_EQ(supervisor.pid(), -1);
    supervisor.stop();
}

TEST_F(NamingSupervisorTest, ServiceThatDiesIsStartedAgainEachTime) {
    NamingSupervisor supervisor(settings());
    ASSERT_TRUE(supervisor.start(whyNot_)) << whyNot_;
    for (int round = 0; round < 3; ++round) {
        const pid_t child = supervisor.pid();
        ::kill(child, SIGKILL);
        ASSERT_TRUE(test::eventually([&] { return supervisor.pid() > 0 && supervisor.pid() != child; }));
        ASSERT_TRUE(test::eventually([this] { return answers(); }));
    }
}

TEST_F(NamingSupervisorTest, BindingsSurviveAStopAndANewPort) {
    {
        NamingSupervisor supervisor(settings());
        ASSERT_TRUE(supervisor.start(whyNot_)) << whyNot_;
    }
    const test::PortLease otherPort;
    NamingSettings moved = settings();
    moved.port = otherPort.port();
    NamingSupervisor supervisor(moved);
    ASSERT_TRUE(supervisor.start(whyNot_)) << whyNot_;
    EXPECT_TRUE(objectAnswers("127.0.0.1", otherPort.port(), "NameService", 500ms));
    EXPECT_FALSE(answers());
}

TEST_F(NamingSupervisorTest, ServiceListensOnTlsBesideTcp) {
    const test::ThrowAwayCertificates certificates;
    const test::PortLease tlsPort;
    NamingSettings both = settings();
    both.tls = NamingTls{tlsPort.port(), {certificates.authority(), certificates.issue("naming"), ""}};
    NamingSupervisor supervisor(both);
    ASSERT_TRUE(supervisor.start(whyNot_)) << whyNot_;
    EXPECT_TRUE(answers());
    EXPECT_TRUE(portAccepts("127.0.0.1", tlsPort.port(), 500ms));
    EXPECT_FALSE(objectAnswers("127.0.0.1", tlsPort.port(), "NameService", 500ms));
}

TEST_F(NamingSupervisorTest, ServiceOverTlsAloneHasNoOpenTcpPort) {
    const test::ThrowAwayCertificates certificates;
    NamingSettings tlsOnly = settings();
    tlsOnly.port.reset();
    tlsOnly.tls =
        NamingTls{port_.port(), {certificates.authority(), certificates.issue("naming", "secret"), "secret"}};
    NamingSupervisor supervisor(tlsOnly);
    ASSERT_TRUE(supervisor.start(whyNot_)) << whyNot_;
    EXPECT_FALSE(answers());
    EXPECT_TRUE(portAccepts("127.0.0.1", port_.port(), 500ms));
}

class NamingOverTlsTest : public NamingSupervisorTest {
  protected:
    NamingSettings tlsOnly(bool requirePeerCertificate = true) {
        NamingSettings all = settings();
        all.port.reset();
        all.tls = NamingTls{port_.port(),
                            {certificates_.authority(), certificates_.issue("naming"), ""},
                            requirePeerCertificate};
        return all;
    }
    test::TlsClient client(const std::string& certificate) {
        return {port_.hostAndPort(), certificates_.authority(), certificate};
    }

    const test::ThrowAwayCertificates certificates_;
};

TEST_F(NamingOverTlsTest, ClientNeedsACertificateUnlessNoneIsRequired) {
    {
        NamingSupervisor supervisor(tlsOnly());
        ASSERT_TRUE(supervisor.start(whyNot_)) << whyNot_;
        EXPECT_TRUE(client(certificates_.issue("nms")).handshakes());
        EXPECT_FALSE(client("").handshakes());
    }
    NamingSupervisor supervisor(tlsOnly(false));
    ASSERT_TRUE(supervisor.start(whyNot_)) << whyNot_;
    EXPECT_TRUE(client("").handshakes());
    EXPECT_FALSE(client(test::ThrowAwayCertificates().issue("stranger")).handshakes());
}

TEST_F(NamingOverTlsTest, NewCertificateIsShownByANewChild) {
    const NamingSettings before = tlsOnly();
    const std::string nms = certificates_.issue("nms");
    NamingSupervisor supervisor(before);
    ASSERT_TRUE(supervisor.start(whyNot_)) << whyNot_;
    const pid_t child = supervisor.pid();
    const std::string serialNumber = client(nms).serverSerialNumber();
    ASSERT_NE(serialNumber, "");
    ASSERT_TRUE(supervisor.renewTls(*before.tls, whyNot_)) << whyNot_;
    EXPECT_EQ(supervisor.pid(), child) << "its files are the same";

    NamingTls locked = *before.tls;
    locked.files.keyFile = certificates_.issue("naming", "secret");
    locked.files.keyPassword = "secret";
    ASSERT_TRUE(supervisor.renewTls(locked, whyNot_)) << whyNot_;
    EXPECT_TRUE(test::eventually([&] {
        const std::string now = client(nms).serverSerialNumber();
        return !now.empty() && now != serialNumber;
    }));
    EXPECT_NE(supervisor.pid(), child);
    EXPECT_TRUE(isGone(child));
}

TEST_F(NamingSupervisorTest, OptionsThatHoldTheKeysPasswordAreNobodyElses) {
    const test::ThrowAwayCertificates certificates;
    NamingSettings tlsOnly = settings();
    tlsOnly.port.reset();
    tlsOnly.tls =
        NamingTls{port_.port(), {certificates.authority(), certificates.issue("naming", "secret"), "secret"}};
    NamingSupervisor supervisor(tlsOnly);
    ASSERT_TRUE(supervisor.start(whyNot_)) << whyNot_;
    const auto options = tlsOnly.dataDirectory / "omniorb.cfg";
    EXPECT_EQ(std::filesystem::status(options).permissions(),
              std::filesystem::perms::owner_read | std::filesystem::perms::owner_write);
    EXPECT_EQ(test::contentOf("/proc/" + std::to_string(supervisor.pid()) + "/cmdline").find("secret"),
              std::string::npos);
    supervisor.stop();
    EXPECT_FALSE(std::filesystem::exists(options));
}

TEST_F(NamingSupervisorTest, BusyPortIsNoticedBeforeTheServiceIsStarted) {
    const test::DeafListener other;
    NamingSettings busy = settings();
    busy.port = other.port();
    NamingSupervisor supervisor(busy);
    EXPECT_FALSE(supervisor.start(whyNot_));
    EXPECT_NE(whyNot_.find(other.hostAndPort() + " is in use"), std::string::npos) << whyNot_;
    EXPECT_EQ(supervisor.pid(), -1);
}

TEST_F(NamingSupervisorTest, MissingProgramNamesItsPackage) {
    NamingSettings missing = settings();
    missing.program = "no-such-naming-service";
    NamingSupervisor supervisor(missing);
    EXPECT_FALSE(supervisor.start(whyNot_));
    EXPECT_NE(whyNot_.find("no-such-naming-service is not installed"), std::string::npos) << whyNot_;
    EXPECT_NE(whyNot_.find("omniorb-nameserver"), std::string::npos) << whyNot_;
}

TEST_F(NamingSupervisorTest, ServiceThatEndsAtOnceIsQuotedAndNotStartedAgain) {
    NamingSettings broken = settings();
    broken.program =
        script("echo started >> " + (scratch_ / "starts").string() + "\necho no luck today >&2\nexit 7");
    NamingSupervisor supervisor(broken);
    EXPECT_FALSE(supervisor.start(whyNot_));
    EXPECT_NE(whyNot_.find("exit code 7"), std::string::npos) << whyNot_;
    EXPECT_NE(whyNot_.find("no luck today"), std::string::npos) << whyNot_;
    EXPECT_EQ(test::contentOf(scratch_ / "starts"), "started\n");
}

TEST_F(NamingSupervisorTest, ServiceThatNeitherAnswersNorStopsIsKilled) {
    NamingSettings hung = settings();
    hung.program =
        script("trap '' TERM\necho $$ > " + (scratch_ / "pid").string() + "\nwhile :; do sleep 1; done");
    hung.answerLimit = 300ms;
    hung.stopLimit = 200ms;
    NamingSupervisor supervisor(hung);
    EXPECT_FALSE(supervisor.start(whyNot_));
    EXPECT_NE(whyNot_.find("does not answer"), std::string::npos) << whyNot_;
    const std::string pid = test::contentOf(scratch_ / "pid");
    ASSERT_FALSE(pid.empty());
    EXPECT_TRUE(isGone(std::stoi(pid)));
}

}  // namespace
}  // namespace kelp::host
