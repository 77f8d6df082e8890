#include <kelp/admin/conditions.h>

#include <algorithm>
#include <utility>

namespace kelp::admin {

namespace {

using std::chrono::microseconds;
using std::chrono::system_clock;

constexpr const char* kAsk = "ASK";

Json jsonOf(const Condition& condition) {
    Json json = {{"word", condition.word},
                 {"severity", static_cast<int>(condition.severity)},
                 {"sentence", condition.sentence},
                 {"advice", condition.advice}};
    if (condition.since)
        json["since"] =
            std::chrono::duration_cast<microseconds>(condition.since->time_since_epoch()).count();
    return json;
}

Condition conditionOf(const Json& json) {
    Condition condition{json.at("word"), static_cast<Severity>(json.at("severity").get<int>()),
                        json.at("sentence"), std::nullopt, json.at("advice")};
    if (json.contains("since"))
        condition.since =
            system_clock::time_point(std::chrono::duration_cast<system_clock::duration>(
                microseconds(json.at("since").get<std::int64_t>())));
    return condition;
}

bool isWorse(const Condition& one, const Condition& other) {
    return one.severity > other.severity;
}

/// Ask one source. Replace what is more than shown by one condition as bad as the worst of it.
Json ask(const std::string& name, const ConditionSource& source) {
    std::vector<Condition> all = source();
    std::stable_sort(all.begin(), all.end(), isWorse);
    if (all.size() > Conditions::kShownMax) {
        const std::size_t more = all.size() - Conditions::kShownMax;
        const Severity worst = all[Conditions::kShownMax].severity;
        all.resize(Conditions::kShownMax);
        all.push_back({"more", worst, std::to_string(more) + " more conditions of " + name,
                       std::nullopt, "repair those that are shown"});
    }
    Json answer = Json::array();
    for (const Condition& each : all)
        answer.push_back(jsonOf(each));
    return answer;
}

}  // namespace

std::string nameOf(Severity severity) {
    switch (severity) {
        case Severity::Notice:
            return "notice";
        case Severity::Warning:
            return "warning";
        case Severity::Critical:
            break;
    }
    return "critical";
}

Conditions& Conditions::instance() {
    // Bundles that nobody stopped may leave after its destruction: a registration shares the state.
    static Conditions instance;
    return instance;
}

Registration Conditions::enter(const std::string& name, ConditionSource source) {
    return sources_.enter(kAsk, "/" + name, [name, source = std::move(source)](const Json&) {
        return ask(name, source);
    });
}

std::vector<Condition> Conditions::current() {
    std::vector<Condition> all;
    for (const KnownRequest& each : sources_.known()) {
        const Answer answer = sources_.answer(kAsk, each.path, {});
        if (answer.status == RequestError::kNotFound)
            continue;  // it has just left
        if (answer.status != 200) {
            all.push_back({"check-failed", Severity::Warning,
                           "the check of " + each.path.substr(1) +
                               " failed: " + answer.body.value("error", ""),
                           std::nullopt, "see the trace"});
            continue;
        }
        for (const Json& json : answer.body)
            all.push_back(conditionOf(json));
    }
    std::stable_sort(all.begin(), all.end(), isWorse);
    return all;
}

}  // namespace kelp::admin
