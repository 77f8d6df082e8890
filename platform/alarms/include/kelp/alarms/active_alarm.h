#pragma once

#include <kelp/alarms/alarm.h>
#include <kelp/util/export.h>

#include <cstdint>
#include <memory>
#include <string>
#include <vector>

namespace kelp::alarms {

/// An entry of the list of active alarms. Never changed after it was made: a change makes another
/// one, so that any thread may keep and read it. Times are microseconds since the epoch by the
/// EMS's clock; 0 is never.
struct KELP_EXPORT ActiveAlarm {
    /// The fields of the last event about this alarm, with its acknowledgement.
    Alarm alarm;
    Position notificationId = 0;  ///< of that event
    std::int64_t changedAt = 0;   ///< emsTime of that event
    std::int64_t raisedAt = 0;    ///< emsTime of the event that made it active
    std::int64_t reportedAt = 0;  ///< of the last report, also of one that was not sent
    std::string acknowledgedBy;   ///< who acknowledged it, or took that back; empty: nobody
    std::int64_t acknowledgedAt = 0;
    std::string notepad;        ///< given with the acknowledgement
    std::uint64_t repeats = 0;  ///< reports that were counted, not sent
    bool isFlapping = false;    ///< its reports are counted until it is quiet
    /// The last report of a flapping alarm, when it differs from `alarm`: what Settle sends.
    std::shared_ptr<const Alarm> unsent;
    /// When it was raised after a clear, within `flapWindow`; how the list knows that it flaps.
    std::vector<std::int64_t> raises;

    bool isAcknowledged() const {
        return alarm.acknowledgeIndication == Acknowledgement::Acknowledged;
    }
    /// Compares what `unsent` points to.
    bool operator==(const ActiveAlarm& other) const;
};
using Entry = std::shared_ptr<const ActiveAlarm>;

/// An alarm that is over, or that has no end that could be reported.
struct PastAlarm {
    ActiveAlarm last;             ///< as it was before the clear
    Position notificationId = 0;  ///< of the clear's event; of its only event when not clearable
    std::int64_t endedAt = 0;     ///< emsTime of that event

    bool operator==(const PastAlarm&) const = default;
};
using PastEntry = std::shared_ptr<const PastAlarm>;

}  // namespace kelp::alarms
