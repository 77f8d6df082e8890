#include <gtest/gtest.h>
#include <kelp/admin/conditions.h>

#include <stdexcept>

namespace kelp::admin {
namespace {

Condition conditionWith(const std::string& word, Severity severity) {
    return {word, severity, "it is " + word, std::nullopt, "repair it"};
}

TEST(Conditions, ShowTheWorstFirst) {
    Conditions conditions;
    const Registration first = conditions.enter(
        "first", [] { return std::vector{conditionWith("late", Severity::Warning)}; });
    const Registration second = conditions.enter("second", [] {
        return std::vector{conditionWith("new", Severity::Notice),
                           conditionWith("broken", Severity::Critical)};
    });
    const std::vector<Condition> all = conditions.current();
    ASSERT_EQ(all.size(), 3u);
    EXPECT_EQ(all[0].word, "broken");
    EXPECT_EQ(all[0].sentence, "it is broken");
    EXPECT_EQ(all[1].word, "late");
    EXPECT_EQ(all[2].word, "new");
}

TEST(Conditions, KeepTheTime) {
    Conditions conditions;
    Condition old = conditionWith("old", Severity::Warning);
    old.since = std::chrono::system_clock::time_point(std::chrono::microseconds(1'700'000'000'123));
    const Registration source = conditions.enter("source", [&] { return std::vector{old}; });
    EXPECT_EQ(conditions.current().at(0).since, old.since);
}

TEST(Conditions, ShowASourceThatFails) {
    Conditions conditions;
    const Registration source = conditions.enter(
        "disk", []() -> std::vector<Condition> { throw std::runtime_error("gone"); });
    const std::vector<Condition> all = conditions.current();
    ASSERT_EQ(all.size(), 1u);
    EXPECT_EQ(all[0].word, "check-failed");
    EXPECT_EQ(all[0].sentence, "the check of disk failed: gone");
}

TEST(Conditions, SummariseMoreThanTheLimit) {
    Conditions conditions;
    const Registration source = conditions.enter("many", [] {
        return std::vector<Condition>(Conditions::kShownMax + 5,
                                      conditionWith("silent", Severity::Warning));
    });
    const std::vector<Condition> all = conditions.current();
    ASSERT_EQ(all.size(), Conditions::kShownMax + 1);
    EXPECT_EQ(all.back().sentence, "5 more conditions of many");
}

TEST(Conditions, AskNoSourceThatHasLeft) {
    Conditions conditions;
    Registration source = conditions.enter(
        "source", [] { return std::vector{conditionWith("late", Severity::Warning)}; });
    source.leave();
    EXPECT_TRUE(conditions.current().empty());
}

}  // namespace
}  // namespace kelp::admin
