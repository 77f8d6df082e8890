#pragma once

#include <kelp/alarms/alarm.h>
#include <kelp/alarms/change.h>

#include <cstdint>
#include <memory>
#include <optional>
#include <variant>

namespace kelp::alarms {

/// What is to be sent to the NMS: NT_ALARM, or an event about an object. Cheap to copy.
struct Event {
    using AlarmContent = std::shared_ptr<const Alarm>;
    using NetworkContent = std::shared_ptr<const NetworkChange>;

    Position position = 0;     ///< of its record; as text it is the notificationId
    std::int64_t emsTime = 0;  ///< microseconds since the epoch
    std::variant<AlarmContent, NetworkContent> what;
};

/// What has become of a change.
enum class Outcome {
    Raised,          ///< an alarm became active; event
    Changed,         ///< an active alarm has other values; event
    Cleared,         ///< an alarm is over; event
    Repeated,        ///< the list shows this state already; counted
    Coalesced,       ///< about a flapping alarm; counted and remembered
    Passed,          ///< an alarm that is not clearable, or about an object; event only
    NotActive,       ///< a clear, acknowledgement or Settle of an alarm that is not active
    Acknowledged,    ///< event
    Unacknowledged,  ///< event
    AlreadySo        ///< an acknowledgement that changes nothing, or a Settle with nothing to send
};

/// Its name ("raised", "not active") for answers and tables.
KELP_EXPORT const char* nameOf(Outcome outcome);

struct Effect {
    Outcome outcome = Outcome::AlreadySo;
    std::optional<Event> event;
};

}  // namespace kelp::alarms
