#include <gtest/gtest.h>
#include <kelp/agent/time_change.h>

#include <cmath>

#include "time_settings.h"

namespace NS_KELPCORBA {
namespace {

using namespace test;

class TimeParse : public testing::Test {
  protected:
    TimeParse() { setZone(kEast); }

    /// Return the time that a text denotes. Fail the test if the text is unreadable.
    static std::time_t momentOf(const std::string& text) {
        bool err = true;
        std::tm time = TimeChange::str2Time(text, err);
        EXPECT_FALSE(err) << text;
        return std::mktime(&time);
    }
    static void expectUnreadable(const std::string& text) {
        bool err = false;
        std::tm time = TimeChange::str2Time(text, err);
        EXPECT_TRUE(err) << text;
        EXPECT_LE(std::abs(std::difftime(std::mktime(&time), std::time(nullptr))), 2)
            << text << ": not now";
    }
};

TEST_F(TimeParse, TakesEveryLayoutAsLocalTimeOrUtc) {
    constexpr std::time_t kLocalMoment = kMoment - 9000;
    EXPECT_EQ(momentOf("20240105030405"), kLocalMoment);
    EXPECT_EQ(momentOf("20240105030405.0"), kLocalMoment);
    EXPECT_EQ(momentOf("20240105030405.9"), kLocalMoment);
    EXPECT_EQ(momentOf("05/01/2024 03:04:05"), kLocalMoment);
    EXPECT_EQ(momentOf("20240105030405.0Z"), kMoment);
    EXPECT_EQ(momentOf("05/01/2024 03:04:05Z"), kMoment);
}

TEST_F(TimeParse, GivesLocalFields) {
    bool err = true;
    const std::tm time = TimeChange::str2Time("20240105030405.0Z", err);
    EXPECT_EQ(time.tm_hour, 5);
    EXPECT_EQ(time.tm_min, 34);
    EXPECT_EQ(time.tm_sec, 5);
}

TEST_F(TimeParse, RefusesOtherLengths) {
    for (const char* text :
         {"", "2024010503040", "20240105030405.", "20240105030405.0ZZ", "20240105030405.0+01",
          "20240105030405.0Z+01", "20240105030405.0Z+01000"})
        expectUnreadable(text);
}

TEST_F(TimeParse, RefusesAnOffsetFromUtc) {
    for (const char* text : {"20240105030405.0+0100", "20240105030405.0-0100",
                             "20240105030405.0Z+0100", "20240105030405.0Z-0100"})
        expectUnreadable(text);
}

TEST_F(TimeParse, RefusesWhatIsNoDigit) {
    expectUnreadable("2024010503040x");
    expectUnreadable("x0240105030405.0");
    expectUnreadable("20240105030405.x");
    expectUnreadable("20240105 30405.0Z");
    expectUnreadable("-0240105030405.0");
    expectUnreadable("0x/01/2024 03:04:05");
}

TEST_F(TimeParse, RefusesWrongSeparators) {
    expectUnreadable("20240105030405,0");
    expectUnreadable("20240105030405.0z");
    for (const char* text : {"05-01-2024 03:04:05", "05-01/2024 03:04:05", "05/01-2024 03:04:05",
                             "05/01/2024T03:04:05", "05/01/2024 03.04:05", "05/01/2024 03:04.05"})
        expectUnreadable(text);
    expectUnreadable("05/01/2024 03:04:05z");
}

TEST_F(TimeParse, RefusesFieldsThatAreTooLarge) {
    for (const char* text :
         {"20241305030405", "20240132030405", "20240105240405", "20240105036005", "20240105030460"})
        expectUnreadable(text);
}

TEST_F(TimeParse, DoesNotLookForFieldsThatAreTooSmall) {
    EXPECT_EQ(momentOf("20240005030405"), momentOf("20231205030405"));
    EXPECT_EQ(momentOf("20240100030405"), momentOf("20231231030405"));
}

}  // namespace
}  // namespace NS_KELPCORBA
