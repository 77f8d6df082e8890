// The agent's start: its order, and its clean-up when a step fails.

#include <kelp/bundlemgr/light_event.h>
#include <kelp/corbabase/trace.h>

#include <fstream>
#include <future>
#include <stdexcept>

#include "agent_fixture.h"
#include "corbaenv/agent_server_facade.h"
#include "faulty_platform.h"
#include "support/wait_until.h"

namespace kelp::test {
namespace {

using testing::ElementsAre;

constexpr const char* kStarting = "===[CorbaAgentFacade::Init] Corba Agent is starting...===";
constexpr const char* kRunning = "===[CorbaAgentFacade::Init] Corba Agent is running! ===";
constexpr const char* kBeginExit = "===Begin to Exit Threads of Corba...===";
constexpr const char* kEndExit = "=== Finish to Exit Threads of Corba! ===";
constexpr const char* kBeginFini =
    "===[CorbaAgentFacade::Fini] Begin to destroy Corba Agent... ===";
constexpr const char* kEndFini = "===[CorbaAgentFacade::Fini] Finish to destroy Corba Agent! ===";

class AgentStart : public AgentFixture {};

TEST_F(AgentStart, AndStopRunInTheirOrder) {
    configureAgent();
    enterInterface("Second", 20);
    enterInterface("First", -3);
    ASSERT_TRUE(start());
    stop();
    EXPECT_THAT(log_.calls(), ElementsAre("Init First", "Init Second", "ExitThread Second",
                                          "ExitThread First", "Destroy Second", "Destroy First"));
    EXPECT_THAT(
        agentLines(),
        ElementsAre(kStarting, "[CorbaAgentFacade::Init] Initializing Corba Interface: First!",
                    "[CorbaAgentFacade::Init] Initializing Corba Interface: Second!", kRunning,
                    kBeginExit, kEndExit, kBeginFini,
                    "[CorbaAgentFacade::Fini] Destroy Corba Interface: Second!",
                    "[CorbaAgentFacade::Fini] Destroy Corba Interface: First!", kEndFini));
    expectNothingRuns();
}

TEST_F(AgentStart, WithoutManagerInterfacesRuns) {
    configureAgent();
    EXPECT_TRUE(start());
    EXPECT_TRUE(NS_KELPCORBA::AgentState::instance().sessionMgrStarted);
    EXPECT_NE(NS_CORBA::SuppilerMgr::Instance()->GetCallBack(), nullptr);
    EXPECT_NE(NS_KELPCORBA::AgentState::instance().monitorGroup, -1);
    EXPECT_EQ(NS_KELPCORBA::AgentState::instance().threads.count_threads(), 1u);
}

TEST_F(AgentStart, RereadsTheOptionsWheneverTheHostDoes) {
    using NS_BUNDLEMGR1::LightEventMgr;
    configureAgent("", freePort(), "[agent]\nCachesize = 5\n");
    ASSERT_TRUE(start());
    auto* options = NS_KELPCORBA::CorbaAgentConfig::Instance();
    EXPECT_EQ(options->GetCachesize(), 5);
    configureAgent("", freePort(), "[agent]\nCachesize = 6\n");
    LightEventMgr::Instance()->Raise(NS_BUNDLEMGR1::kUserStateChangeEvent);
    EXPECT_EQ(options->GetCachesize(), 5);
    LightEventMgr::Instance()->Raise(NS_BUNDLEMGR1::kConfigurationReadEvent);
    EXPECT_TRUE(waitUntil([&] { return options->GetCachesize() == 6; }));
    stop();
    // no thread remains that would create the options again
    LightEventMgr::Instance()->Raise(NS_BUNDLEMGR1::kConfigurationReadEvent);
    LightEventMgr::Instance()->Stop();
    EXPECT_EQ(trace_.count("[CorbaAgentConfig::GetOption] Get bUseBTName_Option failed!"), 2u);
}

TEST_F(AgentStart, TracesEachOfItsOperations) {
    configureAgent();
    ASSERT_TRUE(start());
    stop();
    for (const char* operation :
         {"CorbaAgentFacade::Init", "CorbaAgentFacade::ExitThrds", "CorbaAgentFacade::Fini"}) {
        std::size_t guards = 0;
        for (const kelp::util::TraceLine& line : trace_.records())
            guards += line.level == 3 && line.text.find(operation) != std::string::npos ? 1 : 0;
        EXPECT_GE(guards, 2u) << operation;
    }
}

TEST_F(AgentStart, StopsAtTheInterfaceThatFailsAndUndoesTheRest) {
    configureAgent();
    enterInterface("Fourth", 4);
    enterInterface("Third", 3).onInit = [] { return false; };
    enterInterface("Second", 2);
    enterInterface("First", 1);
    EXPECT_FALSE(start());
    EXPECT_THAT(log_.calls(),
                ElementsAre("Init First", "Init Second", "Init Third", "ExitThread Fourth",
                            "ExitThread Third", "ExitThread Second", "ExitThread First",
                            "Destroy Fourth", "Destroy Third", "Destroy Second", "Destroy First"));
    EXPECT_EQ(trace_.count("[CorbaAgentFacade::Init] Initialize Corba Interface: Third failed!"),
              1u);
    EXPECT_EQ(trace_.count(kBeginExit), 1u);
    EXPECT_EQ(trace_.count(kBeginFini), 1u);
    EXPECT_FALSE(trace_.contains(kRunning));
    expectNothingRuns();
}

TEST_F(AgentStart, LeavesTheListOfInterfacesUnlockedAfterAFailure) {
    configureAgent();
    enterInterface("First", 1).onInit = [] { return false; };
    EXPECT_FALSE(start());
    auto entered = std::async(std::launch::async, [this] { enterInterface("Later", 2); });
    EXPECT_EQ(entered.wait_for(std::chrono::seconds(10)), std::future_status::ready);
}

TEST_F(AgentStart, FailsWithAnInterfaceThatThrows) {
    configureAgent();
    enterInterface("First", 1).onInit = []() -> bool { throw std::runtime_error("out of order"); };
    enterInterface("Second", 2).onExitThread = [] { throw CORBA::INTERNAL(); };
    EXPECT_FALSE(start());
    EXPECT_TRUE(trace_.contains("out of order"));
    EXPECT_EQ(trace_.count("[CorbaAgentFacade::Init] Initialize Corba Interface: First failed!"),
              1u);
    EXPECT_THAT(log_.calls(), ElementsAre("Init First", "ExitThread Second", "ExitThread First",
                                          "Destroy Second", "Destroy First"));
    expectNothingRuns();
}

TEST_F(AgentStart, StartsInterfacesOfOneRankAsEnteredAndStopsThemInReverse) {
    configureAgent();
    enterInterface("A", 5);
    enterInterface("B", 5);
    enterInterface("C", 1);
    ASSERT_TRUE(start());
    stop();
    EXPECT_THAT(log_.calls(),
                ElementsAre("Init C", "Init A", "Init B", "ExitThread B", "ExitThread A",
                            "ExitThread C", "Destroy B", "Destroy A", "Destroy C"));
}

TEST_F(AgentStart, FailsWithAnAgentServerThatCannotListen) {
    Socket taken = boundSocket();
    ASSERT_EQ(::listen(taken.fd(), 1), 0);
    configure("[orb]\nlisten = \"127.0.0.1:" + std::to_string(portOf(taken)) + "\"\n");
    enterInterface("First", 1);
    EXPECT_FALSE(start());
    EXPECT_EQ(trace_.count("[AgentServerFacade::Init] Initialize CorbaBaseAgentConfig Failed!"),
              1u);
    EXPECT_EQ(trace_.count("[AgentServerFacade::Init] Initialize agent server failed!"), 1u);
    EXPECT_THAT(log_.calls(), ElementsAre("ExitThread First", "Destroy First"));
    expectNothingRuns();
}

TEST_F(AgentStart, FailsWithoutManagers) {
    configureAgent();
    base().LeaveNorthMgrFactory("EMS");
    base().EnterNorthMgrFactory("EMS", nullptr);
    EXPECT_FALSE(start());
    EXPECT_EQ(trace_.count("[CorbaAgentFacade::Init] Initialize session manager failed!"), 1u);
    expectNothingRuns();
}

TEST_F(AgentStart, FailsWithoutAUserDatabase) {
    configureAgent();
    std::ofstream(folder_.path() / "users.db") << "this is no database, whatever else it may be";
    enterInterface("First", 1);
    EXPECT_FALSE(start());
    EXPECT_EQ(trace_.count("[CorbaAgentFacade::Init] Initialize corba security manager failed!"),
              1u);
    EXPECT_THAT(log_.calls(), ElementsAre("ExitThread First", "Destroy First"));
    expectNothingRuns();
}

TEST_F(AgentStart, FailsWhenTheAgentServerCannotBeActivated) {
    configureAgent();
    PlatformFaults::activateFails = true;
    EXPECT_FALSE(start());
    EXPECT_EQ(trace_.count("[CorbaAgentFacade::Init] Activate agent server failed!"), 1u);
    expectNothingRuns();
}

TEST_F(AgentStart, OfTheAgentServerReportsAnExceptionWhereverItWasRaised) {
    configureAgent();
    // the first call creates the session factory's object
    PlatformFaults::getRootPoaAfter = 1;
    EXPECT_FALSE(start());
    EXPECT_EQ(trace_.count("[AgentServerFacade::Init] Raised during hold_requests!"), 1u);
    EXPECT_EQ(trace_.count("[AgentServerFacade::Init] Initialize agent server failed!"), 1u);
    EXPECT_FALSE(trace_.contains("[AgentServerFacade::Init] begin POAManager state"));
    expectNothingRuns();
}

TEST_F(AgentStart, FailsWithoutTheSessionFactorysObject) {
    configureAgent();
    PlatformFaults::getRootPoaAfter = 0;
    EXPECT_FALSE(start());
    EXPECT_EQ(
        trace_.count(
            "[CorbaAgentConfig::InitEmsSessionFactoryIImplObj] Create EMSSessionFactory catch "
            "exception: INTERNAL"),
        1u);
    EXPECT_EQ(trace_.count("[AgentServerFacade::Init] Call InitEmsSessionFactoryIImplObj Failed!"),
              1u);
    expectNothingRuns();
}

}  // namespace
}  // namespace kelp::test
