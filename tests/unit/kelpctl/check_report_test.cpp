#include "kelpctl/check/check_report.h"

#include <gtest/gtest.h>

namespace kelp::ctl {
namespace {

using std::chrono::microseconds;

std::vector<StepResult> staleEntry() {
    return {{Step::Naming, StepState::Ok, microseconds(1500), "10.0.0.1:4801"},
            {Step::Address, StepState::Failed, microseconds(200), "",
             Failure{Cause::Refused, "10.0.0.5:4001", "Connection refused"}},
            {Step::Factory, StepState::Skipped, microseconds(0), "an earlier step failed"}};
}

TEST(CheckReport, ShowsEachStepAndTheSentenceAboutTheFirstThatFailed) {
    EXPECT_EQ(checkTable(staleEntry(), {}),
              "STEP            STATE           TIME  FOUND\n"
              "naming service  ok            1.5 ms  10.0.0.1:4801\n"
              "address         failed        0.2 ms  Connection refused\n"
              "factory         skipped            -  an earlier step failed\n"
              "\n"
              "The naming entry points to 10.0.0.5:4001, which nobody listens on: an old entry? "
              "Start kelpd, which replaces it, or remove the entry.\n");
}

TEST(CheckReport, SaysWhatWasNotCheckedWithoutAUser) {
    const std::string text = checkTable({{Step::Naming, StepState::Ok, microseconds(1), ""}}, {});
    EXPECT_NE(text.find("log-in, manager and event channel were not checked"), std::string::npos);
    CheckTarget withUser;
    withUser.user = "probe";
    EXPECT_NE(checkTable({{Step::Naming, StepState::Ok, microseconds(1), ""}}, withUser)
                  .find("An NMS can log in and work."),
              std::string::npos);
}

TEST(CheckReport, WritesTheSameAsJson) {
    const nlohmann::ordered_json answer = checkJson(staleEntry(), {});
    EXPECT_EQ(answer.at("ok"), false);
    EXPECT_EQ(answer.at("failed"), "address");
    EXPECT_EQ(answer.at("steps").size(), 3u);
    EXPECT_EQ(answer.at("steps")[1].at("state"), "failed");
    EXPECT_EQ(answer.at("steps")[0].at("ms"), 1.5);
    EXPECT_TRUE(answer.at("sentence").get<std::string>().starts_with("The naming entry points to"));
}

TEST(CheckReport, EscapesWhatAPeerAnswers) {
    const std::vector<StepResult> steps = {{Step::Factory, StepState::Ok, microseconds(1),
                                            "version \x1b[2J" + std::string(9999, 'x')}};
    EXPECT_EQ(checkTable(steps, {}).find('\x1b'), std::string::npos);
    EXPECT_LT(checkTable(steps, {}).size(), 1000u);
    EXPECT_LT(checkJson(steps, {}).dump().size(), 1000u);
}

}  // namespace
}  // namespace kelp::ctl
