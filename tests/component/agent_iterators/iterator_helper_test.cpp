// How a manager opens and closes iterators.

#include <kelp/agent/iterator_helper.h>
#include <kelp/orb/poas.h>

#include <thread>

#include "iterator_fixture.h"
#include "support/latch.h"

namespace kelp::test {
namespace {

using NS_KELPCORBA::TAIteratorHelper;

class IteratorHelper : public IteratorFixture {};

TEST_F(IteratorHelper, GivesTheIteratorPoaOfTheSessionWhoseRequestRuns) {
    std::string name, parent;
    agent_.manager().onCall = [&] {
        const PortableServer::POA_var poa = TAIteratorHelper::getIteratorPoa();
        ASSERT_FALSE(CORBA::is_nil(poa.in()));
        name = CORBA::String_var(poa->the_name()).in();
        const PortableServer::POA_var above = poa->the_parent();
        parent = CORBA::String_var(above->the_name()).in();
    };
    const common::Common_I_var manager = agent_.remoteManager(session_.in());
    common::CapabilityList_T_var capabilities;
    manager->getCapabilities(capabilities.out());
    EXPECT_EQ(name, "iterator");
    EXPECT_EQ(parent, CORBA::String_var(top_->the_name()).in());
}

TEST_F(IteratorHelper, GivesNoPoaOutsideARequest) {
    const TraceCapture trace;
    const PortableServer::POA_var poa = TAIteratorHelper::getIteratorPoa();
    EXPECT_TRUE(CORBA::is_nil(poa.in()));
    EXPECT_TRUE(trace.contains("[IteratorHelper::getIteratorPoa] Exception raised!"));
}

TEST_F(IteratorHelper, GivesNoPoaInARequestOnWhatHasNoIterators) {
    const TraceCapture trace;
    const auto iterator = made();
    bool isNil = false;
    iterator->onCall = [&] {
        const PortableServer::POA_var poa = TAIteratorHelper::getIteratorPoa();
        isNil = CORBA::is_nil(poa.in());
    };
    ASSERT_EQ(open(iterator), 0ul);
    EXPECT_TRUE(answers(remote(iterator.get()).in()));
    EXPECT_TRUE(isNil) << "an iterator's own POA has no child";
    EXPECT_TRUE(trace.contains("[IteratorHelper::getIteratorPoa]"));
}

TEST_F(IteratorHelper, OpensAndClosesAnIterator) {
    const TraceCapture trace;
    {
        const auto iterator = made();
        iterator->_add_ref();
        EXPECT_EQ(TAIteratorHelper::add_Iterator(iterator.get()), 0ul);
        EXPECT_EQ(count(), 1u);
        EXPECT_EQ(iterator->_refcount_value(), 3u) << "ours, the list's and the POA's";
        TAIteratorHelper::deactive_object(iterator.get());
        EXPECT_TRUE(waitUntil([&] { return count() == 0; }));
    }
    EXPECT_TRUE(waitUntil([&] { return alive_ == 0; }));
    EXPECT_TRUE(trace.contains("[IteratorHelper::add_Iterator] Add new iterator object!"));
    EXPECT_TRUE(trace.contains("[IteratorHelper::deactive_object] Enter...!"));
    EXPECT_TRUE(trace.contains("[IteratorHelper::deactive_object] Exited!"));
}

TEST_F(IteratorHelper, ClosesAnIteratorFromWithinACallOnIt) {
    const auto iterator = made();
    iterator->onCall = [raw = iterator.get()] { TAIteratorHelper::deactive_object(raw); };
    ASSERT_EQ(open(iterator), 0ul);
    const common::Common_I_var reference = remote(iterator.get());
    EXPECT_TRUE(answers(reference.in()));
    EXPECT_FALSE(answers(reference.in()));
    EXPECT_TRUE(waitUntil([&] { return count() == 0 && iterator->_refcount_value() == 1; }));
}

TEST_F(IteratorHelper, RemovesOnlyListedIterators) {
    const auto stranger = made();
    EXPECT_EQ(RunningAgent::sessions().remove_iterator(stranger.get()), 0);
    EXPECT_EQ(stranger->_refcount_value(), 1u);
    ASSERT_EQ(open(stranger), 0ul);
    EXPECT_EQ(RunningAgent::sessions().remove_iterator(stranger.get()), 0);
    EXPECT_EQ(RunningAgent::sessions().remove_iterator(stranger.get()), 0);
    EXPECT_EQ(stranger->_refcount_value(), 2u) << "ours and the POA's: one is dropped once";
    EXPECT_EQ(count(), 0u);
}

TEST_F(IteratorHelper, ClosesTwiceWithoutHarm) {
    const auto iterator = made();
    ASSERT_EQ(open(iterator), 0ul);
    TAIteratorHelper::deactive_object(iterator.get());
    TAIteratorHelper::deactive_object(iterator.get());
    EXPECT_TRUE(waitUntil([&] { return count() == 0 && iterator->_refcount_value() == 1; }));
}

TEST_F(IteratorHelper, ClosesNothingWithoutAPoa) {
    const TraceCapture trace;
    const auto nowhere = NS_KELPCORBA::ServantRef<TestIterator>::take(
        new TestIterator(PortableServer::POA::_nil(), alive_));
    TAIteratorHelper::deactive_object(nowhere.get());
    EXPECT_TRUE(trace.contains("[TAIteratorHelper::deactive_object] poa is NULL"));
    EXPECT_FALSE(trace.contains("[IteratorHelper::deactive_object] Exited!"));
}

TEST_F(IteratorHelper, ClosesNothingWhileTheSessionsPoaIsBeingDestroyed) {
    Latch gate;
    agent_.manager().onCall = [&] { gate.pass(); };
    const common::Common_I_var manager = agent_.remoteManager(session_.in());
    std::thread running([&] {
        orb::setThreadTimeout(std::chrono::seconds(60));
        common::CapabilityList_T_var capabilities;
        EXPECT_NO_THROW(manager->getCapabilities(capabilities.out()));
    });
    ASSERT_TRUE(gate.isReached());
    const auto iterator = made();
    ASSERT_EQ(open(iterator), 0ul);
    session_->endSession();
    ASSERT_TRUE(waitUntil([&] { return orb::isDying(iterators_.in()); }));
    const TraceCapture trace;
    TAIteratorHelper::deactive_object(iterator.get());
    EXPECT_TRUE(trace.contains("[TAIteratorHelper::deactive_object] cleanup_in_progress is true"));
    EXPECT_FALSE(trace.contains("[IteratorHelper::deactive_object] Exited!"));
    gate.open();
    running.join();
    EXPECT_TRUE(waitUntil([&] { return count() == 0 && iterator->_refcount_value() == 1; }))
        << "it goes with its POA";
}

TEST_F(IteratorHelper, LeavesNoIteratorOfASessionThatHasEnded) {
    for (int i = 0; i < 20; ++i)
        ASSERT_EQ(openOne(), 0ul);
    session_->endSession();
    EXPECT_TRUE(waitUntil([&] { return count() == 0 && alive_ == 0; }));
    EXPECT_EQ(openOne(), kNotActivated) << "its POA is gone";
    EXPECT_TRUE(waitUntil([&] { return alive_ == 0; }));
}

}  // namespace
}  // namespace kelp::test
