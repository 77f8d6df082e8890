#include <gmock/gmock.h>
#include <gtest/gtest.h>
#include <kelp/orb/counted_local.h>
#include <kelp/orb/timeouts.h>

#include <mutex>
#include <thread>
#include <vector>

#include "poa_maker.h"
#include "session_object.h"
#include "support/wait_until.h"

namespace {

using namespace kelp::test;
using namespace std::chrono_literals;
using kelp::orb::currentPeer;
using kelp::orb::currentRequest;
using kelp::orb::RequestInfo;
using testing::ElementsAre;

/// Records its calls, and runs a function of the test at each point.
class RecordingHook : public kelp::orb::RequestHook {
  public:
    std::function<void(const RequestInfo&)> onReceived = [](const RequestInfo&) {};
    std::function<void(const RequestInfo&)> onDispatching = [](const RequestInfo&) {};

    void received(const RequestInfo& request) override {
        note("received", request);
        onReceived(request);
    }
    void dispatching(const RequestInfo& request) override {
        note("dispatching", request);
        onDispatching(request);
    }
    void finished(const RequestInfo& request, const CORBA::Exception* raised) noexcept override {
        note("finished", request, raised != nullptr ? raised->_name() : nullptr);
    }
    void undelivered(const RequestInfo& request, const CORBA::Exception* answer) noexcept override {
        note("undelivered", request, answer != nullptr ? answer->_name() : "oneway");
    }

    void note(const std::string& what) {
        const std::lock_guard<std::mutex> guard(lock_);
        events_.push_back(what);
    }
    std::vector<std::string> events() {
        const std::lock_guard<std::mutex> guard(lock_);
        return events_;
    }
    bool hasEvents(std::size_t count) {
        return waitUntil([&] { return events().size() >= count; });
    }

  private:
    void note(const std::string& point, const RequestInfo& request, const char* outcome = nullptr) {
        const CORBA::String_var operation = request.operation();
        note(point + " " + operation.in() +
             (outcome == nullptr ? "" : std::string(": ") + outcome));
        EXPECT_EQ(currentRequest(), &request) << point;
    }

    std::mutex lock_;
    std::vector<std::string> events_;
};

class Hook : public testing::Test {
  protected:
    Hook() { kelp::orb::setThreadTimeout(30s); }

    RecordingHook hook_;
    RunningOrb orb_{&hook_};
};

std::string operationNow() {
    const RequestInfo* request = currentRequest();
    if (request == nullptr)
        return "none";
    const CORBA::String_var operation = request->operation();
    return operation.in();
}

TEST_F(Hook, IsCalledBeforeAndAfterTheServant) {
    SessionObject session(orb_, [this] { hook_.note("servant"); });
    session.remote()->ping();
    ASSERT_TRUE(hook_.hasEvents(4));
    EXPECT_THAT(hook_.events(),
                ElementsAre("received ping", "dispatching ping", "servant", "finished ping"));
}

TEST_F(Hook, LearnsThePeerOfARequest) {
    std::string text;
    std::uint32_t ipv4 = 0;
    std::uint16_t port = 0;
    hook_.onReceived = [&](const RequestInfo& request) {
        text = request.peer().text;
        ipv4 = request.peer().ipv4;
        port = request.peer().port;
    };
    SessionObject session(orb_);
    session.remote()->ping();
    EXPECT_EQ(text, "127.0.0.1");
    EXPECT_EQ(ipv4, 0x7f000001U);
    EXPECT_NE(port, 0);
    EXPECT_NE(port, orb_.port());
}

TEST_F(Hook, LearnsTheTopPoaOfTopAndChildObjectsAlike) {
    std::vector<std::string> names;
    hook_.onReceived = [&](const RequestInfo& request) { names.push_back(request.topPoaName()); };
    const PortableServer::POA_var top = makePoa(orb_.root(), orb_.manager(), "EMS/1:nms<a>");
    const PortableServer::POA_var child = makePoa(top.in(), orb_.manager(), "session");
    const PortableServer::POA_var fixed = makePersistentPoa(orb_.root(), orb_.manager(), "V4800");
    SessionObject onRoot(orb_);
    SessionObject onTop(orb_, top.in());
    SessionObject onChild(orb_, child.in());
    onRoot.remote()->ping();
    onTop.remote()->ping();
    onChild.remote()->ping();
    const CORBA::Object_var object = activateWithId(fixed.in(), "Factory");
    const CORBA::Object_var wired = orb_.overTheWire(object.in());
    EXPECT_FALSE(wired->_non_existent());
    EXPECT_THAT(names, ElementsAre("", "EMS/1:nms<a>", "EMS/1:nms<a>", "V4800"));
}

TEST_F(Hook, RefusesARequestBeforeItsTargetIsLookedUp) {
    hook_.onReceived = [](const RequestInfo&) {
        throw CORBA::NO_PERMISSION(7, CORBA::COMPLETED_NO);
    };
    SessionObject session(orb_);
    try {
        session.remote()->ping();
        ADD_FAILURE() << "not refused";
    } catch (const CORBA::NO_PERMISSION& ex) {
        EXPECT_EQ(ex.minor(), 7U);
        EXPECT_EQ(ex.completed(), CORBA::COMPLETED_NO);
    }
    EXPECT_EQ(session.servant().pings, 0);
    EXPECT_THAT(hook_.events(), ElementsAre("received ping"));
}

TEST_F(Hook, RefusesARequestWhoseTargetIsKnown) {
    hook_.onDispatching = [](const RequestInfo&) { throw CORBA::NO_PERMISSION(); };
    SessionObject session(orb_);
    try {
        session.remote()->ping();
        ADD_FAILURE() << "not refused";
    } catch (const CORBA::NO_PERMISSION& ex) {
        EXPECT_EQ(ex.completed(), CORBA::COMPLETED_NO);
    }
    EXPECT_EQ(session.servant().pings, 0);
    EXPECT_THAT(hook_.events(), ElementsAre("received ping", "dispatching ping"));
}

/// After each kind of exception, the connection and its thread must work as before.
template <class Thrown>
void expectUnknown(RecordingHook& hook, const RunningOrb& orb, Thrown thrown) {
    SessionObject session(orb);
    const auto throwing = [&thrown](const RequestInfo&) { throw Thrown(thrown); };
    const auto nothing = [](const RequestInfo&) {};
    for (auto point : {&RecordingHook::onReceived, &RecordingHook::onDispatching}) {
        hook.*point = throwing;
        try {
            session.remote()->ping();
            ADD_FAILURE() << "no exception";
        } catch (const CORBA::UNKNOWN& ex) {
            EXPECT_EQ(ex.completed(), CORBA::COMPLETED_NO);
        }
        hook.*point = nothing;
        EXPECT_NO_THROW(session.remote()->ping());
        EXPECT_EQ(session.servant().pings, 1);
        session.servant().pings = 0;
    }
}

TEST_F(Hook, ThatThrowsAStandardExceptionGivesTheCallerUnknown) {
    expectUnknown(hook_, orb_, std::runtime_error("broken %s"));
}

TEST_F(Hook, ThatThrowsAnyOtherTypeGivesTheCallerUnknown) {
    expectUnknown(hook_, orb_, 42);
}

TEST_F(Hook, ThatThrowsAUserExceptionGivesTheCallerUnknown) {
    expectUnknown(hook_, orb_, PortableServer::POA::WrongPolicy());
}

TEST_F(Hook, SeesTheEndOfAServantThatThrows) {
    SessionObject session(orb_, [] { throw CORBA::BAD_PARAM(3, CORBA::COMPLETED_YES); });
    EXPECT_THROW(session.remote()->ping(), CORBA::BAD_PARAM);
    ASSERT_TRUE(hook_.hasEvents(3));
    EXPECT_THAT(hook_.events(),
                ElementsAre("received ping", "dispatching ping", "finished ping: BAD_PARAM"));
}

TEST_F(Hook, SeesTheEndOfAServantThatThrowsAStandardException) {
    SessionObject session(orb_, [] { throw std::runtime_error("servant"); });
    EXPECT_THROW(session.remote()->ping(), CORBA::UNKNOWN);
    ASSERT_TRUE(hook_.hasEvents(3));
    EXPECT_THAT(hook_.events(),
                ElementsAre("received ping", "dispatching ping", "finished ping: UNKNOWN"));
}

TEST_F(Hook, SeesRequestsForUnknownObjectsOnce) {
    const CORBA::Object_var nobody = orb_.overTheWireByKey("Nobody");
    EXPECT_TRUE(nobody->_non_existent());
    EXPECT_THAT(hook_.events(), ElementsAre("received _non_existent",
                                            "undelivered _non_existent: OBJECT_NOT_EXIST"));
}

TEST_F(Hook, SeesAnUnknownOperation) {
    SessionObject session(orb_);
    const CORBA::Object_var remote = orb_.overTheWire(session.inProcess());
    CORBA::Request_var request = remote->_request("reboot");
    request->set_return_type(CORBA::_tc_void);
    EXPECT_THROW(
        {
            request->invoke();
            if (request->env()->exception() != nullptr)
                request->env()->exception()->_raise();
        },
        CORBA::BAD_OPERATION);
    EXPECT_THAT(hook_.events(),
                ElementsAre("received reboot", "undelivered reboot: BAD_OPERATION"));
}

TEST_F(Hook, SeesAOnewayRequestForAnUnknownObject) {
    const CORBA::Object_var nobody = orb_.overTheWireByKey("Nobody");
    const nmsSession::NmsSession_I_var gone =
        nmsSession::NmsSession_I::_unchecked_narrow(nobody.in());
    gone->endSession();
    // The hook may be called with the thread's next request, and the ORB chooses the thread that
    // serves it.
    EXPECT_TRUE(kelp::test::waitUntil([&] {
        EXPECT_TRUE(gone->_non_existent());
        return testing::Value(hook_.events(),
                              testing::Contains(testing::StartsWith("undelivered endSession")));
    }));
    EXPECT_THAT(hook_.events(), testing::Contains("received endSession").Times(1));
    EXPECT_THAT(hook_.events(),
                testing::Contains(testing::StartsWith("undelivered endSession")).Times(1));
    EXPECT_THAT(hook_.events(), testing::Contains("undelivered _non_existent: OBJECT_NOT_EXIST"));
}

TEST_F(Hook, SeesWhereARequestGoes) {
    std::vector<std::string> seen;
    hook_.onDispatching = [&](const RequestInfo& request) {
        seen = {request.topPoaName(), request.childPoaName(), request.objectId()};
        EXPECT_EQ(request.peer().withPort, "127.0.0.1:" + std::to_string(request.peer().port));
        EXPECT_NEAR(
            std::chrono::duration<double>(std::chrono::system_clock::now() - request.arrived())
                .count(),
            0, 30);
        EXPECT_LT(request.age(), 30s);
    };
    const PortableServer::POA_var top = makePoa(orb_.root(), orb_.manager(), "top");
    const PortableServer::POA_var child = makePoa(top.in(), orb_.manager(), "child");
    for (PortableServer::POA_ptr poa : {top.in(), child.in()}) {
        const PortableServer::ServantBase_var servant = new ScriptedSession;
        const PortableServer::ObjectId_var id = poa->activate_object(servant.in());
        const CORBA::Object_var object = poa->id_to_reference(id.in());
        const CORBA::Object_var remote = orb_.overTheWire(object.in());
        EXPECT_FALSE(remote->_non_existent());
        const std::string octets(reinterpret_cast<const char*>(id.in().get_buffer()),
                                 id.in().length());
        EXPECT_THAT(seen, ElementsAre("top", poa == child.in() ? "child" : "", octets));
    }
}

TEST_F(Hook, SeesTheWellKnownKeyThatARequestGoesTo) {
    std::vector<std::string> seen;
    hook_.onDispatching = [&](const RequestInfo& request) {
        seen = {request.topPoaName(), request.childPoaName(), request.objectId()};
    };
    SessionObject session(orb_);
    kelp::orb::publishKey(orb_.orb(), "Key", &session.servant(), session.inProcess());
    const CORBA::Object_var byKey = orb_.overTheWireByKey("Key");
    EXPECT_FALSE(byKey->_non_existent());
    EXPECT_THAT(seen, ElementsAre("", "", "Key"));
    session.remote()->ping();
    EXPECT_THAT(seen, ElementsAre("", "", "")) << "an object of the root POA has no key of its own";
}

TEST_F(Hook, DoesNotSeeCallsInsideTheProcess) {
    SessionObject session(orb_);
    session.inProcess()->ping();
    EXPECT_EQ(session.servant().pings, 1);
    EXPECT_TRUE(hook_.events().empty());
}

TEST_F(Hook, RefusesALargeRequestAndKeepsTheConnection) {
    std::size_t size = 0;
    SessionObject session(orb_);
    session.servant().onText = [&](const std::string& text) { size = text.size(); };
    const std::string large(200000, 'x');
    hook_.onReceived = [](const RequestInfo&) { throw CORBA::NO_PERMISSION(); };
    EXPECT_THROW(session.remote()->eventLossOccurred("", large.c_str()), CORBA::NO_PERMISSION);
    hook_.onReceived = [](const RequestInfo&) {};
    session.remote()->eventLossOccurred("", large.c_str());
    EXPECT_EQ(size, large.size());
}

TEST_F(Hook, RefusesAOnewayRequestSilently) {
    SessionObject session(orb_);
    hook_.onDispatching = [](const RequestInfo& request) {
        const CORBA::String_var operation = request.operation();
        if (std::string(operation.in()) == "endSession")
            throw CORBA::NO_PERMISSION();
    };
    session.remote()->endSession();
    session.remote()->ping();
    ASSERT_TRUE(hook_.hasEvents(5));
    EXPECT_THAT(hook_.events(), testing::UnorderedElementsAre(
                                    "received endSession", "dispatching endSession",
                                    "received ping", "dispatching ping", "finished ping"));
}

TEST_F(Hook, RefusesThousandsOfRequestsAndTheOrbStillStops) {
    std::atomic<int> refused{0};
    hook_.onReceived = [](const RequestInfo&) { throw CORBA::NO_PERMISSION(); };
    SessionObject session(orb_);
    std::vector<std::thread> callers;
    for (int i = 0; i < 4; ++i) {
        callers.emplace_back([&] {
            for (int call = 0; call < 1000; ++call) {
                try {
                    session.remote()->ping();
                } catch (const CORBA::NO_PERMISSION&) {
                    ++refused;
                }
            }
        });
    }
    for (std::thread& caller : callers)
        caller.join();
    EXPECT_EQ(refused, 4000);
    orb_.destroy();
    EXPECT_TRUE(CORBA::is_nil(orb_.orb()));
}

TEST_F(Hook, CurrentRequestIsKnownToTheServantAndNoOneElse) {
    std::string operation;
    std::string peer;
    SessionObject session(orb_, [&] {
        operation = operationNow();
        peer = currentPeer().text;
    });
    session.remote()->ping();
    EXPECT_EQ(operation, "ping");
    EXPECT_EQ(peer, "127.0.0.1");
    EXPECT_EQ(currentRequest(), nullptr);
    EXPECT_EQ(currentPeer().text, "");
}

TEST_F(Hook, CurrentRequestIsNoneInACallFromInsideTheProcess) {
    std::string operation;
    SessionObject session(orb_, [&] { operation = operationNow(); });
    session.inProcess()->ping();
    EXPECT_EQ(operation, "none");
}

TEST_F(Hook, CurrentRequestOutlivesACallInsideTheProcess) {
    SessionObject inner(orb_);
    std::string seenInside;
    std::string seenAfter;
    bool same = false;
    inner.servant().onAssociatedSession = [&] { seenInside = operationNow(); };
    SessionObject outer(orb_, [&] {
        const RequestInfo* before = currentRequest();
        const session::Session_I_var none = inner.inProcess()->associatedSession();
        same = currentRequest() == before;
        seenAfter = operationNow();
    });
    outer.remote()->ping();
    EXPECT_EQ(seenInside, "ping");
    EXPECT_EQ(seenAfter, "ping");
    EXPECT_TRUE(same);
}

TEST_F(Hook, CurrentRequestOutlivesACallOverAConnection) {
    SessionObject inner(orb_);
    std::string seenInside;
    std::string seenAfter;
    inner.servant().onAssociatedSession = [&] { seenInside = operationNow(); };
    SessionObject outer(orb_, [&] {
        const session::Session_I_var none = inner.remote()->associatedSession();
        seenAfter = operationNow();
    });
    outer.remote()->ping();
    EXPECT_EQ(seenInside, "_get_associatedSession");
    EXPECT_EQ(seenAfter, "ping");
}

/// Refuses the object id "gone". Records the current request of each call.
class NotingLocator : public kelp::orb::CountedLocal<PortableServer::ServantLocator> {
  public:
    explicit NotingLocator(std::vector<std::string>& seen) : seen_(seen) {}
    PortableServer::Servant preinvoke(const PortableServer::ObjectId& id, PortableServer::POA_ptr,
                                      const char*, void*&) override {
        seen_.push_back(operationNow());
        const CORBA::String_var text = PortableServer::ObjectId_to_string(id);
        if (std::string(text.in()) == "gone")
            throw CORBA::OBJECT_NOT_EXIST();
        return servant_.in();
    }
    void postinvoke(const PortableServer::ObjectId&, PortableServer::POA_ptr, const char*, void*,
                    PortableServer::Servant) override {}

  private:
    std::vector<std::string>& seen_;
    PortableServer::ServantBase_var servant_{new ScriptedSession};
};

TEST_F(Hook, CurrentRequestIsKnownToTheServantManager) {
    std::vector<std::string> seen;
    const PortableServer::POA_var poa = makeLocatorPoa(orb_.root(), orb_.manager(), "located");
    {
        const PortableServer::ServantLocator_var locator = new NotingLocator(seen);
        poa->set_servant_manager(locator.in());
    }
    const auto wired = [&](const char* id) {
        const PortableServer::ObjectId_var oid = PortableServer::string_to_ObjectId(id);
        const CORBA::Object_var object = poa->create_reference_with_id(
            oid.in(), "IDL:mtnm.tmforum.org/nmsSession/NmsSession_I:1.0");
        const CORBA::Object_var remote = orb_.overTheWire(object.in());
        return nmsSession::NmsSession_I::_unchecked_narrow(remote.in());
    };
    const nmsSession::NmsSession_I_var gone = wired("gone");
    const nmsSession::NmsSession_I_var there = wired("there");
    EXPECT_THROW(gone->eventLossCleared(""), CORBA::OBJECT_NOT_EXIST);
    there->ping();
    EXPECT_THAT(seen, ElementsAre("eventLossCleared", "ping"));
    ASSERT_TRUE(hook_.hasEvents(5));
    EXPECT_THAT(hook_.events(), ElementsAre("received eventLossCleared",
                                            "undelivered eventLossCleared: OBJECT_NOT_EXIST",
                                            "received ping", "dispatching ping", "finished ping"));
}

TEST(NoHook, StillKnowsTheCurrentRequest) {
    const RunningOrb orb;
    std::string operation;
    SessionObject session(orb, [&] { operation = operationNow(); });
    session.remote()->ping();
    EXPECT_EQ(operation, "ping");
}

}  // namespace
