// Reading a list in batches within the limits.

#include <gmock/gmock.h>
#include <kelp/agent/list_batches.h>

#include "support/numbered_names.h"

namespace kelp::test {
namespace {

using Names = globaldefs::NamingAttributesList_T;
using Batches = NS_KELPCORBA::ListBatches<Names>;

class ListBatchesTest : public testing::Test {
  protected:
    Batches& begin(CORBA::ULong count) {
        auto source = std::make_unique<NumberedNames>(count);
        source_ = source.get();
        batches_ = std::make_unique<Batches>(std::move(source), limits_);
        return *batches_;
    }
    std::vector<int> next(CORBA::ULong howMany) {
        const std::unique_ptr<Names> batch(batches_->next(howMany));
        return numbersOf(*batch);
    }

    Batches::Limits limits_;
    NumberedNames* source_ = nullptr;  ///< owned by batches_
    std::unique_ptr<Batches> batches_;
};

TEST_F(ListBatchesTest, GivesTheRequestedNumberInOrder) {
    begin(10);
    EXPECT_EQ(next(3), numbers(1, 3));
    EXPECT_EQ(next(1), numbers(4, 4));
    EXPECT_EQ(batches_->left(), 6u);
    EXPECT_EQ(next(6), numbers(5, 10));
    EXPECT_EQ(batches_->left(), 0u);
    EXPECT_TRUE(next(1).empty());
}

TEST_F(ListBatchesTest, GivesNoneForZero) {
    begin(2);
    EXPECT_TRUE(next(0).empty());
    EXPECT_EQ(batches_->left(), 2u);
}

TEST_F(ListBatchesTest, GivesAllForTheLargestNumber) {
    begin(3000);
    EXPECT_EQ(next(4294967295u), numbers(1, 3000));
    EXPECT_EQ(batches_->left(), 0u);
}

TEST_F(ListBatchesTest, GivesNoMoreThanABatchMayHold) {
    limits_.entries = 7;
    begin(20);
    EXPECT_EQ(next(100), numbers(1, 7));
    EXPECT_EQ(next(8), numbers(8, 14));
    EXPECT_EQ(next(7), numbers(15, 20));
}

TEST_F(ListBatchesTest, StopsBeforeTheByteLimit) {
    limits_.bytes = 1000;
    begin(25);
    EXPECT_EQ(next(100), numbers(1, 10));
    EXPECT_EQ(batches_->left(), 15u) << "those that did not fit are not lost";
    EXPECT_EQ(next(3), numbers(11, 13));
    EXPECT_EQ(next(100), numbers(14, 23));
    EXPECT_EQ(next(100), numbers(24, 25));
}

TEST_F(ListBatchesTest, GivesOneThatIsTooLargeByItself) {
    limits_.bytes = 1000;
    begin(3);
    source_->size = 5000;
    EXPECT_EQ(next(10), numbers(1, 1));
    EXPECT_EQ(next(10), numbers(2, 2));
    EXPECT_EQ(next(10), numbers(3, 3));
    EXPECT_EQ(batches_->left(), 0u);
}

TEST_F(ListBatchesTest, AsksASourceThatGivesLittleAgain) {
    begin(10);
    source_->most = 3;
    EXPECT_EQ(next(8), numbers(1, 8));
}

TEST_F(ListBatchesTest, EndsWhereTheRestHasBeenDeleted) {
    begin(10);
    source_->gone = 4;
    EXPECT_EQ(next(100), numbers(1, 6));
    EXPECT_EQ(batches_->left(), 0u);
}

}  // namespace
}  // namespace kelp::test
