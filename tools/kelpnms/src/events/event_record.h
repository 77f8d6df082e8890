#pragma once

#include <nlohmann/json.hpp>

#include <string>

namespace kelp::nms {

/// An event of the EMS in plain values: its type, and its filterable data by name, as asJson()
/// converts them.
struct EventRecord {
    std::string type;
    nlohmann::ordered_json fields = nlohmann::ordered_json::object();
    /// What a change of the network is about, in the form of a dump: "name", and "object" with the
    /// created object or "attributes" with the list of changed ones. Null for other events.
    nlohmann::ordered_json change = nullptr;
};

/// Return the text of a field. Empty if there is no text field of that name.
std::string textOf(const EventRecord& event, const std::string& field);

/// Whether the event only reports that the EMS is alive: NT_HEARTBEAT, or an alarm of the EMS
/// itself whose cause is "Heartbeat".
bool isHeartbeat(const EventRecord& event);

/// Return the notification id without blanks around it. Empty if there is none, and for heartbeats,
/// because their id does not identify an event.
std::string notificationIdOf(const EventRecord& event);

}  // namespace kelp::nms
