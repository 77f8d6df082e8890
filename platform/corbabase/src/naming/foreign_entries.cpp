#include "naming/foreign_entries.h"

#include <algorithm>
#include <utility>

namespace NS_CORBA {

std::optional<ForeignEntries::Report> ForeignEntries::found(const std::string& kind, Time now) {
    const auto same = std::find_if(known_.begin(), known_.end(),
                                   [&](const Known& each) { return each.kind == kind; });
    if (same != known_.end()) {
        ++same->unrecorded;
        return std::nullopt;
    }
    if (known_.size() >= kKindsMax) {
        known_.erase(std::min_element(
            known_.begin(), known_.end(),
            [](const Known& one, const Known& other) { return one.recorded < other.recorded; }));
    }
    known_.push_back({kind, 0, now});
    return Report{kind, 1};
}

std::vector<ForeignEntries::Report> ForeignEntries::due(Time now) {
    std::vector<Report> reports;
    for (Known& each : known_) {
        if (each.unrecorded == 0 || now - each.recorded < kPeriod)
            continue;
        reports.push_back({each.kind, std::exchange(each.unrecorded, 0)});
        each.recorded = now;
    }
    return reports;
}

}  // namespace NS_CORBA
