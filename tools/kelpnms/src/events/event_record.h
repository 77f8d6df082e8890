#pragma once

#include <nlohmann/json.hpp>

#include <string>

namespace kelp::nms {

/// An event of the EMS in plain values: its type and its filterable data by name, as asJson() shows
/// them.
struct EventRecord {
    std::string type;
    nlohmann::ordered_json fields = nlohmann::ordered_json::object();
};

/// A text out of the fields; empty when there is none of that name.
std::string textOf(const EventRecord& event, const std::string& field);

/// Whether the event says no more than that the EMS is alive: NT_HEARTBEAT, or an alarm of the EMS
/// itself whose cause is "Heartbeat".
bool isHeartbeat(const EventRecord& event);

/// The notification id without the blanks around it; empty for none and for heartbeats, whose id is
/// no name.
std::string notificationIdOf(const EventRecord& event);

}  // namespace kelp::nms
