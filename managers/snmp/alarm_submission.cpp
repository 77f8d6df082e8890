#include "alarm_submission.h"

#include <kelp/util/trace_limit.h>

#include <cstddef>
#include <utility>

namespace kelp::snmp {

namespace {

using alarms::IntakeRefused;

void traceRefusal(const IntakeRefused& refused, std::size_t count) {
    util::TraceLine line;
    line.file = "snmpbundle";
    line.function = "unknown";
    line.text = std::to_string(count) +
                (count == 1 ? " alarm of a trap is" : " alarms of traps are") +
                " not accepted: " + refused.what();
    util::traceLimited(std::move(line), "alarms of traps not accepted");
}

/// Submit the alarms from `first` up to `end` together. False if they are refused; alarms of a
/// refusal that is about one of them can be submitted alone.
bool submitTogether(const alarms::Intake& intake, const std::vector<traps::Submission>& all,
                    std::size_t first, std::size_t end, bool& mayTryEach) {
    std::vector<alarms::Alarm> reports;
    for (std::size_t at = first; at < end; ++at)
        reports.push_back(all[at].alarm);
    try {
        intake.submit(std::move(reports), all[first].key);
        return true;
    } catch (const IntakeRefused& refused) {
        // an inform that repeats is accepted already, also when it is mapped in another way now
        if (refused.why() == IntakeRefused::Why::Conflict)
            return true;
        mayTryEach = !refused.isTemporary() && end - first > 1;
        if (!mayTryEach)
            traceRefusal(refused, end - first);
        return false;
    }
}

}  // namespace

std::vector<bool> submitAlarms(const alarms::Intake& intake,
                               const std::vector<traps::Submission>& all) {
    std::vector<bool> stored(all.size(), false);
    for (std::size_t first = 0; first < all.size();) {
        std::size_t end = first + 1;
        while (all[first].key.empty() && end < all.size() && all[end].key.empty())
            ++end;
        bool mayTryEach = false;
        const bool areStored = submitTogether(intake, all, first, end, mayTryEach);
        for (std::size_t at = first; at < end; ++at) {
            bool ignored = false;
            stored[at] =
                areStored || (mayTryEach && submitTogether(intake, all, at, at + 1, ignored));
        }
        first = end;
    }
    return stored;
}

}  // namespace kelp::snmp
