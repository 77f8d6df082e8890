#include <gtest/gtest.h>
#include <kelp/agent/time_change.h>

namespace NS_KELPCORBA {
namespace {

bool areEqual(const stDateTimeType& a, const stDateTimeType& b) {
    return a.year == b.year && a.month == b.month && a.day == b.day && a.hour == b.hour &&
           a.minute == b.minute && a.second == b.second;
}

TEST(DateTime, IsSaidWithoutPaddingAndReadBack) {
    const stDateTimeType time{2024, 1, 5, 3, 4, 5};
    EXPECT_EQ(TimeChange::convertDateTimeTypeToStr(time), "2024-1-5-3-4-5");
    EXPECT_TRUE(areEqual(TimeChange::convertStrToDateTimeType("2024-1-5-3-4-5"), time));
    EXPECT_TRUE(areEqual(TimeChange::convertStrToDateTimeType("2024-01-05--03-04-05"), time));
}

TEST(DateTime, OfAnotherNumberOfPartsIsAllZeroAndInvalid) {
    for (const char* text : {"", "2024", "2024-1-5-3-4", "2024-1-5-3-4-5-6", "-----"}) {
        const stDateTimeType time = TimeChange::convertStrToDateTimeType(text);
        EXPECT_TRUE(areEqual(time, stDateTimeType{})) << text;
        EXPECT_FALSE(TimeChange::checkDateTimeValid(time)) << text;
    }
}

TEST(DateTime, IsValidWithinItsBounds) {
    EXPECT_TRUE(TimeChange::checkDateTimeValid({2024, 12, 31, 23, 59, 59}));
    EXPECT_TRUE(TimeChange::checkDateTimeValid({0, 1, 1, 0, 0, 0})) << "the year is not looked at";
    EXPECT_FALSE(TimeChange::checkDateTimeValid({2024, 0, 1, 0, 0, 0}));
    EXPECT_FALSE(TimeChange::checkDateTimeValid({2024, 13, 1, 0, 0, 0}));
    EXPECT_FALSE(TimeChange::checkDateTimeValid({2024, 1, 0, 0, 0, 0}));
    EXPECT_FALSE(TimeChange::checkDateTimeValid({2024, 1, 32, 0, 0, 0}));
    EXPECT_FALSE(TimeChange::checkDateTimeValid({2024, 4, 31, 0, 0, 0}));
    EXPECT_TRUE(TimeChange::checkDateTimeValid({2024, 4, 30, 0, 0, 0}));
    EXPECT_FALSE(TimeChange::checkDateTimeValid({2024, 1, 1, 24, 0, 0}));
    EXPECT_FALSE(TimeChange::checkDateTimeValid({2024, 1, 1, 0, 60, 0}));
    EXPECT_FALSE(TimeChange::checkDateTimeValid({2024, 1, 1, 0, 0, 60}));
}

TEST(DateTime, HasALeapDayInEveryFourthYear) {
    EXPECT_TRUE(TimeChange::checkDateTimeValid({2024, 2, 29, 0, 0, 0}));
    EXPECT_TRUE(TimeChange::checkDateTimeValid({2100, 2, 29, 0, 0, 0}));
    EXPECT_FALSE(TimeChange::checkDateTimeValid({2023, 2, 29, 0, 0, 0}));
    EXPECT_FALSE(TimeChange::checkDateTimeValid({2024, 2, 30, 0, 0, 0}));
}

TEST(DateTime, IsComparedFieldByField) {
    const stDateTimeType time{2024, 5, 6, 7, 8, 9};
    EXPECT_EQ(TimeChange::compareDateTime(time, time), 0);
    for (std::uint16_t stDateTimeType::*field :
         {&stDateTimeType::year, &stDateTimeType::month, &stDateTimeType::day,
          &stDateTimeType::hour, &stDateTimeType::minute, &stDateTimeType::second}) {
        stDateTimeType later = time;
        ++(later.*field);
        EXPECT_EQ(TimeChange::compareDateTime(later, time), 1);
        EXPECT_EQ(TimeChange::compareDateTime(time, later), 2);
    }
    EXPECT_EQ(TimeChange::compareDateTime({2024, 1, 31, 0, 0, 0}, {2024, 2, 1, 0, 0, 0}), 2);
}

}  // namespace
}  // namespace NS_KELPCORBA
