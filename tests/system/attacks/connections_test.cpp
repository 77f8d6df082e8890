// Attacks with large numbers of connections.

#include <sys/resource.h>

#include "attacks/attacked_host.h"

namespace kelp::test {
namespace {

class ConnectionAttacks : public AttackedHost, public ::testing::WithParamInterface<const char*> {
  protected:
    /// Start a host with at most 1024 descriptors. The attackers together open more connections
    /// than that.
    void startHostWithFewDescriptors() {
        const rlimit few{1024, 1024};
        ASSERT_EQ(::setrlimit(RLIMIT_NOFILE, &few), 0) << "inherited by the host";
        startHost();
    }
};

INSTANTIATE_TEST_SUITE_P(From, ConnectionAttacks, ::testing::Values("127.0.0.3", "127.0.0.2"),
                         attackerPlace);

TEST_P(ConnectionAttacks, MoreIdleConnectionsThanDescriptorsHinderNobody) {
    startHostWithFewDescriptors();
    {
        const Options half = {{"source", GetParam()}, {"count", "600"}};
        const ChildProcess attacker = lastingAttack("idle_connections", half);
        const ChildProcess another = lastingAttack("idle_connections", half);
        EXPECT_TRUE(isIdle()) << "the host spins";
        NmsProcess nms(host_);
        nms.logIn(0, kUser);
        EXPECT_EQ(nms.managers(0), bystander_->managers(0));
        nms.end(0);
    }
    expectUnharmed();
}

TEST_P(ConnectionAttacks, HalfHeadersOnManyConnectionsHinderNobody) {
    startHost();
    {
        const ChildProcess attacker = lastingAttack(
            "idle_connections", {{"source", GetParam()}, {"count", "400"}, {"half", "1"}});
        EXPECT_TRUE(isIdle()) << "the host spins";
        NmsProcess another(host_);
        another.logIn(0, kUser);
        another.end(0);
    }
    expectUnharmed();
}

}  // namespace
}  // namespace kelp::test
