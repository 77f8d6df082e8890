#include <gmock/gmock.h>
#include <gtest/gtest.h>
#include <kelp/inventory/row_ids.h>

#include <vector>

namespace kelp::inventory {
namespace {

using testing::ElementsAre;

std::vector<IdRange> rangesOf(const RowIds& ids) {
    return {ids.ranges().begin(), ids.ranges().end()};
}

RowIds idsOf(std::initializer_list<std::int64_t> list) {
    RowIds ids;
    for (const std::int64_t id : list)
        ids.append(id);
    return ids;
}

TEST(RowIds, ConsecutiveIdsAreOneRange) {
    RowIds ids;
    for (std::int64_t id = 5; id < 1'000'005; ++id)
        ids.append(id);
    EXPECT_EQ(ids.count(), 1'000'000u);
    EXPECT_THAT(rangesOf(ids), ElementsAre(IdRange{5, 1'000'000}));
}

TEST(RowIds, KeepTheirOrder) {
    EXPECT_THAT(rangesOf(idsOf({7, 8, 3, 4, 9})),
                ElementsAre(IdRange{7, 2}, IdRange{3, 2}, IdRange{9, 1}));
}

TEST(RowIds, AreTakenFromTheFront) {
    RowIds ids = idsOf({1, 2, 3, 10, 11, 20});
    EXPECT_THAT(rangesOf(ids.take(2)), ElementsAre(IdRange{1, 2}));
    EXPECT_THAT(rangesOf(ids.take(2)), ElementsAre(IdRange{3, 1}, IdRange{10, 1}));
    EXPECT_EQ(ids.count(), 2u);
    EXPECT_THAT(rangesOf(ids), ElementsAre(IdRange{11, 1}, IdRange{20, 1}));
    EXPECT_THAT(rangesOf(ids.take(100)), ElementsAre(IdRange{11, 1}, IdRange{20, 1}));
    EXPECT_TRUE(ids.empty());
    EXPECT_TRUE(ids.take(1).empty());
}

TEST(RowIds, TakingNoneTakesNone) {
    RowIds ids = idsOf({1, 2});
    EXPECT_TRUE(ids.take(0).empty());
    EXPECT_EQ(ids.count(), 2u);
}

TEST(RowIds, ContinueWhereTheyWereTaken) {
    RowIds ids = idsOf({1, 2});
    EXPECT_EQ(ids.take(2).count(), 2u);
    ids.append(3);
    EXPECT_THAT(rangesOf(ids), ElementsAre(IdRange{3, 1}));
}

TEST(RowIds, ComeFirstAgainWhenTheyArePutBack) {
    RowIds ids = idsOf({1, 2, 3, 10, 11, 20});
    RowIds taken = ids.take(1);
    taken.append(ids.take(3));
    EXPECT_THAT(rangesOf(taken), ElementsAre(IdRange{1, 3}, IdRange{10, 1}));
    ids.putBack(taken);
    EXPECT_EQ(ids.count(), 6u);
    std::vector<std::int64_t> order;
    while (!ids.empty())
        order.push_back(ids.take(1).ranges().front().first);
    EXPECT_THAT(order, ElementsAre(1, 2, 3, 10, 11, 20));
}

TEST(RowIds, MayAllBePutBack) {
    RowIds ids = idsOf({1, 2});
    const RowIds taken = ids.take(5);
    EXPECT_TRUE(ids.empty());
    ids.putBack(taken);
    EXPECT_THAT(rangesOf(ids), ElementsAre(IdRange{1, 2}));
    ids.clear();
    EXPECT_TRUE(ids.empty());
}

}  // namespace
}  // namespace kelp::inventory
