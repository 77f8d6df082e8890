#include "receiving/inform_keys.h"

#include <gtest/gtest.h>

#include "mapping_samples.h"

namespace {

using kelp::test::trapWith;
using kelp::traps::InformKeys;
using kelp::traps::Trap;

class InformKeysTest : public testing::Test {
  protected:
    static Trap inform(std::int64_t requestId, const std::string& value = "1") {
        Trap trap = trapWith({{"1.3.6.1", value}});
        trap.isInform = true;
        trap.requestId = requestId;
        return trap;
    }

    InformKeys keys_;
    const InformKeys::Time now_{std::chrono::hours(500000)};
};

TEST_F(InformKeysTest, AreTheSameForARepeatedInform) {
    const std::string first = keys_.keyOf(inform(7), now_);
    EXPECT_EQ(keys_.keyOf(inform(7), now_ + std::chrono::seconds(5)), first);
    // also after a restart of this process
    EXPECT_EQ(InformKeys().keyOf(inform(7), now_), first);
}

TEST_F(InformKeysTest, DifferByRequestSenderAndContent) {
    const std::string first = keys_.keyOf(inform(7), now_);
    EXPECT_NE(keys_.keyOf(inform(8), now_), first);
    EXPECT_NE(keys_.keyOf(inform(7, "2"), now_), first);
    Trap other = inform(7);
    other.address = "192.0.2.18";
    EXPECT_NE(keys_.keyOf(other, now_), first);
    other = inform(7);
    other.user = "ne17";
    EXPECT_NE(keys_.keyOf(other, now_), first);
    other = inform(7);
    other.upTime = 5;
    EXPECT_NE(keys_.keyOf(other, now_), first);
}

TEST_F(InformKeysTest, DifferForAnEqualInformMuchLater) {
    const std::string first = keys_.keyOf(inform(7), now_);
    const auto later = now_ + InformKeys::kRepeatedWithin + std::chrono::seconds(1);
    const std::string second = keys_.keyOf(inform(7), later);
    EXPECT_NE(second, first);
    EXPECT_EQ(keys_.keyOf(inform(7), later + std::chrono::seconds(5)), second);
}

TEST_F(InformKeysTest, AreForgottenAboveTheLimit) {
    keys_.keyOf(inform(0), now_);
    for (std::size_t id = 1; id <= InformKeys::kRememberedMax; ++id)
        keys_.keyOf(inform(static_cast<std::int64_t>(id)), now_);
    // it counts as a repeated one again
    const auto later = now_ + InformKeys::kRepeatedWithin + std::chrono::seconds(1);
    EXPECT_EQ(keys_.keyOf(inform(0), later), InformKeys().keyOf(inform(0), now_));
}

}  // namespace
