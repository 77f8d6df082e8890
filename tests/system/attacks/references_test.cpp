// Guessed, borrowed and stolen references, and log-ins in another NMS's name.

#include <kelp/orb/references.h>

#include "attacks/attacked_host.h"

namespace kelp::test {
namespace {

class ReferenceAttacks : public AttackedHost {
  protected:
    void SetUp() override { startHost(); }
};

TEST_F(ReferenceAttacks, GuessedKeysFindNoObjectOfASession) {
    const Seen seen = attack("guess_objects", {{"source", kAllowed}, {"session", sessionKey()}});
    EXPECT_EQ(numberIn(seen, "found"), 0);
    expectUnharmed();
}

TEST_F(ReferenceAttacks, AStolenReferenceIsOfNoUseAtAnotherAddress) {
    const Seen seen = attack("use_reference", {{"source", kAllowed}, {"key", sessionKey()}});
    for (const auto& [operation, outcome] : seen)
        EXPECT_NE(outcome.find("NO_PERMISSION"), std::string::npos) << operation << ": " << outcome;
    expectUnharmed();
}

TEST_F(ReferenceAttacks, ALogInWithoutThePasswordEndsNobodysSession) {
    orb::ReferenceContent own;
    ASSERT_TRUE(orb::decodeReference(bystander_->ownReference(0), own));
    ASSERT_FALSE(own.endpoints.empty());
    const Seen seen =
        attack("wrong_password", {{"user", kUser},
                                  {"host", own.endpoints[0].host},
                                  {"nms_port", std::to_string(own.endpoints[0].port)}});
    EXPECT_EQ(numberIn(seen, "session"), 0);
    expectUnharmed();
}

}  // namespace
}  // namespace kelp::test
