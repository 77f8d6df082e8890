// What requests leave in the operation log and in the security log.

#include <gmock/gmock.h>
#include <gtest/gtest.h>
#include <kelp/corbabase/operation_record.h>
#include <kelp/corbabase/session_token.h>
#include <mtnm/globaldefs.h>

#include <functional>

#include "base_orb.h"
#include "component/orb/poa_maker.h"
#include "open_logs.h"
#include "scripted_interceptor.h"
#include "support/trace_capture.h"

namespace {

using namespace kelp::test;
using kelp::oplog::LogEntry;
using NS_CORBA::AgentServer;
using testing::ElementsAre;
using testing::IsEmpty;
using testing::SizeIs;

class RequestRecording : public testing::Test {
  protected:
    RequestRecording() {
        EXPECT_EQ(AgentServer::Activate(), 0);
        base().SetReqInterceptorImpl(&interceptor_);
    }
    ~RequestRecording() override { base().SetReqInterceptorImpl(nullptr); }

    /// Return a session object in POAs of these names, called over a connection.
    static nmsSession::NmsSession_I_var object(
        const std::string& top, const std::string& child, std::function<void()> onPing = [] {}) {
        const PortableServer::POA_var root = base().GetRootPoa();
        const PortableServer::POAManager_var manager = root->the_POAManager();
        PortableServer::POA_var poa = makePoa(root.in(), manager.in(), top);
        if (!child.empty())
            poa = makePoa(poa.in(), manager.in(), child);
        return wired(poa.in(), "", std::move(onPing));
    }
    /// Return a session object in this POA. Its object id is `id`, or chosen by the POA if `id` is
    /// empty.
    static nmsSession::NmsSession_I_var wired(
        PortableServer::POA_ptr poa, const std::string& id, std::function<void()> onPing = [] {}) {
        const PortableServer::ServantBase_var servant = new ScriptedSession(std::move(onPing));
        PortableServer::ObjectId_var oid;
        if (id.empty()) {
            oid = poa->activate_object(servant.in());
        } else {
            oid = PortableServer::string_to_ObjectId(id.c_str());
            poa->activate_object_with_id(oid.in(), servant.in());
        }
        const CORBA::Object_var own = poa->id_to_reference(oid.in());
        const CORBA::ORB_var orb = base().GetOrb();
        const CORBA::Object_var remote = kelp::orb::toReference(orb.in(), wireAddress(own.in()));
        return nmsSession::NmsSession_I::_unchecked_narrow(remote.in());
    }

    /// Return a session object that is already deactivated.
    static nmsSession::NmsSession_I_var gone() {
        const PortableServer::POA_var root = base().GetRootPoa();
        const PortableServer::POAManager_var manager = root->the_POAManager();
        const PortableServer::POA_var poa = makePersistentPoa(root.in(), manager.in(), "V4800");
        nmsSession::NmsSession_I_var session = wired(poa.in(), "gone");
        const PortableServer::ObjectId_var id = PortableServer::string_to_ObjectId("gone");
        poa->deactivate_object(id.in());
        return session;
    }

    TemporaryDirectory folder_;
    BaseOrb orb_{kFreePort + OpenLogs::toml(folder_)};
    OpenLogs logs_{folder_};
    ScriptedInterceptor interceptor_{
        [](const kelp::orb::RequestInfo* ri) { NS_CORBA::TaWriteOperLog(ri, 0); }};
};

constexpr const char* kSession =
    "<USERNAME_TAG>admin</USERNAME_TAG><IPANDPORT_TAG>10.0.0.7:4711</IPANDPORT_TAG>";

TEST_F(RequestRecording, NamesCallerOperationAddressAndOutcome) {
    const auto session = object(kSession, "session");
    const kelp::oplog::UtcTime before = kelp::oplog::now();
    session->ping();
    const auto records = logs_.operations();
    ASSERT_THAT(records, SizeIs(1));
    EXPECT_EQ(records[0].user, "admin");
    EXPECT_EQ(records[0].nmsAddress, "10.0.0.7:4711");
    EXPECT_THAT(records[0].peer, testing::StartsWith("127.0.0.1:"));
    EXPECT_EQ(records[0].operation, "ping");
    EXPECT_EQ(records[0].objectKind, "session");
    EXPECT_EQ(records[0].outcome, "ok");
    EXPECT_GE(records[0].time, before);
    EXPECT_LE(records[0].time, kelp::oplog::now());
    ASSERT_TRUE(records[0].duration);
    EXPECT_LT(*records[0].duration, std::chrono::seconds(30));
}

TEST_F(RequestRecording, DistinguishesIteratorsManagersTheFactoryAndTheChannel) {
    const PortableServer::POA_var root = base().GetRootPoa();
    const PortableServer::POAManager_var manager = root->the_POAManager();
    const PortableServer::POA_var factory = makePersistentPoa(root.in(), manager.in(), "V4800");
    object(std::string(kSession) + "1", "iterator")->ping();
    const PortableServer::POA_var top = makePersistentPoa(root.in(), manager.in(), kSession);
    const std::string token(NS_CORBA::SessionToken::kOctets, 'x');
    wired(top.in(), "ManagedElement" + token)->ping();
    wired(factory.in(), "EMSSessionFactory")->ping();
    object("notification", "")->ping();
    object("other", "")->ping();
    std::vector<std::string> kinds;
    for (const LogEntry& each : logs_.operations())
        kinds.push_back(each.objectKind + "/" + each.object);
    EXPECT_THAT(kinds, ElementsAre("iterator/", "manager/ManagedElement", "factory/", "channel/",
                                   "/other"));
}

TEST_F(RequestRecording, NamesTheExceptionOfARequestThatFails) {
    globaldefs::ProcessingFailureException refusal;
    refusal.exceptionType = globaldefs::EXCPT_ENTITY_NOT_FOUND;
    std::function<void()> fail = [&] { throw refusal; };
    const auto session = object(kSession, "session", [&] { fail(); });
    EXPECT_ANY_THROW(session->ping());
    fail = [] { throw CORBA::BAD_PARAM(); };
    EXPECT_THROW(session->ping(), CORBA::BAD_PARAM);
    fail = [] { throw std::runtime_error("broken"); };
    EXPECT_THROW(session->ping(), CORBA::UNKNOWN);
    std::vector<std::string> outcomes;
    for (const LogEntry& each : logs_.operations())
        outcomes.push_back(each.outcome);
    EXPECT_THAT(outcomes, ElementsAre("EXCPT_ENTITY_NOT_FOUND", "BAD_PARAM", "UNKNOWN"));
}

TEST_F(RequestRecording, RecordsRequestsForObjectsThatDoNotExist) {
    EXPECT_THROW(gone()->eventLossCleared(""), CORBA::OBJECT_NOT_EXIST);
    const auto records = logs_.operations();
    ASSERT_THAT(records, SizeIs(1));
    EXPECT_EQ(records[0].operation, "eventLossCleared");
    EXPECT_EQ(records[0].outcome, "OBJECT_NOT_EXIST");
    EXPECT_THAT(logs_.security(), IsEmpty());
}

TEST_F(RequestRecording, RecordsNothingThatTheInterceptorExcludes) {
    ScriptedInterceptor silent;
    base().SetReqInterceptorImpl(&silent);
    object(kSession, "session")->ping();
    EXPECT_EQ(silent.requests, 1);
    EXPECT_THAT(logs_.operations(), IsEmpty());
}

TEST_F(RequestRecording, RecordsRefusedCallersInTheSecurityLogOnly) {
    ScriptedInterceptor refusing([](const kelp::orb::RequestInfo* ri) {
        NS_CORBA::TaWriteOperLog(ri, 0);
        throw CORBA::NO_PERMISSION();
    });
    base().SetReqInterceptorImpl(&refusing);
    EXPECT_THROW(object(kSession, "session")->ping(), CORBA::NO_PERMISSION);
    EXPECT_THAT(logs_.operations(), IsEmpty());
    const auto records = logs_.security();
    ASSERT_THAT(records, SizeIs(1));
    EXPECT_EQ(records[0].operation, "refused-address");
    EXPECT_EQ(records[0].object, "ping");
    EXPECT_EQ(records[0].outcome, "NO_PERMISSION");
    EXPECT_THAT(records[0].peer, testing::StartsWith("127.0.0.1:"));
}

TEST_F(RequestRecording, RecordsCallersWithoutPermissionInTheSecurityLogWithTheirAnswer) {
    ScriptedInterceptor silent;
    base().SetReqInterceptorImpl(&silent);
    object(kSession, "session")->ping();  // connect while this is still allowed
    configure(kFreePort + OpenLogs::toml(folder_) + "[access]\nallowed_oss = [\"192.0.2.0/24\"]\n");
    EXPECT_THROW(gone()->eventLossCleared(""), CORBA::OBJECT_NOT_EXIST);
    EXPECT_THAT(logs_.operations(), IsEmpty());
    const auto records = logs_.security();
    ASSERT_THAT(records, SizeIs(1));
    EXPECT_EQ(records[0].operation, "refused-address");
    EXPECT_EQ(records[0].object, "eventLossCleared");
    EXPECT_EQ(records[0].outcome, "OBJECT_NOT_EXIST");
}

TEST_F(RequestRecording, SummarisesAFloodOfRefusalsInOneRecord) {
    ScriptedInterceptor refusing(
        [](const kelp::orb::RequestInfo*) { throw CORBA::NO_PERMISSION(); });
    base().SetReqInterceptorImpl(&refusing);
    const auto session = object(kSession, "session");
    for (int i = 0; i < 500; ++i)
        EXPECT_THROW(session->ping(), CORBA::NO_PERMISSION);
    const auto records = logs_.security();
    ASSERT_THAT(records, SizeIs(21));
    EXPECT_THAT(records.back().detail, testing::StartsWith("480 more until "));
    EXPECT_EQ(records.back().peer, "127.0.0.1");
}

TEST_F(RequestRecording, StoresAPeersTextEscapedAndBounded) {
    const auto session = object("<USERNAME_TAG>a\nb\x1b[31m</USERNAME_TAG><IPANDPORT_TAG>" +
                                    std::string(5000, 'x') + "</IPANDPORT_TAG>",
                                "session");
    session->ping();
    const auto records = logs_.operations();
    ASSERT_THAT(records, SizeIs(1));
    EXPECT_EQ(records[0].user, "a\\nb\\x1B[31m");
    EXPECT_LE(records[0].nmsAddress.size(), 128u);
}

TEST_F(RequestRecording, WorksWithoutLogs) {
    NS_CORBA::AuditTrail::Instance().Close();
    const auto session = object(kSession, "session");
    EXPECT_NO_THROW(session->ping());
    EXPECT_THAT(logs_.operations(), IsEmpty());
}

TEST(OperationRecord, DoesNotExistOutsideARequest) {
    NS_CORBA::TaWriteOperLog(nullptr, 0);
    EXPECT_FALSE(NS_CORBA::AuditTrail::Instance().IsOpen());
}

}  // namespace
