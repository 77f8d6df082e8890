// Lists that are read to their end, and lists that are abandoned.

#include <cstdint>
#include <limits>

#include "iterators_fixture.h"

namespace kelp::test {
namespace {

constexpr int kWalked = 37;
constexpr std::uint32_t kAll = std::numeric_limits<std::uint32_t>::max();
constexpr const char* kGone = "closed closed closed";

class Walks : public IteratorsFixture {
  protected:
    void start() {
        startWithElements(kWalked);
        nms_.emplace(host_);
        nms_->logIn(0, "alice");
        lists_.emplace(*nms_, 0);
    }
    void expectWhole(std::uint32_t howMany, int largestBatch, const std::string& afterwards) {
        const NmsLists::Walk walk = lists_->walk(howMany);
        EXPECT_EQ(walk.entries, kWalked) << howMany;
        EXPECT_EQ(walk.different, kWalked) << howMany;
        EXPECT_EQ(walk.largestBatch, largestBatch) << howMany;
        EXPECT_EQ(walk.afterwards, afterwards) << howMany;
    }

    std::optional<NmsProcess> nms_;
    std::optional<NmsLists> lists_;
};

TEST_F(Walks, GiveEveryElementOnceHoweverManyAreAskedFor) {
    start();
    for (const int howMany : {1, 5, kWalked - 1})
        expectWhole(static_cast<std::uint32_t>(howMany), howMany, "closed");
    for (const std::uint32_t howMany : {std::uint32_t{kWalked}, kWalked + 1u, kAll})
        expectWhole(howMany, kWalked, "none");
    expectNoneOpen(*nms_, 0);
    EXPECT_EQ(host_.stop(), 0);
}

TEST_F(Walks, GiveNoMoreAtOnceThanIsConfigured) {
    host_.set("iterator", "batch_max", 10);
    start();
    for (const std::uint32_t howMany : {std::uint32_t{kWalked}, kAll})
        expectWhole(howMany, 10, "closed");
}

TEST_F(Walks, GiveAllThroughTheIteratorWhenNoneAreAskedFor) {
    start();
    const NmsLists::Answer answer = lists_->ask(0);
    EXPECT_EQ(answer.first, 0);
    ASSERT_GE(answer.iterator, 0);
    EXPECT_EQ(lists_->length(answer.iterator), kWalked);
    const NmsLists::Batch none = lists_->next(answer.iterator, 0);
    EXPECT_EQ(none.entries, 0);
    EXPECT_TRUE(none.isMore);
    const NmsLists::Batch some = lists_->next(answer.iterator, 30);
    EXPECT_EQ(some.entries, 30);
    EXPECT_TRUE(some.isMore);
    EXPECT_EQ(lists_->length(answer.iterator), kWalked) << "as it was at the start";
    const NmsLists::Batch last = lists_->next(answer.iterator, kAll);
    EXPECT_EQ(last.entries, kWalked - 30);
    EXPECT_FALSE(last.isMore);
    EXPECT_EQ(lists_->outcomes(answer.iterator), kGone);
}

TEST_F(Walks, AreOverForGoodWhenTheNmsDestroysTheIterator) {
    start();
    const NmsLists::Answer answer = lists_->ask(3);
    EXPECT_EQ(answer.first, 3);
    EXPECT_EQ(lists_->length(answer.iterator), kWalked - 3);
    EXPECT_EQ(lists_->next(answer.iterator, 3).entries, 3);
    lists_->destroy(answer.iterator);
    EXPECT_EQ(lists_->outcomes(answer.iterator), kGone);
    expectNoneOpen(*nms_, 0);
}

}  // namespace
}  // namespace kelp::test
