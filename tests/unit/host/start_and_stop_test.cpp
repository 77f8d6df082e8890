#include <signal.h>
#include <sys/socket.h>

#include <stdexcept>

#include "kelpd_fixture.h"
#include "support/tcp_peers.h"
#include "support/throw_away_certificates.h"

namespace kelp::test {
namespace {

using KelpdStartAndStop = KelpdTest;

TEST_F(KelpdStartAndStop, TerminationStopsTheHost) {
    start(configure());
    process_->signal(SIGTERM);
    EXPECT_EQ(process_->waitExit(), 0);
    EXPECT_TRUE(output_.containsInOrder({"kelpd is ready", "kelpd stops", "kelpd has stopped"}));
}

TEST_F(KelpdStartAndStop, InterruptStopsTheHostLikewise) {
    start(configure());
    process_->signal(SIGINT);
    EXPECT_EQ(process_->waitExit(), 0);
    EXPECT_TRUE(output_.contains("kelpd has stopped"));
}

TEST_F(KelpdStartAndStop, SecondTerminationEndsAStopThatHangs) {
    start(configure("", "wedged_bundle"));
    process_->signal(SIGTERM);
    ASSERT_TRUE(output_.waitFor("kelpd stops"));
    EXPECT_TRUE(process_->isRunning());
    process_->signal(SIGTERM);
    EXPECT_EQ(process_->waitExit(), 1);
    EXPECT_TRUE(output_.contains("received a second stop signal")) << output_.text();
}

TEST_F(KelpdStartAndStop, HangupReadsTheConfigurationAgain) {
    start(configure("[trace]\nlevel = 1\n"));
    configure("[trace]\nlevel = 3\n");
    process_->signal(SIGHUP);
    EXPECT_TRUE(output_.waitFor("the configuration has been read again")) << output_.text();
}

TEST_F(KelpdStartAndStop, HangupKeepsTheConfigurationWhenTheNewOneIsBad) {
    start(configure());
    configure("[trace]\nlevel = 17\n");
    process_->signal(SIGHUP);
    EXPECT_TRUE(output_.waitFor("the configuration is kept as it was")) << output_.text();
    EXPECT_TRUE(output_.contains("trace.level")) << output_.text();
    EXPECT_FALSE(output_.contains("has been read again"));
}

TEST_F(KelpdStartAndStop, BusyNamingPortIsReported) {
    const DeafListener other;
    const auto file = scratch_ / "busy.toml";
    writeFile(file, "[naming]\nport = " + std::to_string(other.port()) + "\n");
    EXPECT_EQ(run({"--config", file.string()}), 4);
    EXPECT_TRUE(output_.contains(other.hostAndPort() + " is in use by another process"))
        << output_.text();
}

TEST_F(KelpdStartAndStop, TlsNeedsAPortOfTheNamingServiceForIt) {
    const ThrowAwayCertificates certificates;
    const auto file = configure("[tls]\nmode = 1\nca = \"" + certificates.authority() +
                                "\"\ncertificate = \"" + certificates.issue("ems") + "\"\n");
    EXPECT_EQ(run({"--config", file.string()}), 3);
    EXPECT_TRUE(output_.contains("naming.ssl_port")) << output_.text();
}

TEST_F(KelpdStartAndStop, TlsFilesThatCannotBeUsedAreNamedBeforeAnythingIsStarted) {
    const ThrowAwayCertificates certificates;
    const std::string ended = certificates.issueExpired("ems");
    const auto file = scratch_ / "tls.toml";
    writeFile(file, "[tls]\nmode = 2\nca = \"/dev/null\"\ncertificate = \"" + ended +
                        "\"\n[naming]\nssl_port = " + namingPort_.text() + "\n");
    for (const std::string option : {"--config", "--check-config"}) {
        EXPECT_EQ(run({option, file.string()}), 3);
        EXPECT_TRUE(
            output_.waitFor(file.string() + ":3: tls.ca: /dev/null holds no PEM certificate"));
        EXPECT_TRUE(
            output_.contains(file.string() + ":4: tls.certificate: " + ended +
                             " holds a certificate that has ended at 2021-01-01 00:00:00 UTC"));
    }
    EXPECT_EQ(output_.count("has ended at"), 2u) << output_.text();
}

TEST_F(KelpdStartAndStop, MissingBundleIsNamed) {
    EXPECT_EQ(run({"--config", configure("", "absent_bundle").string()}), 5);
    EXPECT_TRUE(output_.contains("absent_bundle")) << output_.text();
}

TEST_F(KelpdStartAndStop, EmbeddedNamingServiceThatNoBundleServesIsReportedAsMissing) {
    start(configure());
    EXPECT_TRUE(output_.contains("the naming service is at nowhere: no bundle serves it"))
        << output_.text();
}

TEST_F(KelpdStartAndStop, EmbeddedNamingServiceAnswersWhenTheHostIsReady) {
    const PortLease orb;
    const auto file = scratch_ / "whole.toml";
    writeFile(file, "[naming]\nport = " + namingPort_.text() + "\n[orb]\nlisten = \"" +
                        orb.hostAndPort() +
                        "\"\n[bundles]\nload = [\"kelp_ems\", \"mx_kelpcorba_env\"]\n");
    start(file);
    // a LocateRequest for the key NameService, answered OBJECT_HERE
    const std::string request("GIOP\x01\0\x01\x03\x13\0\0\0\x01\0\0\0\x0b\0\0\0NameService", 31);
    const Socket connection = connectTo(namingPort_.port());
    ASSERT_EQ(::send(connection.fd(), request.data(), request.size(), MSG_NOSIGNAL),
              static_cast<ssize_t>(request.size()));
    char reply[20] = {};
    ASSERT_EQ(::recv(connection.fd(), reply, sizeof reply, MSG_WAITALL),
              static_cast<ssize_t>(sizeof reply));
    EXPECT_EQ(reply[16], 1);
    EXPECT_TRUE(output_.contains("the naming service is at corbaloc:iiop:1.2@" +
                                 namingPort_.hostAndPort() + "/NameService"));
    EXPECT_TRUE(
        output_.contains("no bundle in [bundles] load has (ManagedElement, MultiLayerSubnetwork, "))
        << output_.text();
    process_->signal(SIGTERM);
    EXPECT_EQ(process_->waitExit(), 0);
}

TEST_F(KelpdStartAndStop, WithoutAnEmbeddedNamingServiceNoneIsStarted) {
    const auto file = scratch_ / "external.toml";
    writeFile(file, "[naming]\nembedded = false\nport = " + namingPort_.text() +
                        "\n[bundles]\nload = [\"calm_bundle\"]\ndir = \"" +
                        std::string(HOST_TEST_BUNDLES) + "\"\n");
    start(file);
    EXPECT_TRUE(output_.contains("the naming service is at corbaloc:")) << output_.text();
    EXPECT_THROW(connectTo(namingPort_.port()), std::runtime_error);
    process_->signal(SIGTERM);
    EXPECT_EQ(process_->waitExit(), 0);
}

TEST_F(KelpdStartAndStop, CatalogueNextToTheConfigurationComesFirst) {
    writeFile(scratch_ / "errors.toml", "[errors]\n\"no code\" = \"x\"\n");
    EXPECT_EQ(run({"--config", configure().string()}), 3);
    EXPECT_TRUE(output_.contains((scratch_ / "errors.toml").string() + ":2: ")) << output_.text();
}

}  // namespace
}  // namespace kelp::test
