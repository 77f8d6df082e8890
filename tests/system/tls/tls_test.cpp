// NMS and EMS over TLS, in separate processes.

#include "system/harness/name_server.h"
#include "tls_fixture.h"

namespace kelp::test {
namespace {

class TlsModes : public TlsTest, public testing::WithParamInterface<int> {};

TEST_P(TlsModes, NmsWorksFromLogInToLogOutIncludingTheCallsToItself) {
    startHost(GetParam());
    EXPECT_EQ(nms({"ems", "--json"}), kDone) << output();
    EXPECT_TRUE(log_.contains("\"Kelp/EMS\"")) << output();
    EXPECT_EQ(nms({"watch", "--count", "2"}), kDone) << output();
    EXPECT_EQ(nms({"--json", "events", "--count", "2"}), kDone) << output();
    EXPECT_TRUE(log_.contains("\"NT_HEARTBEAT\"")) << output();
    EXPECT_TRUE(allSessionsGone());
    EXPECT_TRUE(host_.log().contains(", in 1 day\n")) << "its certificate ends soon";
    EXPECT_EQ(host_.stop(), 0);
}

INSTANTIATE_TEST_SUITE_P(Modes, TlsModes, testing::Values(1, 2), testing::PrintToStringParamName());

using TlsOfAHost = TlsTest;

TEST_F(TlsOfAHost, ModeZeroDoesNotListenForTls) {
    configureHost(kOff);
    host_.start();
    ASSERT_TRUE(eventually([this] { return run({"find"}) == kDone; })) << output();
    EXPECT_FALSE(isListening(tlsPort_.port()));
    EXPECT_FALSE(isListening(namingTlsPort_.port()));
    EXPECT_EQ(run({"watch", "--count", "2"}), kDone) << output();
    EXPECT_EQ(run({"--json", "events", "--count", "2"}), kDone) << output();
    EXPECT_TRUE(log_.contains("\"NT_HEARTBEAT\"")) << output();
    EXPECT_TRUE(allSessionsGone());
    EXPECT_EQ(host_.stop(), 0);
}

TEST_F(TlsOfAHost, KeyWithAPasswordIsOpenedWithIt) {
    startHost(kTlsOnly);
    const std::string key = certificates_.issue("locked", "opensesame");
    EXPECT_EQ(nms({"ping"}, certificates_.authority(), key, "opensesame"), kDone) << output();
    EXPECT_EQ(nms({"ping"}, certificates_.authority(), key, "wrong"), kWrongUse) << output();
    EXPECT_TRUE(log_.contains(key + " holds a private key that the password does not open: "))
        << output();
}

TEST_F(TlsOfAHost, PlainNmsIsRefusedWhereThereIsOnlyTls) {
    startHost(kTlsOnly);
    EXPECT_EQ(run({"--timeout", "5", "ping"}), kUnreachable) << output();
    // plain CORBA does not work at the TLS port either
    const std::vector<std::string> plain = {
        "--naming",        namingTlsPort_.hostAndPort(), "--timeout", "5", "--user", "demo", "ping",
        "--password-file", host_.passwordFile().string()};
    log_ = LogFile(scratch_ / "plain");
    EXPECT_EQ(runToEnd({KELPNMS, plain, {}, log_.file(), false}), kUnreachable) << output();
    EXPECT_EQ(host_.log().count("has been constructured!"), 0u);
}

TEST_F(TlsOfAHost, CertificateOfAnotherAuthorityIsRefused) {
    startHost(kTlsOnly);
    const ThrowAwayCertificates others;
    EXPECT_EQ(nms({"ping"}, &others), kUnreachable) << output();
    // this NMS trusts the EMS, but the EMS does not trust its certificate
    EXPECT_EQ(nms({"ping"}, certificates_.authority(), others.issue("nms")), kUnreachable)
        << output();
    EXPECT_EQ(host_.log().count("has been constructured!"), 0u);
    EXPECT_EQ(nms({"ping"}), kDone) << "the right one gets in all the same: " << output();
}

TEST_F(TlsOfAHost, ClientWithoutACertificateIsRefusedUnlessNoneIsRequired) {
    startHost(kTlsOnly);
    expectHandshakes(certificates_.issue("nms"), true);
    expectHandshakes("", false);
    EXPECT_TRUE(host_.log().waitFor("TLS: 127.0.0.1 port "));
    EXPECT_EQ(host_.stop(), 0);
    host_.set("tls", "verify", quoted("none"));
    host_.start();
    expectHandshakes("", true);
    expectHandshakes(ThrowAwayCertificates().issue("nms"), false);
    // the naming monitor enters the factory a moment after the start
    EXPECT_TRUE(eventually([&] { return nms({"ping"}) == kDone; })) << output();
}

TEST_F(TlsOfAHost, ClientWhoseCertificateIsExpiredOrNotYetValidIsRefused) {
    startHost(kTlsOnly);
    expectHandshakes(certificates_.issueExpired("old"), false);
    EXPECT_TRUE(host_.log().waitFor(
        "is refused: certificate expired, its certificate: certificate has expired"));
    expectHandshakes(certificates_.issueNotYetValid("new"), false);
    EXPECT_EQ(host_.log().count("has been constructured!"), 0u);
    // the NMS detects it locally, before it calls the EMS
    const std::string ended = certificates_.issueExpired("nms");
    EXPECT_EQ(nms({"ping"}, certificates_.authority(), ended), kWrongUse) << output();
    EXPECT_TRUE(log_.contains(ended + " holds a certificate that has ended at 2021-01-01"))
        << output();
}

TEST_F(TlsOfAHost, ServerWhoseCertificateHasExpiredIsRefused) {
    const std::string ended = certificates_.issueExpired("ems");
    LogFile said(scratch_ / "server");
    ChildProcess server({"/usr/bin/openssl",
                         {"s_server", "-accept", namingTlsPort_.hostAndPort(), "-www", "-cert",
                          ended, "-key", ended},
                         {},
                         said.file(),
                         false});
    ASSERT_TRUE(said.waitFor("ACCEPT"));
    host_.addUser("demo");
    EXPECT_EQ(nms({"find"}), kUnreachable) << output();
    EXPECT_TRUE(said.waitFor("alert certificate expired")) << said.text();
}

TEST_F(TlsOfAHost, HostDoesNotStartWithAnExpiredOrNotYetValidCertificate) {
    configureHost(kTlsOnly);
    certificates_.issueExpired("ems");
    EXPECT_EQ(host_.startToFail(), kConfigurationError);
    EXPECT_TRUE(host_.log().contains("/ems.pem holds a certificate that has ended at 2021-01-01"));
    certificates_.issueNotYetValid("ems");
    EXPECT_EQ(host_.startToFail(), kConfigurationError);
    EXPECT_TRUE(
        host_.log().contains("/ems.pem holds a certificate that is not valid before 2048-01-01"));
}

TEST_F(TlsOfAHost, FactoryIsRegisteredInANamingServiceElsewhereOverTls) {
    const NameServer names(certificates_.authority(), certificates_.issue("names"));
    configureHost(kTlsOnly);
    host_.useNamingService(names.port()).set("naming", "ssl_port", names.port());
    host_.start();
    naming_ = "127.0.0.1:" + std::to_string(names.port());
    EXPECT_TRUE(eventually([this] { return nms({"ping"}) == kDone; })) << output();
    EXPECT_EQ(host_.stop(), 0);
    EXPECT_EQ(nms({"find"}), kUnreachable) << "it has been taken out again: " << output();
    EXPECT_TRUE(log_.contains("no session factory is registered")) << output();
}

TEST_F(TlsOfAHost, NamingServiceWithAnotherAuthoritysCertificateIsNotTrusted) {
    const ThrowAwayCertificates others;
    const NameServer names(others.authority(), others.issue("names"));
    configureHost(kTlsOnly);
    host_.useNamingService(names.port()).set("naming", "ssl_port", names.port());
    host_.start();
    EXPECT_TRUE(host_.log().waitFor("[Monitor Thread] system exception occured! error reason:"));
    naming_ = "127.0.0.1:" + std::to_string(names.port());
    // on a busy machine the first lookup may take longer than kelpnms waits
    const auto nothingIsRegistered = [&] {
        return nms({"find"}, &others) == kUnreachable &&
               log_.contains("no session factory is registered");
    };
    EXPECT_TRUE(eventually(nothingIsRegistered)) << output();
}

TEST_F(TlsOfAHost, PlainAndTlsNmsAreAcceptedWhereBothAreServed) {
    startHost(kBoth);
    EXPECT_EQ(nms({"ping"}), kDone) << output();
    EXPECT_EQ(run({"ping"}), kDone) << output();
}

}  // namespace
}  // namespace kelp::test
