#include "service/intake_counts.h"

namespace kelp::alarms {

namespace {

constexpr const char* kEms = "EMS";
constexpr const char* kOthers = "others";

}  // namespace

SourceCounts& IntakeCounts::of(const std::string& source) {
    std::string name = source.empty() ? kEms : source;
    if (bySource_.size() >= AlarmService::kSourcesMax && !bySource_.contains(name))
        name = kOthers;
    SourceCounts& counts = bySource_[name];
    counts.source = name;
    return counts;
}

void IntakeCounts::accepted(const std::string& source, const std::vector<Result>& results) {
    const util::MutexLock lock(mutex_);
    SourceCounts& counts = of(source);
    for (const Result& each : results)
        ++(each.outcome ? counts.accepted : counts.known);
}

void IntakeCounts::refused(const std::string& source, std::size_t changes) {
    const util::MutexLock lock(mutex_);
    of(source).refused += changes;
}

std::vector<SourceCounts> IntakeCounts::all() const {
    const util::MutexLock lock(mutex_);
    std::vector<SourceCounts> counts;
    for (const auto& [name, each] : bySource_)
        counts.push_back(each);
    return counts;
}

}  // namespace kelp::alarms
