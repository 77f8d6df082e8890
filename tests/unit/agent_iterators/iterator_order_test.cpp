#include "iterator/iterator_order.h"

#include <gtest/gtest.h>

#include <array>

namespace {

using NS_KELPCORBA::IteratorOrder;

/// Only the addresses of the iterators matter.
class IteratorOrderTest : public testing::Test {
  protected:
    IteratorOrder::Iterator at(std::size_t index) {
        return reinterpret_cast<IteratorOrder::Iterator>(&places_[index]);
    }
    IteratorOrder open_;

  private:
    std::array<std::max_align_t, 10> places_{};
};

TEST_F(IteratorOrderTest, OldestIsFirstOverallAndPerSession) {
    open_.add(at(0), "a");
    open_.add(at(1), "b");
    open_.add(at(2), "a");
    EXPECT_EQ(open_.count(), 3u);
    EXPECT_EQ(open_.countOf("a"), 2u);
    EXPECT_EQ(open_.takeOldestOf("b"), at(1));
    EXPECT_EQ(open_.takeOldestOf("b"), nullptr);
    EXPECT_EQ(open_.takeOldest(), at(0));
    EXPECT_EQ(open_.takeOldestOf("a"), at(2));
    EXPECT_EQ(open_.takeOldest(), nullptr);
    EXPECT_EQ(open_.count(), 0u);
}

TEST_F(IteratorOrderTest, OldestIsNotTakenIfItMustStay) {
    open_.add(at(0), "a");
    EXPECT_EQ(open_.takeOldestOf("a", at(0)), nullptr);
    open_.add(at(1), "a");
    EXPECT_EQ(open_.takeOldestOf("a", at(1)), at(0));
}

TEST_F(IteratorOrderTest, RemovalIsByItselfAndOnce) {
    open_.add(at(0), "a");
    open_.add(at(1), "a");
    EXPECT_TRUE(open_.remove(at(0)));
    EXPECT_FALSE(open_.remove(at(0)));
    EXPECT_EQ(open_.takeOldestOf("a"), at(1));
}

TEST_F(IteratorOrderTest, ExpectedIteratorsCountForTheirSession) {
    open_.expect("a");
    open_.expect("a");
    open_.add(at(0), "a");
    EXPECT_EQ(open_.countOf("a"), 3u);
    EXPECT_EQ(open_.count(), 1u);
    open_.arrived("a");
    EXPECT_EQ(open_.countOf("a"), 2u);
    open_.arrived("a");
    EXPECT_EQ(open_.countOf("a"), 1u);
    EXPECT_EQ(open_.countOf("b"), 0u);
}

}  // namespace
