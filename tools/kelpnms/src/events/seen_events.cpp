#include "events/seen_events.h"

#include <kelp/util/json_text.h>

#include <functional>

namespace kelp::nms {

namespace {

using Json = nlohmann::ordered_json;

std::size_t hashOf(const EventRecord& event) {
    return std::hash<std::string>{}(event.type + '\n' + util::jsonText(event.fields));
}

}  // namespace

bool SeenEvents::isAgain(const std::string& notificationId, const EventRecord& event) {
    const std::size_t hash = hashOf(event);
    const auto [found, isNew] = hashes_.try_emplace(notificationId, hash);
    if (!isNew) {
        const bool isSame = found->second == hash;
        found->second = hash;
        return isSame;
    }
    order_.push_back(notificationId);
    if (order_.size() > eventsMax_) {
        hashes_.erase(order_.front());
        order_.pop_front();
    }
    return false;
}

void SeenEvents::forget() {
    hashes_.clear();
    order_.clear();
}

}  // namespace kelp::nms
