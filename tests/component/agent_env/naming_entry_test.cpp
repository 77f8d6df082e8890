// How a round of the naming monitor treats the entries that it finds in the naming service.

#include <gmock/gmock.h>
#include <kelp/corbabase/naming_findings.h>

#include "component/corbabase/open_logs.h"
#include "naming_fixture.h"
#include "support/tcp_peers.h"
#include "util/agent_state.h"

namespace kelp::test {
namespace {

class NamingEntry : public MonitorFixture {};

TEST_F(NamingEntry, IsCreatedWhenMissingAndFoundByTheNextRound) {
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

TEST_F(NamingEntry, IsBoundSinceTheFirstRoundThatBoundIt) {
    round();
    const auto since = NS_CORBA::NamingFindings::Instance().State().boundSince;
    ASSERT_TRUE(since);
    round();
    EXPECT_EQ(NS_CORBA::NamingFindings::Instance().State().boundSince, since);
    NS_CORBA::NamingFindings::Instance().Failed("no answer");
    EXPECT_FALSE(NS_CORBA::NamingFindings::Instance().State().boundSince);
    round();
    const NS_CORBA::NamingEntryState state = NS_CORBA::NamingFindings::Instance().State();
    ASSERT_TRUE(state.boundSince);
    EXPECT_GE(*state.boundSince, *since);
    EXPECT_EQ(state.failure, "");
    EXPECT_EQ(state.lastFailure, "no answer");
    EXPECT_TRUE(state.lastFailureAt);
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

TEST_F(NamingEntry, OfAnEarlierRunOfThisAgentIsKept) {
    ASSERT_TRUE(base().RegistEMSFactoryName(own_.in()));
    round();
    EXPECT_TRUE(monitor_->IsRegistered());
    EXPECT_FALSE(trace_.contains("[Monitor Thread]"));
}

TEST_F(NamingEntry, OfADeadProcessIsReplacedWithinOneRound) {
    registerOwn();
    NS_KELPCORBA::NamingMonitor later(own_.in());
    const CORBA::Object_var dead = referenceTo(
        "corbaloc:iiop:1.2@127.0.0.1:" + std::to_string(freePort()) + "/EMSSessionFactory");
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

TEST_F(NamingEntry, OfAnotherLiveFactoryIsReplacedWithinOneRoundWithoutACallToIt) {
    registerOwn();
    const LiveObject other = activateOtherFactory();
    entry_.rebind(other.reference.in());
    const int callsBefore = everybody_.requests;
    round();
    EXPECT_TRUE(entry_.leadsTo(own_.in()));
    EXPECT_FALSE(monitor_->IsRegistered());
    EXPECT_EQ(trace_.count(kInvalid), 1u);
    round();
    EXPECT_TRUE(monitor_->IsRegistered());
    EXPECT_EQ(everybody_.requests, callsBefore);
}

TEST_F(NamingEntry, OfAnotherLiveFactoryIsReplacedByTheFirstRoundToo) {
    registerOwn();
    const LiveObject other = activateOtherFactory();
    entry_.rebind(other.reference.in());
    NS_KELPCORBA::NamingMonitor later(own_.in());
    later.Round();
    EXPECT_TRUE(entry_.leadsTo(own_.in()));
}

TEST_F(NamingEntry, ThatOffersOneMoreAddressForTheOwnKeyIsReplaced) {
    registerOwn();
    const CORBA::Object_var extended =
        referenceTo(withAlternateAddress(own_.in(), "10.9.9.9", 666));
    EXPECT_TRUE(extended->_is_equivalent(own_.in())) << "to the ORB it is the same object";
    entry_.rebind(extended.in());
    round();
    EXPECT_TRUE(entry_.leadsTo(own_.in()));
    const NS_CORBA::NamingEntryState state = NS_CORBA::NamingFindings::Instance().State();
    EXPECT_THAT(state.foreign, testing::HasSubstr("10.9.9.9:666"));
}

TEST_F(NamingEntry, OfAHungProcessIsReplacedAtOnce) {
    registerOwn();
    const DeafListener hung;
    const CORBA::Object_var reference = referenceTo(hung.corbaloc());
    entry_.rebind(reference.in());
    round();
    EXPECT_TRUE(entry_.leadsTo(own_.in()));
}

TEST_F(NamingEntry, ThatTwoFactoriesClaimIsBoundOnceARoundAndRecordedOnce) {
    const TemporaryDirectory folder;
    configure(withNamingPort(names_.port()) + OpenLogs::toml(folder));
    const OpenLogs logs(folder);
    registerOwn();
    const LiveObject other = activateOtherFactory();
    const std::uint64_t before = NS_CORBA::NamingFindings::Instance().State().replaced;
    for (int i = 0; i < 10; ++i) {
        entry_.rebind(other.reference.in());
        round();
        EXPECT_TRUE(entry_.leadsTo(own_.in()));
    }
    EXPECT_EQ(NS_CORBA::NamingFindings::Instance().State().replaced, before + 10);
    const std::vector<oplog::LogEntry> records = logs.security();
    ASSERT_EQ(records.size(), 1u);
    EXPECT_EQ(records[0].operation, "naming");
    EXPECT_EQ(records[0].outcome, "foreign entry");
    EXPECT_THAT(records[0].detail, testing::HasSubstr("the entry led to 127.1:"));
}

TEST_F(NamingEntry, IsShownToTheOperator) {
    const NS_CORBA::NamingFindings& watch = NS_CORBA::NamingFindings::Instance();
    registerOwn();
    EXPECT_TRUE(watch.State().isOurs);
    EXPECT_TRUE(watch.State().checked);
    const CORBA::ORB_var itsOrb = base().GetOrb();
    const CORBA::String_var own = itsOrb->object_to_string(own_.in());
    EXPECT_EQ(watch.State().reference, own.in());
    names_.kill();
    round();
    EXPECT_FALSE(watch.State().isOurs);
    EXPECT_NE(watch.State().failure, "");
    names_.restartEmpty();
    round(2);
    EXPECT_TRUE(watch.State().isOurs);
    EXPECT_EQ(watch.State().failure, "");
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
