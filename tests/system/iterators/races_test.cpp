// Batches are read while other calls close the oldest iterators, destroy iterators and end
// sessions.

#include "iterators_fixture.h"

namespace kelp::test {
namespace {

class Races : public IteratorsFixture {
  protected:
    /// Wait until it has called a closed iterator, then stop it and expect no errors.
    static void expectSoundEnd(NmsLists& lists) {
        EXPECT_TRUE(eventually([&] { return lists.mixture().closed > 0; }));
        const NmsLists::Mixture mixture = lists.stopMixture();
        EXPECT_GT(mixture.served, 0);
        EXPECT_EQ(mixture.strange, 0) << mixture.strangest;
        EXPECT_EQ(mixture.gaps, 0);
    }
};

TEST_F(Races, LoseNoEntryAndEndNoOtherSession) {
    constexpr int kRounds = 5;
    limit(10, 1000);
    startWithElements(60);
    NmsProcess lasting(host_);
    lasting.logIn(0, "alice");
    NmsLists lists(lasting, 0);
    lists.startMixture();
    NmsProcess leaving(host_);
    for (int round = 0; round < kRounds; ++round) {
        leaving.logIn(0, "bob");
        NmsLists others(leaving, 0);
        others.startMixture();
        EXPECT_TRUE(eventually([&] { return others.mixture().served > 100; }));
        leaving.end(0);
        EXPECT_TRUE(eventually([&] { return !leaving.hasSession(0); }));
        expectSoundEnd(others);
    }
    const int before = lists.mixture().served;
    EXPECT_TRUE(eventually([&] { return lists.mixture().served > before + 50; }));
    expectSoundEnd(lists);
    EXPECT_TRUE(lasting.hasSession(0));
    lasting.end(0);
    EXPECT_TRUE(eventually([&] { return !lasting.hasSession(0); }));
    leaving.logIn(0, "bob");
    expectNoneOpen(leaving, 0);
    EXPECT_EQ(host_.stop(), 0);
}

}  // namespace
}  // namespace kelp::test
