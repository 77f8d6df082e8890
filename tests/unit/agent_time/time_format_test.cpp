#include <gtest/gtest.h>
#include <kelp/agent/time_change.h>

#include <limits>

#include "time_settings.h"

namespace NS_KELPCORBA {
namespace {

using namespace test;

/// The largest times have no broken-down form.
constexpr long kNoMoment = std::numeric_limits<long>::max();

class TimeFormat : public testing::Test {
  protected:
    TimeFormat() { setZone(kEast); }
};

/// True if `make` and `expected` return the same, when called in the same second.
template <class Make, class Expected>
bool agrees(Make make, Expected expected) {
    // a second may end between the calls
    for (int attempt = 0; attempt < 3; ++attempt) {
        if (make() == expected())
            return true;
    }
    return false;
}

TEST_F(TimeFormat, OfFieldsFollowsTheConfiguredLayoutAndReference) {
    const std::tm time = fields(2024, 1, 5, 3, 4, 5);
    configure(kCompact, kLocal);
    EXPECT_EQ(TimeChange::time2strByConf(time), "20240105030405.0");
    EXPECT_EQ(TimeChange::time2str(time), "20240105030405.0");
    configure(kCompact, kUtc);
    EXPECT_EQ(TimeChange::time2strByConf(time), "20240105030405.0Z");
    configure(kSlashed, kLocal);
    EXPECT_EQ(TimeChange::time2strByConf(time), "05/01/2024 03:04:05");
    configure(kSlashed, kUtc);
    EXPECT_EQ(TimeChange::time2strByConf(time), "05/01/2024 03:04:05Z");
}

TEST_F(TimeFormat, OfAMomentIsInTheConfiguredReference) {
    configure(kCompact, kUtc);
    EXPECT_EQ(TimeChange::time2strByConf(kMoment), "20240105030405.0Z");
    configure(kCompact, kLocal);
    EXPECT_EQ(TimeChange::time2strByConf(kMoment), "20240105053405.0");
}

TEST_F(TimeFormat, OfMomentZeroIsNow) {
    configure(kCompact, kUtc);
    const auto now = [] {
        return TimeChange::time2strByConf(static_cast<long>(std::time(nullptr)));
    };
    EXPECT_TRUE(agrees([] { return TimeChange::time2strByConf(0L); }, now));
    EXPECT_TRUE(agrees([] { return TimeChange::time2strByConf(kNoMoment); }, now));
}

TEST_F(TimeFormat, OfATextReadsItFirst) {
    configure(kSlashed, kLocal);
    EXPECT_EQ(TimeChange::time2strByConf(std::string("20240105030405.0")), "05/01/2024 03:04:05");
    EXPECT_EQ(TimeChange::time2strByConf(std::string("20240105030405.0Z")), "05/01/2024 05:34:05");
    EXPECT_EQ(TimeChange::time2strByConf(std::string("yesterday")), "");
}

TEST_F(TimeFormat, OfAnOffsetIsThatFarFromNow) {
    configure(kCompact, kUtc);
    EXPECT_TRUE(agrees(
        [] { return TimeChange::getEMSTimeByNETime(3600); },
        [] { return TimeChange::time2strByConf(static_cast<long>(std::time(nullptr) + 3600)); }));
}

TEST_F(TimeFormat, OfNowHasLocalFieldsAndUnderAUtcReferenceAZToo) {
    configure(kCompact, kUtc);
    EXPECT_TRUE(agrees([] { return TimeChange::getTime(); },
                       [] { return TimeChange::getLocalTime() + ".0Z"; }));
    EXPECT_TRUE(agrees([] { return TimeChange::getUTCTime(); },
                       [] { return TimeChange::getLocalTime() + ".0Z"; }));
    configure(kCompact, kLocal);
    EXPECT_TRUE(agrees([] { return TimeChange::getTime(); },
                       [] { return TimeChange::getLocalTime() + ".0"; }));
}

TEST_F(TimeFormat, OfTheEpochByTime2strIsTheEpoch) {
    configure(kCompact, kLocal);
    EXPECT_EQ(TimeChange::time2str(0L), "19700101023000.0");
    EXPECT_EQ(TimeChange::time2GMStr(0), "19700101023000.0")
        << "local fields, in spite of the name";
    EXPECT_EQ(TimeChange::localTime2UTCstr(kMoment), "20240105053405.0");
    EXPECT_EQ(TimeChange::localTime2UTCstr(fields(2024, 1, 5, 5, 34, 5)), "20240105053405.0");
    EXPECT_TRUE(agrees([] { return TimeChange::time2GMStr(kNoMoment); },
                       [] { return TimeChange::getUTCTime(); }));
    EXPECT_TRUE(agrees([] { return TimeChange::time2str(kNoMoment); },
                       [] { return TimeChange::getTime(); }));
}

TEST_F(TimeFormat, InTheLayoutOfUtcHasTheFieldsOfItsName) {
    configure(kSlashed, kLocal);  // neither setting matters
    EXPECT_EQ(TimeChange::time2UTCStr(0L), "19700101000000.0Z");
    EXPECT_EQ(TimeChange::time2UTCStr(kMoment), "20240105030405.0Z");
    EXPECT_EQ(TimeChange::UTCtime2str(kMoment), "20240105053405.0Z") << "local fields";
    EXPECT_EQ(TimeChange::time2UTCStr(fields(2024, 1, 5, 5, 34, 5)), "20240105053405.0Z");
}

TEST_F(TimeFormat, OfAYearBeyond9999LosesItsFirstDigitInUTCtime2str) {
    constexpr long kYear10000 = 253402300800;
    EXPECT_EQ(TimeChange::UTCtime2str(kYear10000), " 00000101023000.0Z");
    EXPECT_EQ(TimeChange::time2UTCStr(kYear10000), "100000101000000.0Z");
}

TEST_F(TimeFormat, OfFieldsBeyondEveryCalendarIsStillAText) {
    std::tm time = fields(2024, 1, 5, 3, 4, 5);
    time.tm_year = std::numeric_limits<int>::max();
    time.tm_mon = std::numeric_limits<int>::max();
    EXPECT_EQ(TimeChange::time2UTCStr(time), "-2147481749-214748364805030405.0Z");
}

TEST_F(TimeFormat, OfAMomentWithoutFieldsIsNow) {
    EXPECT_TRUE(
        agrees([] { return TimeChange::time2UTCStr(kNoMoment); },
               [] { return TimeChange::time2UTCStr(static_cast<long>(std::time(nullptr))); }));
    EXPECT_TRUE(
        agrees([] { return TimeChange::UTCtime2str(kNoMoment); },
               [] { return TimeChange::UTCtime2str(static_cast<long>(std::time(nullptr))); }));
}

TEST_F(TimeFormat, LongTime2TMGivesUtcFieldsAndNowForZero) {
    const std::tm time = TimeChange::longTime2TM(kMoment);
    EXPECT_EQ(TimeChange::time2UTCStr(time), "20240105030405.0Z");
    const auto now = [] { return TimeChange::time2UTCStr(static_cast<long>(std::time(nullptr))); };
    EXPECT_TRUE(agrees([] { return TimeChange::time2UTCStr(TimeChange::longTime2TM(0)); }, now));
    EXPECT_TRUE(
        agrees([] { return TimeChange::time2UTCStr(TimeChange::longTime2TM(kNoMoment)); }, now));
}

TEST_F(TimeFormat, ZoneIsReadAgain) {
    EXPECT_EQ(TimeChange::GetNMTimeZone(), -9000);
    ::setenv("TZ", "TST5", 1);
    EXPECT_EQ(TimeChange::GetNMTimeZone(), 18000);
}

}  // namespace
}  // namespace NS_KELPCORBA
