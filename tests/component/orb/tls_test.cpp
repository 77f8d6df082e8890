#include <gtest/gtest.h>
#include <kelp/orb/timeouts.h>

#include "raw_giop.h"
#include "session_object.h"
#include "throw_away_certificates.h"

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

/// Whether a client of the command line gets a handshake through, with a certificate of its own or none.
bool handshakes(const RunningOrb& orb, const std::string& authority, const std::string& certificate) {
    const std::string own =
        certificate.empty() ? "" : " -cert '" + certificate + "' -key '" + certificate + "'";
    // TLS 1.2 tells the client about a refused certificate within the handshake
    const std::string command = "timeout 20 openssl s_client -tls1_2 -connect " + orb.hostAndPort() +
                                " -CAfile '" + authority + "' -verify_return_error" + own +
                                " </dev/null >/dev/null 2>&1";
    return std::system(command.c_str()) == 0;
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
