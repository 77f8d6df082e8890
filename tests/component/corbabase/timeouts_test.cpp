#include <ace/Thread_Manager.h>
#include <gtest/gtest.h>

#include "base_orb.h"
#include "support/tcp_peers.h"

using kelp::test::base;
using kelp::test::BaseOrb;
using kelp::test::DeafListener;

namespace {

constexpr std::uint64_t kUnitsPerMs = 10000;

/// True if a call to a peer that never answers ends with its time-out.
bool timesOut(const DeafListener& deaf) {
    const CORBA::ORB_var orb = base().GetOrb();
    const CORBA::Object_var hung = kelp::orb::toReference(orb.in(), deaf.corbaloc());
    try {
        hung->_non_existent();
    } catch (const CORBA::TIMEOUT&) {
        return true;
    }
    return false;
}

struct PolicyThread {
    const DeafListener& deaf;
    bool taken = false;
    bool ended = false;

    static ACE_THR_FUNC_RETURN body(void* argument) {
        PolicyThread& self = *static_cast<PolicyThread*>(argument);
        const CORBA::ORB_var orb = base().GetOrb();
        self.taken = base().SetCurrentThreadTimeOutPolicy(orb.in(), 200 * kUnitsPerMs);
        self.ended = timesOut(self.deaf);
        return nullptr;
    }
};

TEST(TimeOutPolicies, TheThreadsLimitEndsACallOnAnAceThread) {
    const BaseOrb running;
    const DeafListener deaf;
    PolicyThread thread{deaf};
    ACE_Thread_Manager manager;
    ASSERT_NE(manager.spawn(PolicyThread::body, &thread), -1);
    manager.wait();
    EXPECT_TRUE(thread.taken);
    EXPECT_TRUE(thread.ended);
}

TEST(TimeOutPolicies, TheProcesssLimitEndsACallOfAThreadWithoutOne) {
    const BaseOrb running;
    const DeafListener deaf;
    const CORBA::ORB_var orb = base().GetOrb();
    EXPECT_TRUE(base().SetORBTimeOutPolicy(orb.in(), 200 * kUnitsPerMs));
    EXPECT_TRUE(timesOut(deaf));
    EXPECT_TRUE(base().SetORBTimeOutPolicy(orb.in(), 0));
}

TEST(TimeOutPolicies, ALimitBelowOneMillisecondIsStillALimit) {
    const BaseOrb running;
    const DeafListener deaf;
    const CORBA::ORB_var orb = base().GetOrb();
    EXPECT_TRUE(base().SetCurrentThreadTimeOutPolicy(orb.in(), 1));
    EXPECT_TRUE(timesOut(deaf));
}

}  // namespace
