#include "check/step_runner.h"

#include <kelp/util/threads.h>

#include <algorithm>
#include <future>
#include <memory>
#include <thread>
#include <utility>

namespace kelp::ctl {

namespace {

bool hasSucceeded(const std::vector<StepResult>& results, Step step) {
    return std::any_of(results.begin(), results.end(), [step](const StepResult& each) {
        return each.step == step && each.state == StepState::Ok;
    });
}

void fail(StepResult& result, Failure failure) {
    result.state = StepState::Failed;
    result.failure = std::move(failure);
}

/// Make one step. Return false if it exceeds the limit and still runs.
bool make(const StepPlan& plan, std::chrono::milliseconds limit, StepResult& result) {
    const auto task = std::make_shared<std::packaged_task<std::string()>>(plan.action);
    std::future<std::string> found = task->get_future();
    std::thread thread = util::startThread("check", [task] { (*task)(); });
    if (found.wait_for(limit) != std::future_status::ready) {
        thread.detach();
        fail(result, {Cause::NoAnswer, plan.address, "no answer in time"});
        return false;
    }
    thread.join();
    try {
        result.detail = found.get();
        result.state = StepState::Ok;
    } catch (const StepFailed& failed) {
        fail(result, failed.failure());
    } catch (...) {
        fail(result, {Cause::Other, plan.address, util::currentExceptionText()});
    }
    return true;
}

}  // namespace

RunResult runSteps(const std::vector<StepPlan>& plan, std::chrono::milliseconds limit) {
    RunResult run;
    for (const StepPlan& each : plan) {
        StepResult result;
        result.step = each.step;
        const bool isFirst = each.needs == each.step;
        if (!each.action) {
            result.detail = "no --user";
        } else if (run.isStuck || (!isFirst && !hasSucceeded(run.steps, each.needs))) {
            result.detail = "an earlier step failed";
        } else {
            const auto begin = std::chrono::steady_clock::now();
            run.isStuck = !make(each, limit, result);
            result.took = std::chrono::duration_cast<std::chrono::microseconds>(
                std::chrono::steady_clock::now() - begin);
        }
        run.steps.push_back(std::move(result));
    }
    return run;
}

}  // namespace kelp::ctl
