// The filtering of events: in order, in turns, and on threads that end.

#include "filter/filter_stage.h"

#include <gtest/gtest.h>

#include <atomic>
#include <future>
#include <memory>

#include "filter/sieve.h"
#include "numbered_events.h"
#include "support/wait_until.h"

namespace kelp::notification {
namespace {

using kelp::test::waitUntil;

class CountedTask final : public FilterStage::Task {
  public:
    CountedTask(std::string owner, int rounds) : owner_(std::move(owner)), left_(rounds) {}
    std::string ownerKey() const override { return owner_; }
    bool work(FilterStage::Clock::time_point) override {
        if (gate.valid())
            gate.wait();
        ++done;
        return --left_ > 0;
    }
    std::shared_future<void> gate;
    std::atomic<int> done{0};

  private:
    const std::string owner_;
    std::atomic<int> left_;
};

TEST(FilterStage, RunsEachTaskUntilNothingIsLeft) {
    FilterStage stage(2);
    const auto one = std::make_shared<CountedTask>("one", 5);
    const auto other = std::make_shared<CountedTask>("other", 1);
    stage.schedule(one);
    stage.schedule(other);
    EXPECT_TRUE(waitUntil([&] { return one->done == 5 && other->done == 1; }));
    const auto later = std::make_shared<CountedTask>("one", 2);
    stage.schedule(later);
    EXPECT_TRUE(waitUntil([&] { return later->done == 2; }));
}

TEST(FilterStage, NeverGivesOneOwnerAllThreads) {
    FilterStage stage(2);
    std::promise<void> open;
    const std::shared_future<void> gate = open.get_future().share();
    std::vector<std::shared_ptr<CountedTask>> hanging;
    for (int i = 0; i < 20; ++i) {
        hanging.push_back(std::make_shared<CountedTask>("one", 1));
        hanging.back()->gate = gate;
        stage.schedule(hanging.back());
    }
    const auto other = std::make_shared<CountedTask>("other", 3);
    stage.schedule(other);
    EXPECT_TRUE(waitUntil([&] { return other->done == 3; }));
    open.set_value();
    for (const auto& each : hanging)
        EXPECT_TRUE(waitUntil([&] { return each->done == 1; }));
}

TEST(FilterStage, ForgetsWhatIsScheduledWhenItStops) {
    FilterStage stage(2);
    std::promise<void> open;
    const auto hanging = std::make_shared<CountedTask>("one", 1);
    hanging->gate = open.get_future().share();
    const auto forgotten = std::make_shared<CountedTask>("one", 1);
    stage.schedule(hanging);
    stage.schedule(forgotten);
    auto stopping = std::async(std::launch::async, [&] { stage.stop(); });
    open.set_value();
    stopping.get();
    stage.schedule(std::make_shared<CountedTask>("one", 1));
    EXPECT_LE(forgotten->done, 1);
}

class SieveTest : public testing::Test {
  protected:
    Sieve::Way put(int number, std::size_t max = 100) {
        const auto filters = std::make_shared<FilterList>()->current();
        return sieve.put({test::event(number), filters, filters}, max, lost);
    }
    Sieve sieve;
    EventPtr lost;
};

TEST_F(SieveTest, LetsEventsThroughThatNeedNoFilter) {
    EXPECT_EQ(put(1), Sieve::Way::Straight);
    EXPECT_EQ(put(2), Sieve::Way::Straight);
    EXPECT_EQ(sieve.size(), 0u);
}

}  // namespace
}  // namespace kelp::notification
