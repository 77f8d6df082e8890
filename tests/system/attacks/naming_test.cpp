// Attacks on the embedded naming service by callers that may reach it.

#include "attacks/attacked_host.h"

namespace kelp::test {
namespace {

class NamingAttacks : public AttackedHost {
  protected:
    void SetUp() override { startHost(); }
};

TEST_F(NamingAttacks, NobodyOutsideChangesAName) {
    const Seen seen =
        attack("change_names", host_.namingPort(), {{"source", kAllowed}, {"count", "500"}});
    EXPECT_EQ(numberIn(seen, "refused"), numberIn(seen, "attempts"));
    EXPECT_EQ(numberIn(seen, "changed"), 0);
    expectUnharmed();
}

}  // namespace
}  // namespace kelp::test
