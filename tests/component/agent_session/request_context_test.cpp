// The current request's session, as the session manager reports it to other modules.

#include <gtest/gtest.h>

#include "adapter/iterator_activator.h"
#include "adapter/session_source.h"
#include "support/agent_fixture.h"
#include "support/trace_capture.h"
#include "support/trace_trigger.h"

namespace {

using namespace kelp::test;
using namespace NS_KELPCORBA;

/// The session manager's answers during a request.
struct Seen {
    std::string name;
    int userId = 0;
    void look() {
        name = RunningAgent::sessions().GetNmsIPAddrByContext();
        userId = RunningAgent::sessions().GetUserIDByContext();
    }
};

class RequestContext : public testing::Test {
  protected:
    std::string nameOf(const TestNms& nms) const {
        return sessionNameText("admin", nms.hostInfo());
    }
    int idOf(const std::string& user) const {
        return static_cast<int>(
            kelp::users::UserDatabase(kelp::users::userDatabaseFile()).find(user)->id);
    }

    RunningAgent agent_;
    Seen seen_;
};

TEST_F(RequestContext, OfACallOnAManagerIsItsSession) {
    agent_.manager().onCall = [this] { seen_.look(); };
    const emsSession::EmsSession_I_var other = agent_.logIn(agent_.nms(2));
    const emsSession::EmsSession_I_var session = agent_.logIn(agent_.nms(1));
    common::CapabilityList_T_var capabilities;
    agent_.remoteManager(session.in())->getCapabilities(capabilities.out());
    EXPECT_EQ(seen_.name, nameOf(agent_.nms(1)));
    EXPECT_EQ(seen_.userId, idOf("admin"));
    agent_.remoteManager(other.in())->getCapabilities(capabilities.out());
    EXPECT_EQ(seen_.name, nameOf(agent_.nms(2)));
}

TEST_F(RequestContext, OfACallInTheProcessIsItsSessionToo) {
    agent_.manager().onCall = [this] { seen_.look(); };
    const emsSession::EmsSession_I_var session = agent_.logIn(agent_.nms());
    common::Common_I_var manager;
    session->getManager("EMS", manager.out());
    common::CapabilityList_T_var capabilities;
    manager->getCapabilities(capabilities.out());
    EXPECT_EQ(seen_.name, nameOf(agent_.nms()));
}

TEST_F(RequestContext, OfACallOnTheSessionIsTheSession) {
    const emsSession::EmsSession_I_var session = agent_.logIn(agent_.nms());
    const TraceTrigger inPing("Greeting From", [this] { seen_.look(); });
    agent_.overTheWire<emsSession::EmsSession_I>(session.in())->ping();
    EXPECT_EQ(seen_.name, nameOf(agent_.nms()));
    EXPECT_EQ(seen_.userId, idOf("admin"));
}

TEST_F(RequestContext, OfACallOnAnIteratorIsItsSession) {
    const emsSession::EmsSession_I_var session = agent_.logIn(agent_.nms());
    const PortableServer::POA_var top = agent_.listed(agent_.nms())->source()->get_POA();
    const PortableServer::POA_var poa = top->find_POA("iterator", false);
    std::atomic<int> alive{0};
    {
        auto* const iterator = new TestManager(alive);
        iterator->onCall = [this] { seen_.look(); };
        const PortableServer::ObjectId_var id =
            IteratorServantActivator::activate(poa.in(), iterator);
        iterator->_remove_ref();
        const CORBA::Object_var object = poa->id_to_reference(id.in());
        common::CapabilityList_T_var capabilities;
        agent_.overTheWire<common::Common_I>(object.in())->getCapabilities(capabilities.out());
    }
    EXPECT_EQ(seen_.name, nameOf(agent_.nms()));
    session->endSession();
    EXPECT_TRUE(waitUntil([&] { return alive == 0; }));
}

TEST_F(RequestContext, OfALogInIsThePoaOfTheFactory) {
    const TraceTrigger inLogIn("has been constructured!", [this] { seen_.look(); });
    emsSession::EmsSession_I_var session;
    agent_.remoteFactory()->getEmsSession("admin", "secret", agent_.nms().reference(),
                                          session.out());
    EXPECT_EQ(seen_.name, "V4800");
    EXPECT_EQ(seen_.userId, -1);
}

TEST_F(RequestContext, IsEmptyOutsideOfAnyRequest) {
    const TraceCapture trace;
    EXPECT_EQ(agent_.sessions().GetNmsIPAddrByContext(), "");
    EXPECT_EQ(agent_.sessions().GetUserIDByContext(), -1);
    EXPECT_EQ(trace.count("[SessionMgr::GetNmsIPAddrByContext] Get nms ip address failed!"), 2u);
}

TEST_F(RequestContext, IsEmptyWithoutAnOrb) {
    agent_.stop();
    const TraceCapture trace;
    EXPECT_EQ(agent_.sessions().GetNmsIPAddrByContext(), "");
    EXPECT_TRUE(trace.contains("[SessionMgr::GetNmsIPAddrByContext] Get nms ip address failed!"));
    SessionMgr::Destroy();
}

}  // namespace
