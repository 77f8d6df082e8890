#pragma once

#include <chrono>
#include <functional>
#include <stdexcept>
#include <string>
#include <vector>

#include "check/check_result.h"

namespace kelp::ctl {

/// Ends the step that throws it.
class StepFailed : public std::runtime_error {
  public:
    explicit StepFailed(Failure failure)
        : std::runtime_error(failure.reason), failure_(std::move(failure)) {}
    const Failure& failure() const { return failure_; }

  private:
    Failure failure_;
};

/// A step and how it is made.
struct StepPlan {
    Step step = Step::Naming;
    Step needs = Step::Naming;  ///< runs only after this step has succeeded; the first needs itself
    /// Makes the step and returns what it found. Throws StepFailed. Runs on another thread, and
    /// goes on there if it exceeds its limit, so it must own what it uses. Null: the step is
    /// skipped.
    std::function<std::string()> action;
    std::string address{};  ///< for the failure of a step that exceeds its limit
};

struct RunResult {
    std::vector<StepResult> steps;
    /// A step exceeded its limit and still runs. The process must leave without destroying what the
    /// step may use.
    bool isStuck = false;
};

/// Make the steps one after the other, each within `limit`. A step that fails does not end the run:
/// those that do not need it still run. After a step that exceeds its limit no other runs.
RunResult runSteps(const std::vector<StepPlan>& plan, std::chrono::milliseconds limit);

}  // namespace kelp::ctl
