#include <gtest/gtest.h>
#include <kelp/orb/timeouts.h>
#include <kelp/orb/tls_files.h>

#include "raw_giop.h"
#include "session_object.h"
#include "support/tcp_relay.h"
#include "support/throw_away_certificates.h"
#include "support/trace_capture.h"
#include "tls_client.h"

namespace {

using namespace kelp::test;
using namespace std::chrono_literals;
using kelp::orb::OrbOptions;

class Tls : public testing::Test {
  protected:
    OrbOptions tlsOptions(const std::string& password = "") {
        OrbOptions options;
        options.tlsListen = {"127.0.0.1:0"};
        options.tlsCaFile = certificates_.authority();
        options.tlsKeyFile = certificates_.issue("ems", password);
        options.tlsKeyPassword = password;
        return options;
    }

    ThrowAwayCertificates certificates_;
};

TEST_F(Tls, AloneIsTheOnlyAddressInReferencesAndServesCalls) {
    const RunningOrb orb(nullptr, tlsOptions());
    EXPECT_TRUE(orb.endpoint().tls);
    EXPECT_NE(orb.port(), 0);
    kelp::util::PeerAddress peer;
    SessionObject session(orb, [&] { peer = kelp::orb::currentPeer(); });
    kelp::orb::ReferenceContent content;
    ASSERT_TRUE(kelp::orb::describe(orb.orb(), session.inProcess(), content));
    EXPECT_EQ(content.endpoints.size(), 1U);
    kelp::orb::setThreadTimeout(20s);
    session.remote()->ping();
    EXPECT_EQ(session.servant().pings, 1);
    EXPECT_EQ(peer.text, "127.0.0.1");
    EXPECT_NE(peer.port, 0);
}

TEST_F(Tls, IsListedNextToThePlainAddress) {
    OrbOptions options = tlsOptions();
    options.listen = {"127.0.0.1:0"};
    const RunningOrb orb(nullptr, options);
    SessionObject session(orb);
    kelp::orb::ReferenceContent content;
    ASSERT_TRUE(kelp::orb::describe(orb.orb(), session.inProcess(), content));
    ASSERT_EQ(content.endpoints.size(), 2U);
    EXPECT_FALSE(content.endpoints[0].tls);
    EXPECT_TRUE(content.endpoints[1].tls);
    EXPECT_NE(content.endpoints[0].port, content.endpoints[1].port);
}

TEST_F(Tls, IsPublishedUnderAnotherHostWithItsOwnPort) {
    OrbOptions options = tlsOptions();
    options.listen = {"127.0.0.1:0"};
    options.publish = "ems.example:4800";
    const RunningOrb orb(nullptr, options);
    SessionObject session(orb);
    kelp::orb::ReferenceContent content;
    ASSERT_TRUE(kelp::orb::describe(orb.orb(), session.inProcess(), content));
    ASSERT_EQ(content.endpoints.size(), 2U);
    EXPECT_EQ(kelp::orb::hostAndPort(content.endpoints[0]), "ems.example:4800");
    EXPECT_EQ(content.endpoints[1].host, "ems.example");
    EXPECT_TRUE(content.endpoints[1].tls);
    EXPECT_NE(content.endpoints[1].port, 4800);
}

TEST_F(Tls, ReadsAnEncryptedKey) {
    const RunningOrb orb(nullptr, tlsOptions("secret"));
    SessionObject session(orb);
    kelp::orb::setThreadTimeout(20s);
    EXPECT_NO_THROW(session.remote()->ping());
}

TEST_F(Tls, DoesNotStartWithoutCertificates) {
    OrbOptions options;
    options.tlsListen = {"127.0.0.1:0"};
    EXPECT_THROW(CORBA::release(kelp::orb::start(options, nullptr)), CORBA::BAD_PARAM);
    options.tlsCaFile = certificates_.authority();
    EXPECT_THROW(CORBA::release(kelp::orb::start(options, nullptr)), CORBA::BAD_PARAM);
    options.tlsKeyFile = certificates_.authority() + ".missing";
    EXPECT_THROW(CORBA::release(kelp::orb::start(options, nullptr)), CORBA::BAD_PARAM);
    options.tlsKeyFile = certificates_.authority();  // a certificate, but no key
    EXPECT_THROW(CORBA::release(kelp::orb::start(options, nullptr)), CORBA::BAD_PARAM);
    EXPECT_NO_THROW(RunningOrb());
}

TEST_F(Tls, DoesNotStartWithTheWrongPassword) {
    OrbOptions options = tlsOptions("secret");
    for (const char* password : {"wrong", ""}) {
        options.tlsKeyPassword = password;
        EXPECT_THROW(CORBA::release(kelp::orb::start(options, nullptr)), CORBA::BAD_PARAM);
    }
}

TEST_F(Tls, IsNotSpokenInPlainText) {
    const RunningOrb orb(nullptr, tlsOptions());
    SessionObject session(orb);
    kelp::orb::publishKey(orb.orb(), "Key", &session.servant(), session.inProcess());
    const CORBA::Object_var plain = kelp::orb::toReference(
        orb.orb(), "corbaloc:iiop:1.2@127.1:" + std::to_string(orb.port()) + "/Key");
    kelp::orb::setThreadTimeout(20s);
    const nmsSession::NmsSession_I_var remote =
        nmsSession::NmsSession_I::_unchecked_narrow(plain.in());
    EXPECT_THROW(remote->ping(), CORBA::SystemException);
    EXPECT_EQ(session.servant().pings, 0);
    EXPECT_NO_THROW(session.remote()->ping());
}

bool handshakes(const RunningOrb& orb, const std::string& authority,
                const std::string& certificate) {
    return TlsClient(orb.hostAndPort(), authority, certificate).handshakes();
}

TEST_F(Tls, RequiresAClientCertificate) {
    const RunningOrb orb(nullptr, tlsOptions());
    EXPECT_TRUE(handshakes(orb, certificates_.authority(), certificates_.issue("nms")));
    EXPECT_FALSE(handshakes(orb, certificates_.authority(), ""));
}

TEST_F(Tls, AcceptsAClientWithoutACertificateWhereThatIsAllowed) {
    OrbOptions options = tlsOptions();
    options.tlsRequirePeerCertificate = false;
    const RunningOrb orb(nullptr, options);
    EXPECT_TRUE(handshakes(orb, certificates_.authority(), ""));
}

TEST_F(Tls, RefusesACertificateOfAnotherAuthority) {
    const ThrowAwayCertificates others;
    const std::string foreign = others.issue("stranger");
    for (const bool required : {true, false}) {
        OrbOptions options = tlsOptions();
        options.tlsRequirePeerCertificate = required;
        const RunningOrb orb(nullptr, options);
        EXPECT_FALSE(handshakes(orb, certificates_.authority(), foreign)) << required;
    }
}

TEST_F(Tls, RefusesAClientWhoseCertificateIsExpiredOrNotYetValid) {
    const RunningOrb orb(nullptr, tlsOptions());
    EXPECT_FALSE(handshakes(orb, certificates_.authority(), certificates_.issueExpired("old")));
    EXPECT_FALSE(handshakes(orb, certificates_.authority(), certificates_.issueNotYetValid("new")));
}

TEST_F(Tls, EveryConnectionShowsItsCertificateAgain) {
    const RunningOrb orb(nullptr, tlsOptions());
    const TlsClient client(orb.hostAndPort(), certificates_.authority(),
                           certificates_.issue("nms"));
    EXPECT_EQ(client.wholeHandshakesOfSix(), "6");
}

TEST_F(Tls, TracesWhomItRefusesAndWhy) {
    const TraceCapture trace;
    const RunningOrb orb(nullptr, tlsOptions());
    EXPECT_FALSE(handshakes(orb, certificates_.authority(), certificates_.issueExpired("old")));
    EXPECT_TRUE(trace.waitFor("TLS: 127.0.0.1 port "));
    EXPECT_TRUE(trace.contains(
        "is refused: certificate expired, its certificate: certificate has expired"));
}

TEST_F(Tls, UsesOnlySuitesWithForwardSecrecy) {
    OrbOptions options = tlsOptions();
    options.tlsKeyFile = certificates_.issueRsa("ems");
    const RunningOrb orb(nullptr, options);
    const TlsClient client(orb.hostAndPort(), certificates_.authority(),
                           certificates_.issue("nms"));
    EXPECT_TRUE(client.handshakesWith("-tls1_2 -cipher ECDHE-RSA-AES128-GCM-SHA256"));
    EXPECT_TRUE(client.handshakesWith("-tls1_2 -cipher DHE-RSA-AES128-GCM-SHA256"));
    EXPECT_FALSE(client.handshakesWith("-tls1_2 -cipher AES128-GCM-SHA256"));
    EXPECT_FALSE(client.handshakesWith("-tls1_2 -cipher ECDHE-RSA-AES128-SHA256"));
    EXPECT_FALSE(client.handshakesWith("-tls1_1 -cipher ALL:@SECLEVEL=0"));
}

TEST_F(Tls, UsesTheConfiguredSuites) {
    OrbOptions options = tlsOptions();
    options.tlsCiphers = "ECDHE-ECDSA-AES256-GCM-SHA384";
    options.tlsCipherSuites = "TLS_CHACHA20_POLY1305_SHA256";
    const RunningOrb orb(nullptr, options);
    const TlsClient client(orb.hostAndPort(), certificates_.authority(),
                           certificates_.issue("nms"));
    EXPECT_TRUE(client.handshakesWith("-tls1_2 -cipher ECDHE-ECDSA-AES256-GCM-SHA384"));
    EXPECT_FALSE(client.handshakesWith("-tls1_2 -cipher ECDHE-ECDSA-AES128-GCM-SHA256"));
    EXPECT_TRUE(client.handshakesWith("-tls1_3 -ciphersuites TLS_CHACHA20_POLY1305_SHA256"));
    EXPECT_FALSE(client.handshakesWith("-tls1_3 -ciphersuites TLS_AES_128_GCM_SHA256"));
    SessionObject session(orb);
    kelp::orb::setThreadTimeout(20s);
    EXPECT_NO_THROW(session.remote()->ping());
}

TEST_F(Tls, DoesNotStartWithWeakSuites) {
    OrbOptions options = tlsOptions();
    options.tlsCiphers = "AES128-GCM-SHA256";
    const TraceCapture trace;
    EXPECT_THROW(CORBA::release(kelp::orb::start(options, nullptr)), CORBA::BAD_PARAM);
    EXPECT_TRUE(trace.contains(
        "TLS: the list of ciphers has the suite AES128-GCM-SHA256, which has no forward "
        "secrecy"));
}

TEST_F(Tls, CallersSubjectIsPartOfTheRequest) {
    OrbOptions options = tlsOptions();
    options.tlsKeyFile = certificates_.issueToSubject("ems", "/O=Operator/CN=nms1");
    const RunningOrb orb(nullptr, options);
    std::string subject;
    SessionObject session(orb, [&] { subject = kelp::orb::currentPeerSubject(); });
    kelp::orb::setThreadTimeout(20s);
    session.remote()->ping();
    EXPECT_EQ(subject, "CN=nms1,O=Operator");
    EXPECT_EQ(kelp::orb::currentPeerSubject(), "");
}

TEST_F(Tls, CallerWithoutTlsHasNoSubject) {
    const RunningOrb orb;
    std::string subject = "none";
    SessionObject session(orb, [&] { subject = kelp::orb::currentPeerSubject(); });
    session.remote()->ping();
    EXPECT_EQ(subject, "");
}

/// An ORB that calls itself over TLS and checks the name in the server's certificate.
class TlsServerName : public Tls {
  protected:
    /// True if the ORB can call `host`, at which it listens itself.
    bool calls(const std::string& host, const std::string& names,
               const std::string& expected = "") {
        OrbOptions options = tlsOptions();
        options.tlsKeyFile = certificates_.issueForNames("ems", names);
        options.tlsCallsOnly = true;
        options.tlsCheckServer = true;
        options.tlsServerName = expected;
        const RunningOrb orb(nullptr, options);
        SessionObject session(orb);
        kelp::orb::publishKey(orb.orb(), "Key", &session.servant(), session.inProcess());
        // a relay, because the ORB makes no connection to its own address
        const TcpRelay way(orb.port(), "127.0.0.1");
        const CORBA::Object_var object = kelp::orb::toReference(
            orb.orb(), "corbaloc:ssliop:1.2@" + host + ":" + std::to_string(way.port()) + "/Key");
        kelp::orb::setThreadTimeout(20s);
        try {
            nmsSession::NmsSession_I::_unchecked_narrow(object.in())->ping();
        } catch (const CORBA::SystemException&) {
            return false;
        }
        return session.servant().pings == 1;
    }
};

TEST_F(TlsServerName, IsTheAddressThatIsCalled) {
    EXPECT_TRUE(calls("127.0.0.1", "IP:127.0.0.1"));
    EXPECT_FALSE(calls("127.0.0.1", "IP:127.0.0.2,DNS:localhost"));
    EXPECT_NE(kelp::orb::takeRefusedServer().find(" shows a certificate of CN = ems, which is "
                                                  "refused: it is for IP:127.0.0.2, DNS:localhost, "
                                                  "not for 127.0.0.1"),
              std::string::npos);
}

TEST_F(TlsServerName, IsTheNameThatIsCalled) {
    EXPECT_TRUE(calls("localhost", "DNS:localhost"));
    EXPECT_FALSE(calls("localhost", "IP:127.0.0.1"));
}

TEST_F(TlsServerName, IsTheExpectedNameWhateverIsCalled) {
    EXPECT_TRUE(calls("127.0.0.1", "DNS:ems.example.net", "ems.example.net"));
    EXPECT_FALSE(calls("127.0.0.1", "IP:127.0.0.1", "ems.example.net"));
}

class TlsRevocation : public Tls {
  protected:
    OrbOptions withList() {
        OrbOptions options = tlsOptions();
        options.tlsCrlFile = certificates_.revocationList();
        return options;
    }
    bool renews(const OrbOptions& options) {
        whyNot_.clear();
        return kelp::orb::renewTls({options.tlsCaFile, options.tlsKeyFile, "", options.tlsCrlFile},
                                   whyNot_);
    }
    std::string whyNot_;
};

TEST_F(TlsRevocation, TakesEffectWithTheNextList) {
    const OrbOptions options = withList();
    const RunningOrb orb(nullptr, options);
    const std::string stolen = certificates_.issue("stolen");
    EXPECT_TRUE(handshakes(orb, certificates_.authority(), stolen));
    certificates_.revoke("stolen");
    certificates_.revocationList();
    EXPECT_TRUE(handshakes(orb, certificates_.authority(), stolen))
        << "a new file alone changes nothing";
    const TraceCapture trace;
    ASSERT_TRUE(renews(options)) << whyNot_;
    EXPECT_FALSE(handshakes(orb, certificates_.authority(), stolen));
    EXPECT_TRUE(
        trace.waitFor("is refused: certificate revoked, its certificate: certificate revoked"));
    EXPECT_TRUE(handshakes(orb, certificates_.authority(), certificates_.issue("nms")));
}

TEST_F(TlsRevocation, HoldsForServersThatAreCalled) {
    const OrbOptions options = withList();
    const RunningOrb orb(nullptr, options);
    SessionObject session(orb);
    kelp::orb::setThreadTimeout(20s);
    certificates_.revoke("ems");
    certificates_.revocationList();
    ASSERT_TRUE(renews(options)) << whyNot_;
    EXPECT_THROW(session.remote()->ping(), CORBA::SystemException);
}

TEST_F(TlsRevocation, ExpiredListIsIgnoredAndTheFormerOneHolds) {
    certificates_.issue("stolen");
    certificates_.revoke("stolen");
    const OrbOptions options = withList();
    const RunningOrb orb(nullptr, options);
    certificates_.revocationListFor("20200101000000Z", "20210101000000Z");
    EXPECT_FALSE(renews(options));
    EXPECT_NE(whyNot_.find(
                  "/crl.pem holds a revocation list of CN = Test CA that has ended at 2021-01-01"),
              std::string::npos)
        << whyNot_;
    EXPECT_FALSE(
        handshakes(orb, certificates_.authority(), certificates_.folder() + "/stolen.pem"));
    EXPECT_TRUE(handshakes(orb, certificates_.authority(), certificates_.issue("nms")));
}

TEST_F(Tls, DoesNotStartWithAnExpiredRevocationListOrAKeyThatOthersCanRead) {
    OrbOptions options = tlsOptions();
    options.tlsCrlFile = certificates_.revocationListFor("20200101000000Z", "20210101000000Z");
    EXPECT_THROW(CORBA::release(kelp::orb::start(options, nullptr)), CORBA::BAD_PARAM);
    options = tlsOptions();
    std::filesystem::permissions(options.tlsKeyFile, std::filesystem::perms(0640));
    EXPECT_THROW(CORBA::release(kelp::orb::start(options, nullptr)), CORBA::BAD_PARAM);
}

class TlsRenewal : public Tls {
  protected:
    kelp::orb::TlsFiles files() const { return {certificates_.authority(), keyFile_, ""}; }
    std::string serialNumber() const {
        return TlsClient(orb_.hostAndPort(), certificates_.authority(), nmsCertificate_)
            .serverSerialNumber();
    }

    const OrbOptions options_ = tlsOptions();
    const std::string keyFile_ = options_.tlsKeyFile;
    const std::string nmsCertificate_ = certificates_.issue("nms");
    const RunningOrb orb_{nullptr, options_};
    std::string whyNot_;
};

TEST_F(TlsRenewal, NewConnectionsGetTheNewCertificateAndOldOnesContinue) {
    kelp::util::PeerAddress peer;
    SessionObject session(orb_, [&] { peer = kelp::orb::currentPeer(); });
    kelp::orb::setThreadTimeout(20s);
    session.remote()->ping();
    const int portBefore = peer.port;
    const std::string before = serialNumber();
    ASSERT_NE(before, "");

    certificates_.issue("ems");
    EXPECT_EQ(serialNumber(), before) << "a new file alone changes nothing";
    ASSERT_TRUE(kelp::orb::renewTls(files(), whyNot_)) << whyNot_;
    const std::string after = serialNumber();
    EXPECT_NE(after, "");
    EXPECT_NE(after, before);
    session.remote()->ping();
    EXPECT_EQ(peer.port, portBefore);
    EXPECT_EQ(session.servant().pings, 2);
}

TEST_F(TlsRenewal, FilesThatCannotBeUsedChangeNothing) {
    const std::string before = serialNumber();
    certificates_.issueExpired("ems");
    EXPECT_FALSE(kelp::orb::renewTls(files(), whyNot_));
    EXPECT_NE(whyNot_.find(keyFile_ + " holds a certificate that has ended"), std::string::npos)
        << whyNot_;
    EXPECT_EQ(serialNumber(), before);
}

TEST_F(TlsRenewal, NewAuthorityReplacesTheFormerOne) {
    const ThrowAwayCertificates others;
    const std::string othersNms = others.issue("nms");
    const std::string shown = certificates_.authority();
    EXPECT_FALSE(handshakes(orb_, shown, othersNms));
    ASSERT_TRUE(kelp::orb::renewTls({others.authority(), keyFile_, ""}, whyNot_)) << whyNot_;
    EXPECT_TRUE(handshakes(orb_, shown, othersNms));
    EXPECT_FALSE(handshakes(orb_, shown, nmsCertificate_));
}

TEST_F(TlsRenewal, HoldsForCallsThatThisProcessMakes) {
    // The ORB calls itself over TLS. As a client it must trust the new authority and present its
    // new certificate.
    const ThrowAwayCertificates others;
    SessionObject session(orb_);
    kelp::orb::setThreadTimeout(20s);
    ASSERT_TRUE(kelp::orb::renewTls({others.authority(), keyFile_, ""}, whyNot_)) << whyNot_;
    EXPECT_THROW(session.remote()->ping(), CORBA::SystemException)
        << "the former authority's certificate";
    ASSERT_TRUE(kelp::orb::renewTls({others.authority(), others.issue("ems"), ""}, whyNot_))
        << whyNot_;
    EXPECT_NO_THROW(session.remote()->ping());
}

TEST_F(Tls, RenewalWithoutTlsHasNoEffect) {
    const RunningOrb orb;
    std::string whyNot;
    EXPECT_TRUE(kelp::orb::renewTls({"/no/such/file", "/no/such/file", ""}, whyNot));
    SessionObject session(orb);
    EXPECT_NO_THROW(session.remote()->ping());
}

TEST_F(Tls, IsOffInAnOrbThatIsStartedWithoutIt) {
    { const RunningOrb orb(nullptr, tlsOptions()); }
    const RunningOrb orb;
    EXPECT_FALSE(orb.endpoint().tls);
    SessionObject session(orb);
    EXPECT_NO_THROW(session.remote()->ping());
}

TEST_F(Tls, IsUsedByAnOrbThatIsStartedAfterOneWithoutIt) {
    {
        const RunningOrb orb;
        EXPECT_FALSE(orb.endpoint().tls);
    }
    for (int cycle = 0; cycle < 2; ++cycle) {
        const RunningOrb orb(nullptr, tlsOptions());
        SessionObject session(orb);
        kelp::orb::setThreadTimeout(20s);
        EXPECT_NO_THROW(session.remote()->ping());
    }
}

}  // namespace
