#include <gtest/gtest.h>
#include <kelp/orb/timeouts.h>
#include <kelp/orb/tls_files.h>

#include "raw_giop.h"
#include "session_object.h"
#include "support/trace_capture.h"
#include "throw_away_certificates.h"
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
    kelp::orb::PeerAddress peer;
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

TEST_F(Tls, StandsBesideThePlainAddress) {
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
    const CORBA::Object_var plain =
        kelp::orb::toReference(orb.orb(), "corbaloc:iiop:1.2@127.1:" + std::to_string(orb.port()) + "/Key");
    kelp::orb::setThreadTimeout(20s);
    const nmsSession::NmsSession_I_var remote = nmsSession::NmsSession_I::_unchecked_narrow(plain.in());
    EXPECT_THROW(remote->ping(), CORBA::SystemException);
    EXPECT_EQ(session.servant().pings, 0);
    EXPECT_NO_THROW(session.remote()->ping());
}

bool handshakes(const RunningOrb& orb, const std::string& authority, const std::string& certificate) {
    return TlsClient(orb.hostAndPort(), authority, certificate).handshakes();
}

TEST_F(Tls, WantsACertificateOfTheClient) {
    const RunningOrb orb(nullptr, tlsOptions());
    EXPECT_TRUE(handshakes(orb, certificates_.authority(), certificates_.issue("nms")));
    EXPECT_FALSE(handshakes(orb, certificates_.authority(), ""));
}

TEST_F(Tls, TakesAClientWithoutCertificateWhereThatIsAllowed) {
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

TEST_F(Tls, RefusesAClientWhoseCertificateHasEndedOrNotBegun) {
    const RunningOrb orb(nullptr, tlsOptions());
    EXPECT_FALSE(handshakes(orb, certificates_.authority(), certificates_.issueExpired("old")));
    EXPECT_FALSE(handshakes(orb, certificates_.authority(), certificates_.issueNotYetValid("new")));
}

TEST_F(Tls, EveryConnectionShowsItsCertificateAnew) {
    const RunningOrb orb(nullptr, tlsOptions());
    const TlsClient client(orb.hostAndPort(), certificates_.authority(), certificates_.issue("nms"));
    EXPECT_EQ(client.wholeHandshakesOfSix(), "6");
}

TEST_F(Tls, TracesWhomItRefusesAndWhy) {
    const TraceCapture trace;
    const RunningOrb orb(nullptr, tlsOptions());
    EXPECT_FALSE(handshakes(orb, certificates_.authority(), certificates_.issueExpired("old")));
    EXPECT_TRUE(trace.waitFor("TLS: 127.0.0.1 port "));
    EXPECT_TRUE(trace.contains("is refused: certificate expired, its certificate: certificate has expired"));
}

class TlsRenewal : public Tls {
  protected:
    kelp::orb::TlsFiles files() const { return {certificates_.authority(), keyFile_, ""}; }
    std::string serialNumber() const {
        return TlsClient(orb_.hostAndPort(), certificates_.authority(), nmsCertificate_).serverSerialNumber();
    }

    const OrbOptions options_ = tlsOptions();
    const std::string keyFile_ = options_.tlsKeyFile;
    const std::string nmsCertificate_ = certificates_.issue("nms");
    const RunningOrb orb_{nullptr, options_};
    std::string whyNot_;
};

TEST_F(TlsRenewal, NewConnectionsGetTheNewCertificateAndOldOnesGoOn) {
    kelp::orb::PeerAddress peer;
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
    EXPECT_NE(whyNot_.find(keyFile_ + " holds a certificate that has ended"), std::string::npos) << whyNot_;
    EXPECT_EQ(serialNumber(), before);
}

TEST_F(TlsRenewal, AnotherAuthorityIsTrustedInTheFormersPlace) {
    const ThrowAwayCertificates others;
    const std::string othersNms = others.issue("nms");
    const std::string shown = certificates_.authority();
    EXPECT_FALSE(handshakes(orb_, shown, othersNms));
    ASSERT_TRUE(kelp::orb::renewTls({others.authority(), keyFile_, ""}, whyNot_)) << whyNot_;
    EXPECT_TRUE(handshakes(orb_, shown, othersNms));
    EXPECT_FALSE(handshakes(orb_, shown, nmsCertificate_));
}

TEST_F(TlsRenewal, HoldsForCallsThatThisProcessMakes) {
    // the ORB calls itself over TLS: as a client it must trust the new authority, and show its new
    // certificate
    const ThrowAwayCertificates others;
    SessionObject session(orb_);
    kelp::orb::setThreadTimeout(20s);
    ASSERT_TRUE(kelp::orb::renewTls({others.authority(), keyFile_, ""}, whyNot_)) << whyNot_;
    EXPECT_THROW(session.remote()->ping(), CORBA::SystemException) << "the former authority's certificate";
    ASSERT_TRUE(kelp::orb::renewTls({others.authority(), others.issue("ems"), ""}, whyNot_)) << whyNot_;
    EXPECT_NO_THROW(session.remote()->ping());
}

TEST_F(Tls, RenewalWithoutTlsHasNoEffect) {
    const RunningOrb orb;
    std::string whyNot;
    EXPECT_TRUE(kelp::orb::renewTls({"/no/such/file", "/no/such/file", ""}, whyNot));
    SessionObject session(orb);
    EXPECT_NO_THROW(session.remote()->ping());
}

TEST_F(Tls, IsGoneFromAnOrbThatIsStartedWithoutIt) {
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
