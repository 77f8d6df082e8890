// What a round makes of the entries that it finds in the naming service.

#include "corbaenv/agent_state.h"

#include "naming_fixture.h"

#include "support/tcp_peers.h"

namespace kelp::test {
namespace {

class NamingEntry : public MonitorFixture {};

TEST_F(NamingEntry, ThatIsMissingIsMadeAndFoundByTheNextRound) {
    round();
    EXPECT_TRUE(entry_.leadsTo(own_.in()));
    EXPECT_FALSE(monitor_->IsRegistered());
    EXPECT_EQ(trace_.count(std::string(kNotDetected) + "NotFound"), 1u);
    EXPECT_EQ(trace_.count("[Monitor Thread] NamingService string is: " + names_.corbaloc()), 1u);
    trace_.clear();
    round();
    EXPECT_TRUE(monitor_->IsRegistered());
    EXPECT_FALSE(trace_.contains("[Monitor Thread]"));
}

TEST_F(NamingEntry, TracesComeFromTheAgent) {
    round();
    for (const kelp::util::TraceLine& line : trace_.records()) {
        if (line.text.find("[Monitor Thread]") != std::string::npos) {
            EXPECT_EQ(line.file, "corbaagent");
            EXPECT_EQ(line.kind, kelp::util::TraceKind::Trace);
        }
    }
}

TEST_F(NamingEntry, OfThisAgentFromBeforeIsTakenAsItIs) {
    ASSERT_TRUE(base().RegistEMSFactoryName(own_.in()));
    round();
    EXPECT_TRUE(monitor_->IsRegistered());
    EXPECT_FALSE(trace_.contains("[Monitor Thread]"));
}

TEST_F(NamingEntry, OfADeadProcessIsReplacedWithinOneRound) {
    registerOwn();
    NS_KELPCORBA::NamingMonitor later(own_.in());
    const CORBA::Object_var dead =
        referenceTo("corbaloc:iiop:1.2@127.0.0.1:" + std::to_string(freePort()) + "/EMSSessionFactory");
    entry_.rebind(dead.in());
    later.Round();
    EXPECT_TRUE(entry_.leadsTo(own_.in()));
    EXPECT_FALSE(later.IsRegistered());
    EXPECT_EQ(trace_.count(kInvalid), 1u);
    EXPECT_EQ(trace_.count("[Monitor Thread] NamingService string is: " + names_.corbaloc()), 1u);
    later.Round();
    EXPECT_TRUE(later.IsRegistered());
}

TEST_F(NamingEntry, OfALiveProcessWithoutThatObjectIsReplacedWithinOneRound) {
    registerOwn();
    const LiveObject gone = activateOtherFactory();
    deactivate(gone);
    entry_.rebind(gone.reference.in());
    NS_KELPCORBA::NamingMonitor later(own_.in());
    later.Round();
    EXPECT_TRUE(entry_.leadsTo(own_.in()));
    EXPECT_EQ(trace_.count(kInvalid), 1u);
}

TEST_F(NamingEntry, ThatIsNoFactoryIsReplacedWithinOneRound) {
    registerOwn();
    const PortableServer::ServantBase_var session(new ScriptedSession);
    entry_.rebind(activate(session.in()).reference.in());
    NS_KELPCORBA::NamingMonitor later(own_.in());
    later.Round();
    EXPECT_TRUE(entry_.leadsTo(own_.in()));
    EXPECT_EQ(trace_.count(kInvalid), 1u);
}

TEST_F(NamingEntry, OfAnotherLiveFactoryIsLeftAloneAndTracedOnce) {
    registerOwn();
    const LiveObject other = activateOtherFactory();
    entry_.rebind(other.reference.in());
    round(4);
    EXPECT_TRUE(entry_.leadsTo(other.reference.in()));
    EXPECT_FALSE(monitor_->IsRegistered());
    EXPECT_EQ(trace_.count(kLeftAlone), 1u);
    EXPECT_FALSE(trace_.contains(kInvalid));
}

TEST_F(NamingEntry, OfAnotherFactoryIsReplacedWithinOneRoundAfterItsDeath) {
    registerOwn();
    const LiveObject other = activateOtherFactory();
    entry_.rebind(other.reference.in());
    round(2);
    deactivate(other);
    round();
    EXPECT_TRUE(entry_.leadsTo(own_.in()));
    round();
    EXPECT_TRUE(monitor_->IsRegistered());
}

TEST_F(NamingEntry, OfAHungProcessIsReplacedByTheThirdRoundThatGetsNoAnswer) {
    registerOwn();
    const DeafListener hung;
    const CORBA::Object_var reference = referenceTo(hung.corbaloc());
    entry_.rebind(reference.in());
    round();  // sees that the entry is no longer its own
    round(2);
    EXPECT_TRUE(entry_.leadsTo(reference.in()));
    round();
    EXPECT_TRUE(entry_.leadsTo(own_.in()));
    EXPECT_EQ(trace_.count(kInvalid), 1u);
}

TEST_F(NamingEntry, OfOneHungProcessAfterAnotherIsCountedAnew) {
    registerOwn();
    const DeafListener first;
    const DeafListener second;
    const CORBA::Object_var firstReference = referenceTo(first.corbaloc());
    const CORBA::Object_var secondReference = referenceTo(second.corbaloc());
    entry_.rebind(firstReference.in());
    round(3);
    entry_.rebind(secondReference.in());
    round(2);
    EXPECT_TRUE(entry_.leadsTo(secondReference.in()));
    round();
    EXPECT_TRUE(entry_.leadsTo(own_.in()));
}

TEST_F(NamingEntry, ThatWasRemovedIsMadeAgainWithinOneRound) {
    registerOwn();
    entry_.unbind();
    round();
    EXPECT_TRUE(entry_.leadsTo(own_.in()));
    EXPECT_FALSE(monitor_->IsRegistered());
    EXPECT_EQ(trace_.count(kNotDetected), 1u);
    round();
    EXPECT_TRUE(monitor_->IsRegistered());
}

TEST_F(NamingEntry, ThatWasOverwrittenByADeadOneIsReplacedWithinTwoRounds) {
    registerOwn();
    const CORBA::Object_var dead =
        referenceTo("corbaloc:iiop:1.2@127.0.0.1:" + std::to_string(freePort()) + "/EMSSessionFactory");
    entry_.rebind(dead.in());
    round(2);
    EXPECT_TRUE(entry_.leadsTo(own_.in()));
    EXPECT_EQ(trace_.count(kInvalid), 1u);
}

TEST_F(NamingEntry, ThatIsTheAgentsOwnIsResolvedOnlyWhileRegistered) {
    registerOwn();
    const int callsBefore = everybody_.requests;
    round(3);
    EXPECT_TRUE(monitor_->IsRegistered());
    EXPECT_EQ(everybody_.requests, callsBefore);
    EXPECT_FALSE(trace_.contains("[Monitor Thread]"));
}

TEST_F(NamingEntry, IsNotBoundAgainByARoundThatOutlastedTheStop) {
    NS_KELPCORBA::AgentState::instance().exitRequested = true;
    round();
    EXPECT_FALSE(entry_.isBound());
}

}  // namespace
}  // namespace kelp::test
