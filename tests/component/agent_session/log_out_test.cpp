// Each log-in has exactly one log-out, in whichever ways and order a session ends.

#include <gtest/gtest.h>

#include <functional>
#include <string>
#include <thread>

#include "adapter/session_source.h"
#include "support/agent_fixture.h"

namespace {

using namespace kelp::test;
using namespace NS_KELPCORBA;

/// A way in which a session ends.
struct End {
    std::string name;
    std::function<void(EmsSession_IImpl&)> apply;
};

void endByUserState(EmsSession_IImpl& session) {
    const std::string host = session.source()->get_ip_and_port();
    const std::size_t colon = host.find(':');
    const NS_BUNDLEMGR1::LightEventData data{
        {{"IP", host.substr(0, colon)}, {"PORT", host.substr(colon + 1)}, {"USN", "admin"}}};
    BaseSSHandler().DoWork(119, &data);
}

/// Let a ping round check a session in that state.
void endByCheck(EmsSession_IImpl& session, SessionState state) {
    session.source()->set_state(state);
    EXPECT_EQ(session.source()->check_valid(true, "", "", false), -1);
    RunningAgent::sessions().EraseSessions({&session});
}

const std::vector<End>& ends() {
    static const std::vector<End> all = {
        {"the NMS ends it", [](EmsSession_IImpl& session) { session.endSession(); }},
        {"silence ends it",
         [](EmsSession_IImpl& session) {
             session.source()->set_state(Ended);
             TASessionSource::check_valid(session.source());
         }},
        {"a round ends it", [](EmsSession_IImpl& session) { endByCheck(session, Ended); }},
        {"failed pings end it", [](EmsSession_IImpl& session) { endByCheck(session, Invalid); }},
        {"the stop ends it", [](EmsSession_IImpl& session) { endByCheck(session, EmsExiting); }},
        {"its tree dies",
         [](EmsSession_IImpl& session) {
             const PortableServer::POA_var top = session.source()->get_POA();
             try {
                 top->destroy(true, false);
             } catch (const CORBA::SystemException&) {
                 // it was already destroyed
             }
             session.endSession();
         }},
        {"its user becomes invalid", endByUserState},
    };
    return all;
}

TEST(LogOut, HappensOnceForEveryPairOfEnds) {
    RunningAgent agent;
    for (const End& first : ends()) {
        for (const End& second : ends()) {
            SCOPED_TRACE(first.name + ", then " + second.name);
            agent.logIn(agent.nms());
            const auto session = agent.listed(agent.nms());
            first.apply(*session);
            EXPECT_EQ(agent.liveLogins(agent.nms()), 0u);
            // another log-in under the same name: a second log-out would end it
            NS_CORBA::CorbaSecurityMgr::Instance()->Login(agent.nms().hostInfo(), "admin",
                                                          "secret");
            second.apply(*session);
            EXPECT_EQ(agent.liveLogins(agent.nms()), 1u);
            NS_CORBA::CorbaSecurityMgr::Instance()->Logout(agent.nms().hostInfo(), "admin");
        }
    }
}

TEST(LogOut, HappensOnceWhenTwoEndsCoincide) {
    RunningAgent agent;
    unsigned nms = 0;
    for (int repeat = 0; repeat < 3; ++repeat) {
        for (const End& first : ends()) {
            for (const End& second : ends()) {
                SCOPED_TRACE(first.name + " while " + second.name);
                const TestNms& mine = agent.nms(1 + nms++ % 30);
                agent.logIn(mine);
                NS_CORBA::CorbaSecurityMgr::Instance()->Login(mine.hostInfo(), "admin", "secret");
                const auto session = agent.listed(mine);
                std::thread other([&] { first.apply(*session); });
                second.apply(*session);
                other.join();
                EXPECT_EQ(agent.liveLogins(mine), 1u);
                NS_CORBA::CorbaSecurityMgr::Instance()->Logout(mine.hostInfo(), "admin");
            }
        }
    }
}

TEST(LogOut, WorksAfterTheSecurityManagersThreadsHaveEnded) {
    RunningAgent agent;
    agent.logIn(agent.nms());
    NS_CORBA::CorbaSecurityMgr::Instance()->ExitThread();
    agent.requestExit();
    agent.endSessions();
    EXPECT_EQ(agent.liveLogins(agent.nms()), 0u);
}

}  // namespace
