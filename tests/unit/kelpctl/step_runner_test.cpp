#include "kelpctl/check/step_runner.h"

#include <gtest/gtest.h>

#include <future>
#include <memory>

namespace kelp::ctl {
namespace {

constexpr std::chrono::seconds kLong{30};

std::string found() {
    return "found";
}

std::string refused() {
    throw StepFailed({Cause::Refused, "10.0.0.5:4001", "refused"});
}

std::string foreign() {
    throw 7;  // what a library may throw that is no std::exception
}

TEST(StepRunner, MakesEveryStep) {
    const RunResult run =
        runSteps({{Step::Naming, Step::Naming, found}, {Step::Entry, Step::Naming, found}}, kLong);
    ASSERT_EQ(run.steps.size(), 2u);
    EXPECT_EQ(firstFailure(run.steps), nullptr);
    EXPECT_EQ(run.steps[1].state, StepState::Ok);
    EXPECT_EQ(run.steps[1].detail, "found");
}

TEST(StepRunner, SkipsWhatNeedsAFailedStepButNotTheOthers) {
    const RunResult run = runSteps({{Step::LogIn, Step::LogIn, found},
                                    {Step::Manager, Step::LogIn, refused},
                                    {Step::Channel, Step::Manager, found},
                                    {Step::LogOut, Step::LogIn, found}},
                                   kLong);
    ASSERT_NE(firstFailure(run.steps), nullptr);
    EXPECT_EQ(firstFailure(run.steps)->failure->address, "10.0.0.5:4001");
    EXPECT_EQ(run.steps[2].state, StepState::Skipped);
    EXPECT_EQ(run.steps[3].state, StepState::Ok);
}

TEST(StepRunner, SkipsAStepWithoutAnAction) {
    const RunResult run = runSteps({{Step::LogIn, Step::LogIn, nullptr}}, kLong);
    EXPECT_EQ(run.steps[0].state, StepState::Skipped);
    EXPECT_EQ(run.steps[0].detail, "no --user");
    EXPECT_EQ(firstFailure(run.steps), nullptr);
}

TEST(StepRunner, TakesAnyExceptionForAFailure) {
    const RunResult run = runSteps({{Step::Naming, Step::Naming, foreign}}, kLong);
    EXPECT_EQ(run.steps[0].state, StepState::Failed);
    EXPECT_FALSE(run.isStuck);
}

TEST(StepRunner, GivesUpAStepThatExceedsItsLimitAndSkipsTheRest) {
    const auto end = std::make_shared<std::promise<void>>();
    const auto ended = std::make_shared<std::promise<void>>();
    const auto mayEnd = end->get_future().share();
    const auto hangs = [mayEnd, ended] {
        mayEnd.wait();
        ended->set_value();
        return std::string();
    };
    const RunResult run = runSteps({{Step::Naming, Step::Naming, hangs, "10.0.0.1:4801"},
                                    {Step::Entry, Step::Naming, found},
                                    {Step::LogIn, Step::LogIn, found}},
                                   std::chrono::milliseconds(20));
    EXPECT_TRUE(run.isStuck);
    EXPECT_EQ(run.steps[0].failure->cause, Cause::NoAnswer);
    EXPECT_EQ(run.steps[0].failure->address, "10.0.0.1:4801");
    EXPECT_EQ(run.steps[1].state, StepState::Skipped);
    EXPECT_EQ(run.steps[2].state, StepState::Skipped);
    end->set_value();
    ended->get_future().wait();
}

}  // namespace
}  // namespace kelp::ctl
