// NMS and EMS over TLS, in processes of their own.

#include "component/orb/throw_away_certificates.h"
#include "system/kelpnms/kelpnms_fixture.h"

namespace kelp::test {
namespace {

constexpr int kBoth = 1;
constexpr int kTlsOnly = 2;
constexpr int kDone = 0;
constexpr int kWrongUse = 2;
constexpr int kUnreachable = 3;

class TlsTest : public KelpnmsTest {
  protected:
    void startHost(int mode) {
        host_.set("tls", "mode", mode)
            .set("tls", "listen", quoted(tlsPort_.hostAndPort()))
            .set("tls", "ca", quoted(certificates_.authority()))
            .set("tls", "certificate", quoted(certificates_.issue("ems")))
            .set("naming", "ssl_port", namingTlsPort_.port())
            .set("notification", "heartbeat_s", 1);
        host_.addUser("demo");
        host_.start();
        EXPECT_TRUE(eventually([this] { return nms({"find"}) == kDone; })) << output();
    }
    /// kelpnms over TLS, with the certificates of an authority.
    int nms(const std::vector<std::string>& arguments, const ThrowAwayCertificates* authority = nullptr) {
        const ThrowAwayCertificates& its = authority != nullptr ? *authority : certificates_;
        return nms(arguments, its.authority(), its.issue("nms"));
    }
    int nms(const std::vector<std::string>& arguments, const std::string& authority, const std::string& key,
            const std::string& keyPassword = "") {
        std::vector<std::string> all = {"--naming",        namingTlsPort_.hostAndPort(),
                                        "--tls-ca",        authority,
                                        "--tls-key",       key,
                                        "--timeout",       "10",
                                        "--user",          "demo",
                                        "--password-file", host_.passwordFile().string()};
        if (!keyPassword.empty()) {
            writeFile(scratch_ / "key-password", keyPassword + "\n");
            all.insert(all.end(), {"--tls-key-password-file", (scratch_ / "key-password").string()});
        }
        all.insert(all.end(), arguments.begin(), arguments.end());
        log_ = LogFile(scratch_ / ("output" + std::to_string(++runs_)));
        return runToEnd({KELPNMS, all, {}, log_.file(), false});
    }

    const ThrowAwayCertificates certificates_;
    const PortLease tlsPort_;
    const PortLease namingTlsPort_;
};

TEST_F(TlsTest, NmsWorksFromLogInToLogOutIncludingTheCallsToItself) {
    startHost(kTlsOnly);
    EXPECT_EQ(nms({"ems", "--json"}), kDone) << output();
    EXPECT_TRUE(log_.contains("\"Kelp/EMS\"")) << output();
    EXPECT_EQ(nms({"watch", "--count", "2"}), kDone) << output();
    EXPECT_EQ(nms({"--json", "events", "--count", "2"}), kDone) << output();
    EXPECT_TRUE(log_.contains("\"NT_HEARTBEAT\"")) << output();
    EXPECT_TRUE(allSessionsGone());
    EXPECT_TRUE(host_.log().contains(", in 1 day\n")) << "its certificate ends soon";
    EXPECT_EQ(host_.stop(), 0);
}

TEST_F(TlsTest, KeyWithAPasswordIsOpenedWithIt) {
    startHost(kTlsOnly);
    const std::string key = certificates_.issue("locked", "opensesame");
    EXPECT_EQ(nms({"ping"}, certificates_.authority(), key, "opensesame"), kDone) << output();
    EXPECT_EQ(nms({"ping"}, certificates_.authority(), key, "wrong"), kWrongUse) << output();
    EXPECT_TRUE(log_.contains("cannot listen on")) << output();
}

TEST_F(TlsTest, PlainNmsDoesNotGetInWhereThereIsOnlyTls) {
    startHost(kTlsOnly);
    EXPECT_EQ(run({"--timeout", "5", "ping"}), kUnreachable) << output();
    // not even at the TLS port
    const std::vector<std::string> plain = {
        "--naming",        namingTlsPort_.hostAndPort(), "--timeout", "5", "--user", "demo", "ping",
        "--password-file", host_.passwordFile().string()};
    log_ = LogFile(scratch_ / "plain");
    EXPECT_EQ(runToEnd({KELPNMS, plain, {}, log_.file(), false}), kUnreachable) << output();
    EXPECT_EQ(host_.log().count("has been constructed!"), 0u);
}

TEST_F(TlsTest, CertificateOfAnotherAuthorityIsRefused) {
    startHost(kTlsOnly);
    const ThrowAwayCertificates others;
    EXPECT_EQ(nms({"ping"}, &others), kUnreachable) << output();
    // one that trusts the EMS, but shows what the EMS does not trust
    EXPECT_EQ(nms({"ping"}, certificates_.authority(), others.issue("nms")), kUnreachable) << output();
    EXPECT_EQ(host_.log().count("has been constructed!"), 0u);
    EXPECT_EQ(nms({"ping"}), kDone) << "the right one gets in all the same: " << output();
}

TEST_F(TlsTest, BothKindsOfNmsGetInWhereBothAreServed) {
    startHost(kBoth);
    EXPECT_EQ(nms({"ping"}), kDone) << output();
    EXPECT_EQ(run({"ping"}), kDone) << output();
}

}  // namespace
}  // namespace kelp::test
