#include "alarm_submission.h"

#include <kelp/util/trace_limit.h>

#include <cstddef>
#include <utility>

namespace kelp::snmp {

namespace {

using alarms::IntakeRefused;
using Why = IntakeRefused::Why;

void traceRefusal(const IntakeRefused& refused, std::size_t count) {
    util::TraceLine line;
    line.file = "snmpbundle";
    line.function = "unknown";
    line.text = std::to_string(count) +
                (count == 1 ? " alarm of a trap is" : " alarms of traps are") +
                " not accepted: " + refused.what();
    util::traceLimited(std::move(line), "alarms of traps not accepted");
}

/// One of the alarms is refused for what it is, not for the state of the service.
bool isAboutOneAlarm(const IntakeRefused& refused) {
    return refused.why() == Why::Full || refused.why() == Why::Invalid;
}

/// Submit the alarms from `first` up to `end` together. False if they are refused; alarms of a
/// refusal that is about one of them can be submitted alone.
bool submitTogether(alarms::AlarmService& service, const std::vector<traps::Submission>& all,
                    std::size_t first, std::size_t end, bool& mayTryEach) {
    std::vector<alarms::Submission> changes;
    for (std::size_t at = first; at < end; ++at)
        changes.emplace_back(alarms::Report{all[at].alarm});
    try {
        service.submit(std::move(changes), all[first].key);
        return true;
    } catch (const IntakeRefused& refused) {
        // an inform that repeats is accepted already, also when it is mapped in another way now
        if (refused.why() == Why::Conflict)
            return true;
        mayTryEach = isAboutOneAlarm(refused) && end - first > 1;
        if (!mayTryEach)
            traceRefusal(refused, end - first);
        return false;
    }
}

}  // namespace

std::vector<bool> submitAlarms(alarms::AlarmService& service,
                               const std::vector<traps::Submission>& all) {
    std::vector<bool> stored(all.size(), false);
    for (std::size_t first = 0; first < all.size();) {
        std::size_t end = first + 1;
        while (all[first].key.empty() && end < all.size() && all[end].key.empty())
            ++end;
        bool mayTryEach = false;
        const bool areStored = submitTogether(service, all, first, end, mayTryEach);
        for (std::size_t at = first; at < end; ++at) {
            bool ignored = false;
            stored[at] =
                areStored || (mayTryEach && submitTogether(service, all, at, at + 1, ignored));
        }
        first = end;
    }
    return stored;
}

}  // namespace kelp::snmp
