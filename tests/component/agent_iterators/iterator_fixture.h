#pragma once

#include <gtest/gtest.h>

#include "adapter/session_source.h"
#include "support/agent_fixture.h"
#include "support/test_iterator.h"
#include "support/trace_capture.h"

namespace kelp::test {

constexpr unsigned long kNotActivated = 0x411800BA;
constexpr unsigned long kTooManyIterators = 0x41180102;

/// Iterators of a logged-in session.
class IteratorFixture : public testing::Test {
  protected:
    explicit IteratorFixture(const AgentOptions& options = {}) : agent_(options) {
        session_ = agent_.logIn(agent_.nms());
        top_ = agent_.listed(agent_.nms())->source()->get_POA();
        iterators_ = top_->find_POA("iterator", false);
    }
    /// Return an iterator that is not open. The caller owns it.
    NS_KELPCORBA::ServantRef<TestIterator> made() {
        return NS_KELPCORBA::ServantRef<TestIterator>::take(
            new TestIterator(iterators_.in(), alive_));
    }
    /// Open the iterator, giving the session manager a separate reference count. Return the error
    /// code.
    static unsigned long open(const NS_KELPCORBA::ServantRef<TestIterator>& iterator,
                              CORBA::Object_var& reference) {
        iterator->_add_ref();
        const unsigned long code = RunningAgent::sessions().add_iterator(iterator.get(), reference);
        if (code != 0)
            iterator->_remove_ref();
        return code;
    }
    static unsigned long open(const NS_KELPCORBA::ServantRef<TestIterator>& iterator) {
        CORBA::Object_var reference;
        return open(iterator, reference);
    }
    /// Create and open an iterator that the test does not hold.
    unsigned long openOne() { return open(made()); }

    /// Deactivate the iterator, as anybody who knows its id may.
    void deactivate(TestIterator* iterator) {
        const PortableServer::ObjectId_var id = iterators_->servant_to_id(iterator);
        iterators_->deactivate_object(id.in());
    }
    common::Common_I_var remote(TestIterator* iterator) {
        const CORBA::Object_var object = iterators_->servant_to_reference(iterator);
        return agent_.overTheWire<common::Common_I>(object.in());
    }
    static bool answers(common::Common_I_ptr iterator) {
        try {
            common::CapabilityList_T_var capabilities;
            iterator->getCapabilities(capabilities.out());
            return true;
        } catch (const CORBA::OBJECT_NOT_EXIST&) {
            return false;
        }
    }
    static std::size_t count() { return RunningAgent::sessions().IteratorCount(); }

    std::atomic<int> alive_{0};
    RunningAgent agent_;
    emsSession::EmsSession_I_var session_;
    PortableServer::POA_var top_;
    PortableServer::POA_var iterators_;
};

}  // namespace kelp::test
