#include <gtest/gtest.h>
#include <poll.h>
#include <sys/socket.h>

#include "base_orb.h"
#include "scripted_interceptor.h"
#include "support/tcp_peers.h"
#include "support/temporary_directory.h"
#include "support/throw_away_certificates.h"

using kelp::test::base;
using kelp::test::BaseOrb;
using kelp::test::WireSession;

namespace {

class TlsSettings : public testing::Test {
  protected:
    /// Return a [tls] table with an encrypted key.
    std::string withTls(int mode) const {
        const std::string key = certificates.issue("ems", "opensesame");
        const std::filesystem::path password =
            folder.write("password", "opensesame\nanother line\n");
        std::filesystem::permissions(password, std::filesystem::perms{0600});
        return kelp::test::kFreePort + std::string("[tls]\nmode = ") + std::to_string(mode) +
               "\nlisten = \"127.0.0.1:0\"\nca = \"" + certificates.authority() +
               "\"\ncertificate = \"" + key + "\"\nkey_password_file = \"" + password.string() +
               "\"\n[naming]\nssl_port = 4844\n";
    }
    /// Return, for each address in this process's references, whether it is a TLS address.
    static std::vector<bool> transports() {
        const CORBA::ORB_var orb = base().GetOrb();
        const PortableServer::POA_var root = base().GetRootPoa();
        const CORBA::Object_var any = root->create_reference("IDL:omg.org/CORBA/Object:1.0");
        kelp::orb::ReferenceContent content;
        EXPECT_TRUE(kelp::orb::describe(orb.in(), any.in(), content));
        std::vector<bool> tls;
        for (const kelp::orb::Endpoint& endpoint : content.endpoints)
            tls.push_back(endpoint.tls);
        return tls;
    }

    const kelp::test::ThrowAwayCertificates certificates;
    const kelp::test::TemporaryDirectory folder;
};

TEST_F(TlsSettings, ModeOneListensBothWays) {
    const BaseOrb orb(withTls(1));
    EXPECT_EQ(transports(), (std::vector<bool>{false, true}));
    EXPECT_EQ(base().GetSSLMode(), 1);
}

TEST_F(TlsSettings, ModeTwoListensOverTlsOnly) {
    const BaseOrb orb(withTls(2));
    EXPECT_EQ(transports(), (std::vector<bool>{true}));
    EXPECT_EQ(base().GetSSLMode(), 2);
}

TEST_F(TlsSettings, TheKeyIsOpenedWithThePasswordFilesFirstLine) {
    const BaseOrb orb(withTls(2));
    kelp::test::ScriptedInterceptor interceptor;
    base().SetReqInterceptorImpl(&interceptor);
    ASSERT_EQ(NS_CORBA::AgentServer::Activate(), 0);
    const WireSession session;
    const CORBA::ORB_var itsOrb = base().GetOrb();
    std::string address = kelp::test::wireAddress(session.own());
    address.replace(address.find("iiop:"), 5, "ssliop:");
    const CORBA::Object_var object = kelp::orb::toReference(itsOrb.in(), address);
    const nmsSession::NmsSession_I_var overTls =
        nmsSession::NmsSession_I::_unchecked_narrow(object.in());
    const kelp::orb::ScopedThreadTimeout bounded(std::chrono::seconds(30));
    overTls->ping();
    EXPECT_EQ(interceptor.requests, 1);
    base().SetReqInterceptorImpl(nullptr);
}

/// True if the ORB connects to an NMS whose reference contains only a plain address.
bool isCalledInPlain() {
    const kelp::test::Socket listener = kelp::test::boundSocket();
    if (::listen(listener.fd(), 8) != 0)
        throw std::runtime_error("cannot listen");
    const CORBA::ORB_var orb = base().GetOrb();
    const CORBA::Object_var object = kelp::orb::toReference(
        orb.in(),
        "corbaloc:iiop:1.2@127.0.0.1:" + std::to_string(kelp::test::portOf(listener)) + "/Plain");
    const nmsSession::NmsSession_I_var plain =
        nmsSession::NmsSession_I::_unchecked_narrow(object.in());
    const kelp::orb::ScopedThreadTimeout bounded(std::chrono::milliseconds(500));
    EXPECT_THROW(plain->ping(), CORBA::SystemException) << "nobody answers there";
    pollfd waiting{listener.fd(), POLLIN, 0};
    return ::poll(&waiting, 1, 0) == 1;
}

TEST_F(TlsSettings, ModeOneCallsAPlainNmsWithoutTls) {
    const BaseOrb orb(withTls(1));
    EXPECT_TRUE(isCalledInPlain());
}

TEST_F(TlsSettings, ModeTwoCallsNobodyWithoutTls) {
    const BaseOrb orb(withTls(2));
    EXPECT_FALSE(isCalledInPlain());
}

}  // namespace
