// Which certificates are accepted: those bound to accounts, revoked ones, and those of servers with
// another name.

#include <filesystem>

#include "tls_fixture.h"

namespace kelp::test {
namespace {

constexpr int kLogInRefused = 4;

constexpr const char* kNotThisCertificate =
    "The user may not log in with this certificate, or without one.";

class TlsAccounts : public TlsTest {
  protected:
    /// Run an NMS with the account's own certificate. Return its exit code.
    int boundNms(const std::vector<std::string>& arguments) {
        return nms(arguments, certificates_.authority(), bound_);
    }
    bool auditSays(const std::string& text) {
        return eventually([&] {
            runToEnd(host_.launch(KELPCTL, {"--config", host_.configFile().string(), "audit"}));
            return host_.log().contains(text);
        });
    }

    const std::string bound_ = certificates_.issueToSubject("bound", "/O=Operator, Inc./CN=nms1");
};

TEST_F(TlsAccounts, BoundAccountLogsInWithItsCertificateAlone) {
    startHost(kBoth);
    host_.user({"tls", "demo", "--subject", "cn=nms1, o=Operator\\, Inc."});
    EXPECT_EQ(boundNms({"ping"}), kDone) << output();
    EXPECT_TRUE(auditSays("certificate CN=nms1,O=Operator\\, Inc."));
    EXPECT_EQ(nms({"ping"}), kLogInRefused) << output();
    EXPECT_TRUE(log_.contains(kNotThisCertificate)) << output();
    EXPECT_EQ(run({"ping"}), kLogInRefused) << "over TCP: " << output();
    EXPECT_TRUE(log_.contains(kNotThisCertificate)) << output();
    EXPECT_TRUE(auditSays("certificate not allowed"));
    host_.user({"tls", "demo", "--any"});
    EXPECT_EQ(nms({"ping"}), kDone) << output();
    EXPECT_EQ(run({"ping"}), kDone) << output();
}

TEST_F(TlsAccounts, SessionWithAnotherCertificateEndsWhenTheAccountIsBound) {
    startHost(kBoth);
    ChildProcess watching(overTls({"watch", "--count", "1000"}, certificates_.authority(), bound_));
    LogFile watched = log_;
    ASSERT_TRUE(watched.waitFor("  ping\n")) << watched.text();
    host_.user({"tls", "demo", "--subject", "CN=nms1,O=Operator\\, Inc."});
    const std::size_t pings = watched.count("  ping\n");
    EXPECT_TRUE(watched.waitFor("  ping\n", pings + 2))
        << "it has the right one: " << watched.text();
    EXPECT_EQ(host_.log().count("has been destroyed!"), 0u);
    host_.user({"tls", "demo", "--subject", "CN=nms2"});
    EXPECT_TRUE(host_.log().waitFor("has been destroyed!"));
}

class TlsNames : public TlsTest {
  protected:
    void startHostFor(const std::string& names) {
        configureHost(kTlsOnly);
        certificates_.issueForNames("ems", names);
        host_.start();
    }
};

TEST_F(TlsNames, ServerWithAnotherNameIsRefusedUnlessItIsExpected) {
    startHostFor("DNS:ems.example.net");
    EXPECT_TRUE(eventually([this] {
        return nms({"--tls-name", "ems.example.net", "ping"}) == kDone;
    })) << output();
    EXPECT_EQ(nms({"--no-tls-name-check", "ping"}), kDone) << output();
    EXPECT_EQ(nms({"ping"}), kUnreachable) << output();
    EXPECT_TRUE(log_.contains(
        " shows a certificate of CN = ems, which is refused: it is for DNS:ems.example.net, "
        "not for 127.0.0.1"))
        << output();
    EXPECT_EQ(nms({"--tls-name", "other.example.net", "ping"}), kUnreachable) << output();
    EXPECT_TRUE(log_.contains("not for other.example.net")) << output();
    EXPECT_EQ(host_.log().count("has been constructured!"), 2u);
}

TEST_F(TlsNames, OptionsAreCheckedTogether) {
    host_.addUser("demo");
    EXPECT_EQ(nms({"--tls-name", "ems", "--no-tls-name-check", "find"}), kWrongUse) << output();
    EXPECT_EQ(run({"--tls-name", "ems", "find"}), kWrongUse) << output();
}

class TlsRevocation : public TlsTest {
  protected:
    void configureWithList() {
        configureHost(kTlsOnly);
        host_.set("tls", "crl", quoted(certificates_.revocationList()));
    }
    TlsClient client(const std::string& certificate) const {
        return {tlsPort_.hostAndPort(), certificates_.authority(), certificate};
    }
};

TEST_F(TlsRevocation, NewListTakesEffectAfterAHangup) {
    configureWithList();
    host_.start();
    const std::string stolen = certificates_.issue("stolen");
    const std::string good = certificates_.issue("good");
    EXPECT_TRUE(client(stolen).handshakes());
    certificates_.revoke("stolen");
    certificates_.revocationList();
    host_.reconfigure();
    EXPECT_TRUE(eventually([&] { return !client(stolen).handshakes(); }));
    EXPECT_TRUE(host_.log().waitFor("its certificate: certificate revoked"));
    EXPECT_TRUE(client(good).handshakes());
    EXPECT_TRUE(host_.log().contains("; revocation lists valid until "));
    EXPECT_TRUE(host_.log().contains("the revocation list of CN = Test CA in ")) << "it ends soon";

    certificates_.revocationListFor("20200101000000Z", "20210101000000Z");
    host_.reconfigure();
    EXPECT_TRUE(
        host_.log().waitFor("/crl.pem holds a revocation list of CN = Test CA that has ended at "));
    EXPECT_FALSE(client(stolen).handshakes());
    EXPECT_TRUE(client(good).handshakes());
    EXPECT_EQ(host_.stop(), 0);
}

TEST_F(TlsRevocation, HostDoesNotStartWithAnExpiredList) {
    configureWithList();
    certificates_.revocationListFor("20200101000000Z", "20210101000000Z");
    EXPECT_EQ(host_.startToFail(), kConfigurationError);
    EXPECT_TRUE(host_.log().contains(": tls.crl: " + certificates_.folder() +
                                     "/crl.pem holds a revocation list"));
}

using TlsOfAHost = TlsTest;

TEST_F(TlsOfAHost, KeyThatOthersCanReadIsRefusedOnBothSides) {
    startHost(kTlsOnly);
    const std::string loose = certificates_.issue("loose");
    std::filesystem::permissions(loose, std::filesystem::perms(0644));
    EXPECT_EQ(nms({"ping"}, certificates_.authority(), loose), kWrongUse) << output();
    const std::string why =
        " holds a private key that others can read or write: its mode is 0644, set it to 0600";
    EXPECT_TRUE(log_.contains(loose + why)) << output();
    EXPECT_EQ(host_.stop(), 0);
    std::filesystem::permissions(certificates_.folder() + "/ems.pem", std::filesystem::perms(0644));
    EXPECT_EQ(host_.startToFail(), kConfigurationError);
    EXPECT_TRUE(
        host_.log().contains(": tls.certificate: " + certificates_.folder() + "/ems.pem" + why));
}

}  // namespace
}  // namespace kelp::test
