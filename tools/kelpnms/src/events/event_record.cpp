#include "events/event_record.h"

namespace kelp::nms {

std::string textOf(const EventRecord& event, const std::string& field) {
    const auto found = event.fields.find(field);
    return found != event.fields.end() && found->is_string() ? found->get<std::string>()
                                                             : std::string();
}

bool isHeartbeat(const EventRecord& event) {
    if (event.type == "NT_HEARTBEAT")
        return true;
    return event.type == "NT_ALARM" && textOf(event, "objectType") == "OT_EMS" &&
           textOf(event, "probableCause") == "Heartbeat" &&
           textOf(event, "nativeProbableCause") == "Heartbeat";
}

std::string notificationIdOf(const EventRecord& event) {
    if (isHeartbeat(event))
        return {};
    const std::string id = textOf(event, "notificationId");
    const std::size_t begin = id.find_first_not_of(' ');
    if (begin == std::string::npos)
        return {};
    return id.substr(begin, id.find_last_not_of(' ') - begin + 1);
}

}  // namespace kelp::nms
