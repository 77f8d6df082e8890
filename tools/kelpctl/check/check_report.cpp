#include "check/check_report.h"

#include <kelp/util/trace_log.h>

#include <array>
#include <cstddef>
#include <cstdio>

#include "check/check_sentence.h"

namespace kelp::ctl {

namespace {

constexpr std::size_t kDetailBytesMax = 300;

constexpr const char* kWithoutUser =
    "Without --user the check ends before the log-in; log-in, manager and event channel were not "
    "checked.";

constexpr std::array kStepNames = {"naming service", "naming entry", "address", "factory",
                                   "log-in",         "manager",      "channel", "log-out"};

const char* stateText(StepState state) {
    return state == StepState::Ok ? "ok" : state == StepState::Failed ? "failed" : "skipped";
}

double milliseconds(const StepResult& result) {
    return static_cast<double>(result.took.count()) / 1000;
}

std::string detailOf(const StepResult& result) {
    return util::escaped(result.failure ? result.failure->reason : result.detail, kDetailBytesMax);
}

std::string line(const StepResult& result) {
    char text[80];
    if (result.state == StepState::Skipped)
        std::snprintf(text, sizeof text, "%-14s  %-7s  %11s  ", nameOf(result.step),
                      stateText(result.state), "-");
    else
        std::snprintf(text, sizeof text, "%-14s  %-7s  %8.1f ms  ", nameOf(result.step),
                      stateText(result.state), milliseconds(result));
    return text + detailOf(result) + "\n";
}

std::string closing(const std::vector<StepResult>& steps, const CheckTarget& target) {
    if (const StepResult* failed = firstFailure(steps); failed != nullptr)
        return sentenceOf(*failed, target);
    return target.user.empty() ? kWithoutUser : "An NMS can log in and work.";
}

}  // namespace

const char* nameOf(Step step) {
    return kStepNames.at(static_cast<std::size_t>(step));
}

const StepResult* firstFailure(const std::vector<StepResult>& steps) {
    for (const StepResult& each : steps) {
        if (each.state == StepState::Failed)
            return &each;
    }
    return nullptr;
}

std::string checkTable(const std::vector<StepResult>& steps, const CheckTarget& target) {
    std::string text = "STEP            STATE           TIME  FOUND\n";
    for (const StepResult& each : steps)
        text += line(each);
    return text + "\n" + closing(steps, target) + "\n";
}

nlohmann::ordered_json checkJson(const std::vector<StepResult>& steps, const CheckTarget& target) {
    nlohmann::ordered_json all = nlohmann::ordered_json::array();
    for (const StepResult& each : steps)
        all.push_back({{"step", nameOf(each.step)},
                       {"state", stateText(each.state)},
                       {"ms", milliseconds(each)},
                       {"detail", detailOf(each)}});
    const StepResult* failed = firstFailure(steps);
    nlohmann::ordered_json answer = {
        {"ok", failed == nullptr}, {"withLogIn", !target.user.empty()}, {"steps", all}};
    if (failed != nullptr)
        answer["failed"] = nameOf(failed->step);
    answer["sentence"] = closing(steps, target);
    return answer;
}

}  // namespace kelp::ctl
