#include "naming/foreign_entries.h"

#include <gtest/gtest.h>

namespace NS_CORBA {
namespace {

using namespace std::chrono_literals;

class ForeignEntriesTest : public testing::Test {
  protected:
    bool isRecorded(const std::string& kind) { return entries_.found(kind, now_).has_value(); }

    ForeignEntries entries_;
    ForeignEntries::Time now_{};
};

TEST_F(ForeignEntriesTest, FirstOfEachKindIsRecordedAtOnce) {
    EXPECT_TRUE(isRecorded("a"));
    EXPECT_TRUE(isRecorded("b"));
    EXPECT_FALSE(isRecorded("a"));
    EXPECT_FALSE(isRecorded("b"));
    EXPECT_TRUE(entries_.due(now_).empty());
}

TEST_F(ForeignEntriesTest, LaterOnesAreRecordedTogetherOnceAMinute) {
    isRecorded("a");
    for (int i = 0; i < 19; ++i) {
        now_ += 3s;
        EXPECT_FALSE(isRecorded("a"));
        EXPECT_TRUE(entries_.due(now_).empty());
    }
    now_ += 3s;
    const auto reports = entries_.due(now_);
    ASSERT_EQ(reports.size(), 1u);
    EXPECT_EQ(reports[0].kind, "a");
    EXPECT_EQ(reports[0].times, 19u);
    EXPECT_TRUE(entries_.due(now_ + 120s).empty()) << "no more was found";
    EXPECT_FALSE(isRecorded("a"));
    EXPECT_EQ(entries_.due(now_ + 120s).size(), 1u);
}

TEST_F(ForeignEntriesTest, KindsAreLimited) {
    for (std::size_t i = 0; i < ForeignEntries::kKindsMax; ++i) {
        now_ += 1s;
        EXPECT_TRUE(isRecorded(std::to_string(i)));
    }
    now_ += 1s;
    EXPECT_TRUE(isRecorded("one more"));
    EXPECT_FALSE(isRecorded("1"));
    EXPECT_TRUE(isRecorded("0")) << "the one recorded longest ago was forgotten";
}

}  // namespace
}  // namespace NS_CORBA
