// The manager servants that all sessions share.

#include <gtest/gtest.h>

#include <thread>

#include "support/agent_fixture.h"
#include "support/latch.h"
#include "support/trace_capture.h"

namespace {

using namespace kelp::test;
using namespace NS_KELPCORBA;

class Servants : public testing::Test {
  protected:
    /// Return a servant with a single reference, owned by the test.
    ServantRef<TestManager> make() {
        return ServantRef<TestManager>::take(new TestManager(alive_));
    }
    static void enter(const char* name, TestManager* servant) {
        CorbaAgentConfig::Instance()->RegisterServant(name, servant);
    }

    std::atomic<int> alive_{0};
};

TEST_F(Servants, AreFoundUnderTheirExactName) {
    RunningAgent agent;
    EXPECT_EQ(agent.sessions().find_servant("EMS"), &agent.manager());
    EXPECT_EQ(agent.sessions().find_servant("ems"), nullptr);
    EXPECT_EQ(agent.sessions().find_servant("EMS2"), nullptr);
    EXPECT_EQ(agent.sessions().find_servant(""), nullptr);
    EXPECT_EQ(agent.sessions().find_servant(nullptr), nullptr);
    EXPECT_EQ(agent.sessions().pin_servant(""), nullptr);
    EXPECT_EQ(agent.manager()._refcount_value(), 1u) << "a look-up lends";
}

TEST_F(Servants, OfAFactoryAreTakenOverWithTheirFirstReference) {
    RunningAgent agent;
    EXPECT_EQ(agent.manager()._refcount_value(), 1u);
    agent.stop();
    EXPECT_EQ(agent.managers().alive, 0);
}

TEST_F(Servants, AreReferencedOnceWhenEntered) {
    const auto servant = make();
    {
        RunningAgent agent;
        enter("Other", servant.get());
        EXPECT_EQ(servant->_refcount_value(), 2u);
        EXPECT_EQ(agent.sessions().find_servant("Other"), servant.get());
    }
    EXPECT_EQ(servant->_refcount_value(), 1u) << "the agent's stop releases them";
}

TEST_F(Servants, EnteredAgainUnderANameReplaceTheFirst) {
    RunningAgent agent;
    const auto first = make();
    const auto second = make();
    enter("Other", first.get());
    enter("Other", second.get());
    EXPECT_EQ(agent.sessions().find_servant("Other"), second.get());
    EXPECT_EQ(first->_refcount_value(), 1u);
    EXPECT_EQ(second->_refcount_value(), 2u);
    enter("Other", second.get());
    EXPECT_EQ(second->_refcount_value(), 2u) << "the same once more";
}

TEST_F(Servants, EnteredBeforeTheStartAreKeptInsteadOfTheFactorys) {
    RunningAgent agent(AgentOptions{.startsSessionMgr = false});
    const auto early = make();
    enter("EMS", early.get());
    ASSERT_EQ(agent.startSessionMgr(), 0);
    EXPECT_EQ(agent.sessions().find_servant("EMS"), early.get());
    EXPECT_EQ(agent.managers().made, 1);
    EXPECT_EQ(agent.managers().alive, 0);
    EXPECT_EQ(early->_refcount_value(), 2u);
}

TEST_F(Servants, ThatAreNullOrNamelessAreIgnored) {
    RunningAgent agent;
    const auto servant = make();
    const TraceCapture trace;
    enter(nullptr, servant.get());
    enter("EMS", nullptr);
    EXPECT_EQ(trace.count("[CorbaAgentConfig::RegisterServant] Name or servant is null!"), 2u);
    EXPECT_EQ(servant->_refcount_value(), 1u);
    EXPECT_EQ(agent.sessions().find_servant("EMS"), &agent.manager());
}

TEST_F(Servants, AreServedFromTheNextRequestOnWhenTheyAreReplaced) {
    RunningAgent agent;
    const emsSession::EmsSession_I_var session = agent.logIn(agent.nms());
    const common::Common_I_var manager = agent.remoteManager(session.in());
    const auto successor = make();
    enter("EMS", successor.get());
    common::CapabilityList_T_var capabilities;
    manager->getCapabilities(capabilities.out());
    EXPECT_EQ(successor->calls, 1);
    EXPECT_EQ(agent.managers().alive, 0);
}

TEST_F(Servants, LiveToTheEndOfACallThatIsInProgressWhenTheyAreReplaced) {
    Latch gate;
    RunningAgent agent;
    agent.manager().onCall = [&] { gate.pass(); };
    const emsSession::EmsSession_I_var session = agent.logIn(agent.nms());
    const common::Common_I_var manager = agent.remoteManager(session.in());
    std::thread call([&] {
        common::CapabilityList_T_var capabilities;
        manager->getCapabilities(capabilities.out());
    });
    EXPECT_TRUE(gate.isReached());
    const auto successor = make();
    enter("EMS", successor.get());
    EXPECT_EQ(agent.managers().alive, 1) << "its call is still in progress";
    gate.open();
    call.join();
    EXPECT_TRUE(waitUntil([&] { return agent.managers().alive == 0; }));
}

TEST_F(Servants, AreReplacedWhileTheyAreCalled) {
    RunningAgent agent;
    const emsSession::EmsSession_I_var session = agent.logIn(agent.nms());
    std::atomic<bool> stop{false};
    std::vector<std::thread> callers;
    for (int i = 0; i < 3; ++i) {
        callers.emplace_back([&] {
            kelp::orb::setThreadTimeout(std::chrono::seconds(30));
            const common::Common_I_var manager = agent.remoteManager(session.in());
            while (!stop) {
                common::CapabilityList_T_var capabilities;
                manager->getCapabilities(capabilities.out());
            }
        });
    }
    for (int i = 0; i < 300; ++i) {
        const auto servant = make();
        enter("EMS", servant.get());
    }
    stop = true;
    for (std::thread& each : callers)
        each.join();
    EXPECT_TRUE(waitUntil([&] { return alive_ == 1; })) << alive_ << " servants are left";
}

}  // namespace
