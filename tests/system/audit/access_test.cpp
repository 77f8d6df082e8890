// Calls from addresses that are not allowed.

#include <gmock/gmock.h>
#include <kelp/orb/exception_text.h>

#include <list>
#include <thread>

#include "component/orb/raw_giop.h"
#include "system/audit/audit_fixture.h"
#include "system/audit/nms_group.h"

namespace kelp::test {
namespace {

using emsSession::EmsSession_I;
using oplog::LogEntry;
using ::testing::AssertionResult;
using ::testing::SizeIs;
using ::testing::StartsWith;
using ::testing::UnorderedElementsAreArray;

constexpr const char* kStranger = "127.0.0.2";
constexpr const char* kRefused = "refused-address";

template <class Call>
AssertionResult isRefused(Call call) {
    try {
        call();
    } catch (const CORBA::NO_PERMISSION&) {
        return ::testing::AssertionSuccess();
    } catch (const CORBA::Exception& other) {
        return ::testing::AssertionFailure() << orb::exceptionText(other);
    }
    return ::testing::AssertionFailure() << "it was answered";
}

class Access : public AuditTest {
  protected:
    void SetUp() override {
        AuditTest::SetUp();
        allow("['127.0.0.1']");
        // with this transport everybody may connect, and each call is refused
        host_.set("orb", "transport", "'orb'");
        host_.set("access", "requests_per_second_before_login", 0);
        startHost();
        nms_.logIn(0, kUser);
    }
    Host& allow(const std::string& networks) {
        return host_.set("access", "allowed_oss", networks);
    }

    std::vector<LogEntry> operationsOf(const std::string& address) const {
        oplog::LogQuery query;
        query.address = address;
        return operations(query);
    }
    std::vector<std::string> refusedOperations() const {
        std::vector<std::string> found;
        for (const LogEntry& each : security(kRefused)) {
            EXPECT_THAT(each.peer, StartsWith(std::string(kStranger) + ":"));
            EXPECT_EQ(each.outcome, "NO_PERMISSION");
            found.push_back(each.object);
        }
        return found;
    }

    NmsGroup nms_{host_, 2};
    const TcpRelay relay_{host_.port(), kStranger};
};

TEST_F(Access, EveryOperationIsRefusedAndAppearsInTheSecurityLogOnly) {
    const auto factory = nms_.factoryOver(relay_);
    // references handed on by a caller that is allowed
    const auto session = nms_.over<EmsSession_I>(relay_, nms_[0].session());
    const auto manager = nms_.over<emsMgr::EMSMgr_I>(relay_, nms_.manager(0).in());
    const CORBA::Object_var own = orb::toReference(nms_.orb(), nms_[1].ownReference());
    const auto client = nmsSession::NmsSession_I::_unchecked_narrow(own.in());
    const nmsSession::NmsSession_I_var owner(client);

    EXPECT_TRUE(isRefused([&] { const CORBA::String_var version = factory->getVersion(); }));
    EXPECT_TRUE(isRefused([&] {
        emsSession::EmsSession_I_var made;
        factory->getEmsSession(kUser, Host::kPassword, client, made.out());
    }));
    EXPECT_TRUE(isRefused([&] { session->ping(); }));
    EXPECT_TRUE(isRefused([&] {
        common::Common_I_var found;
        session->getManager("EMS", found.out());
    }));
    EXPECT_TRUE(isRefused([&] {
        CosNotifyChannelAdmin::EventChannel_var channel;
        session->getEventChannel(channel.out());
    }));
    EXPECT_TRUE(
        isRefused([&] { const session::Session_I_var other = session->associatedSession(); }));
    EXPECT_TRUE(isRefused([&] { session->_is_a("IDL:another/Interface:1.0"); }));
    EXPECT_TRUE(isRefused([&] { session->_non_existent(); }));
    EXPECT_TRUE(isRefused([&] {
        emsMgr::EMS_T_var ems;
        manager->getEMS(ems.out());
    }));
    session->endSession();  // oneway

    const std::vector<std::string> all = {"getVersion", "getEmsSession",   "ping",
                                          "getManager", "getEventChannel", "_get_associatedSession",
                                          "_is_a",      "_non_existent",   "getEMS",
                                          "endSession"};
    EXPECT_TRUE(eventually([&] { return security(kRefused).size() >= all.size(); }));
    EXPECT_THAT(refusedOperations(), UnorderedElementsAreArray(all));
    EXPECT_NO_THROW(nms_[0].session()->ping()) << "its session is not ended from there";
    EXPECT_EQ(countOnceThereAre("ping", 1), 1);
    EXPECT_THAT(operationsOf(kStranger), SizeIs(0));
    EXPECT_THAT(security("logout"), SizeIs(0));
    EXPECT_EQ(host_.stop(), 0);
}

TEST_F(Access, RequestsForMissingObjectsAppearInTheSecurityLogOnly) {
    const CORBA::Object_var object =
        orb::toReference(nms_.orb(), "corbaloc:iiop:1.2@" + relay_.hostAndPort() + "/Nothing");
    object->_non_existent();
    EXPECT_TRUE(eventually([&] { return !security(kRefused).empty(); }));
    const std::vector<LogEntry> told = security(kRefused);
    ASSERT_THAT(told, SizeIs(1));
    EXPECT_EQ(told[0].object, "_non_existent");
    EXPECT_EQ(told[0].outcome, "OBJECT_NOT_EXIST")
        << "the ORB knows no object to ask the agent for";
    EXPECT_THAT(operationsOf(kStranger), SizeIs(0));
}

TEST_F(Access, ReReadNetworksLetInAndRefuseAgainWithoutARestart) {
    const auto factory = nms_.factoryOver(relay_);
    const auto call = [&] { const CORBA::String_var version = factory->getVersion(); };
    EXPECT_TRUE(isRefused(call));
    allow("['127.0.0.1', '127.0.0.2/32']");
    reconfigure();
    EXPECT_NO_THROW(call());
    EXPECT_NO_THROW(nms_[0].session()->ping());
    allow("['127.0.0.1']");
    reconfigure();
    EXPECT_TRUE(isRefused(call)) << "over the connection that was let in before";
    EXPECT_NO_THROW(nms_[0].session()->ping());

    EXPECT_TRUE(eventually([&] { return security(kRefused).size() >= 2; }));
    EXPECT_EQ(countOnceThereAre("getVersion", 1), 1);
    EXPECT_THAT(operationsOf(kStranger), SizeIs(1));
    const std::vector<LogEntry> changes = security("configuration");
    ASSERT_GE(changes.size(), 2u);
    EXPECT_EQ(changes.back().object, "access.allowed_oss");
    EXPECT_THAT(changes.back().detail, ::testing::HasSubstr("127.0.0.2/32"));
}

TEST_F(Access, AFloodOfRefusalsIsCountedCompletelyAndDelaysNoStop) {
    constexpr int kCallers = 4;
    constexpr int kCalls = 1250;
    std::list<TcpRelay> relays;
    std::vector<std::thread> callers;
    std::atomic<int> refused{0};
    for (int i = 0; i < kCallers; ++i) {
        const TcpRelay& relay = relays.emplace_back(host_.port(), kStranger);
        callers.emplace_back([&] {
            const auto factory = nms_.factoryOver(relay);
            for (int call = 0; call < kCalls; ++call)
                refused +=
                    isRefused([&] { const CORBA::String_var version = factory->getVersion(); }) ? 1
                                                                                                : 0;
        });
    }
    for (std::thread& each : callers)
        each.join();
    EXPECT_EQ(refused, kCallers * kCalls);
    EXPECT_NO_THROW(nms_[0].session()->ping());
    EXPECT_EQ(host_.stop(), 0);

    int told = 0;
    const std::vector<LogEntry> records = security(kRefused);
    for (const LogEntry& each : records) {
        EXPECT_THAT(each.peer, StartsWith(kStranger));
        const std::size_t more = each.detail.find(" more until ");
        told += more == std::string::npos ? 1 : std::stoi(each.detail.substr(0, more));
    }
    EXPECT_EQ(told, refused);
    EXPECT_LT(records.size(), 100u) << "older records are not pushed out";
    EXPECT_THAT(operationsOf(kStranger), SizeIs(0));
    EXPECT_EQ(kelpctl({"audit", "verify"}).exitCode, 0);
}

/// The same callers with the transport in which the gate rejects their connections.
class GateAccess : public Access {
  protected:
    void SetUp() override {
        AuditTest::SetUp();
        allow("['127.0.0.1']");
        startHost();
        nms_.logIn(0, kUser);
    }
    std::size_t refusals() const {
        std::size_t found = 0;
        for (const LogEntry& each : security(kRefused)) {
            EXPECT_THAT(each.peer, StartsWith(kStranger));
            EXPECT_EQ(each.outcome, "address not allowed");
            const std::size_t more = each.detail.find(" more until ");
            found += more == std::string::npos ? 1 : std::stoul(each.detail.substr(0, more));
        }
        return found;
    }
};

TEST_F(GateAccess, AStrangersConnectionIsClosedBeforeItSaysAnything) {
    const Socket stranger = connectTo(host_.port(), kStranger);
    EXPECT_TRUE(isClosedByPeer(stranger));
    EXPECT_TRUE(eventually([&] { return refusals() == 1; }));
    EXPECT_NO_THROW(nms_[0].session()->ping());
    EXPECT_EQ(host_.stop(), 0);
}

TEST_F(GateAccess, ReReadNetworksLetInAndRefuseAgainWithoutARestart) {
    allow("['127.0.0.1', '127.0.0.2/32']");
    reconfigure();
    const auto factory = nms_.factoryOver(relay_);
    EXPECT_NO_THROW(const CORBA::String_var version = factory->getVersion());
    allow("['127.0.0.1']");
    reconfigure();
    EXPECT_TRUE(isRefused([&] { const CORBA::String_var version = factory->getVersion(); }))
        << "over the connection that was let in before";
    EXPECT_TRUE(isClosedByPeer(connectTo(host_.port(), kStranger)));
}

TEST_F(GateAccess, AFloodOfConnectionsIsCountedCompletely) {
    constexpr std::size_t kConnections = 3000;
    for (std::size_t i = 0; i < kConnections; ++i)
        EXPECT_TRUE(isClosedByPeer(connectTo(host_.port(), kStranger)));
    EXPECT_NO_THROW(nms_[0].session()->ping());
    EXPECT_EQ(host_.stop(), 0);
    EXPECT_EQ(refusals(), kConnections);
    EXPECT_LT(security(kRefused).size(), 100u) << "older records are not pushed out";
}

}  // namespace
}  // namespace kelp::test
