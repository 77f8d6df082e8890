#include <gtest/gtest.h>
#include <kelp/corbabase/session_name.h>

#include "base_orb.h"
#include "scripted_interceptor.h"

using kelp::test::base;
using kelp::test::BaseOrb;
using kelp::test::ScriptedInterceptor;
using kelp::test::ScriptedSession;
using NS_CORBA::TEUserHelper;

namespace {

const std::string kSessionName =
    "<USERNAME_TAG>nms1</USERNAME_TAG><IPANDPORT_TAG>10.0.0.1:5000</IPANDPORT_TAG>";

class SessionName : public testing::Test {
  protected:
    SessionName() {
        base().SetReqInterceptorImpl(&interceptor);
        EXPECT_EQ(NS_CORBA::AgentServer::Activate(), 0);
        const PortableServer::POA_var root = base().GetRootPoa();
        const PortableServer::POAManager_var manager = root->the_POAManager();
        const PortableServer::POA_var top =
            root->create_POA(kSessionName.c_str(), manager.in(), CORBA::PolicyList());
        const PortableServer::POA_var child =
            top->create_POA("session", manager.in(), CORBA::PolicyList());
        servant->onAssociatedSession = [this] {
            inServant = TEUserHelper::GetNmsIPAddrByContext();
        };
        const PortableServer::ObjectId_var id = child->activate_object(servant);
        own = child->id_to_reference(id.in());
    }
    ~SessionName() override { base().SetReqInterceptorImpl(nullptr); }

    void call(const std::string& address) const {
        const CORBA::ORB_var itsOrb = base().GetOrb();
        const CORBA::Object_var object = kelp::orb::toReference(itsOrb.in(), address);
        const nmsSession::NmsSession_I_var session =
            nmsSession::NmsSession_I::_unchecked_narrow(object.in());
        const session::Session_I_var none = session->associatedSession();
    }

    std::string inInterceptor;
    std::string inServant;
    ScriptedInterceptor interceptor{[this](const kelp::orb::RequestInfo*) {
        inInterceptor = TEUserHelper::GetNmsIPAddrByContext();
    }};
    BaseOrb orb;
    ScriptedSession* const servant = new ScriptedSession;
    const PortableServer::ServantBase_var owner{servant};
    CORBA::Object_var own;
};

TEST_F(SessionName, IsTheTopPoasNameInServantAndInterceptor) {
    call(kelp::test::wireAddress(own.in()));
    EXPECT_EQ(inInterceptor, kSessionName);
    EXPECT_EQ(inServant, kSessionName);
}

TEST_F(SessionName, IsRightInAnInProcessCallToo) {
    const nmsSession::NmsSession_I_var session = nmsSession::NmsSession_I::_narrow(own.in());
    const session::Session_I_var none = session->associatedSession();
    EXPECT_EQ(inServant, kSessionName);
    EXPECT_EQ(inInterceptor, "");
}

TEST_F(SessionName, IsEmptyOutsideARequest) {
    EXPECT_EQ(TEUserHelper::GetNmsIPAddrByContext(), "");
}

}  // namespace
