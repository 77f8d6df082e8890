#include <gtest/gtest.h>

#include "base_orb.h"
#include "scripted_interceptor.h"

using kelp::test::base;
using kelp::test::BaseOrb;
using kelp::test::configure;
using kelp::test::ScriptedInterceptor;
using kelp::test::ScriptedSession;

namespace {

const std::string kIpv6Port = "[orb]\nlisten = \"[::1]:0\"\n";

/// The interceptor's check of a caller that has the address ::1 and no IPv4 address.
class Ipv6Access : public testing::Test {
  protected:
    ~Ipv6Access() override { base().SetReqInterceptorImpl(nullptr); }

    /// Connect the caller while it is allowed, then configure `networks`. True if its next call is
    /// allowed.
    bool callerIsAllowed(const std::string& networks) {
        std::uint32_t ipv4 = 1;
        bool allowed = false;
        ScriptedInterceptor interceptor([&](const kelp::orb::RequestInfo* ri) {
            ipv4 = ri->peer().ipv4;
            allowed = base().IsValidOssIP(ipv4);
        });
        base().SetReqInterceptorImpl(&interceptor);
        EXPECT_EQ(NS_CORBA::AgentServer::Activate(), 0);
        const CORBA::ORB_var itsOrb = base().GetOrb();
        const CORBA::Object_var object = kelp::orb::toReference(itsOrb.in(), address());
        const nmsSession::NmsSession_I_var session =
            nmsSession::NmsSession_I::_unchecked_narrow(object.in());
        session->ping();
        configure(kIpv6Port + "[access]\nallowed_oss = [" + networks + "]\n");
        session->ping();
        EXPECT_EQ(interceptor.requests, 2);
        EXPECT_EQ(ipv4, 0u);
        base().SetReqInterceptorImpl(nullptr);
        return allowed;
    }

  private:
    /// Return the address in another spelling than the ORB's own, so that calls go over a
    /// connection.
    std::string address() const {
        ScriptedSession* const servant = new ScriptedSession;
        const PortableServer::ServantBase_var owner(servant);
        const PortableServer::POA_var root = base().GetRootPoa();
        const PortableServer::ObjectId_var id = root->activate_object(servant);
        const CORBA::Object_var own = root->id_to_reference(id.in());
        std::string text = kelp::test::wireAddress(own.in());
        return text.replace(text.find("127.1"), 5, "[0:0:0:0:0:0:0:1]");
    }

    BaseOrb orb{kIpv6Port + "[access]\nallowed_oss = [\"::1\"]\n"};
};

TEST_F(Ipv6Access, IsRefusedWithoutAnIpv6Network) {
    EXPECT_FALSE(callerIsAllowed("\"0.0.0.0/0\""));
}

TEST_F(Ipv6Access, IsAllowedByItsAddress) {
    EXPECT_TRUE(callerIsAllowed("\"10.0.0.0/8\", \"::1\""));
}

TEST_F(Ipv6Access, IsAllowedByItsNetwork) {
    EXPECT_TRUE(callerIsAllowed("\"::/127\""));
}

TEST_F(Ipv6Access, IsRefusedByAnotherNetwork) {
    EXPECT_FALSE(callerIsAllowed("\"2001:db8::/32\", \"::2/128\""));
}

}  // namespace
