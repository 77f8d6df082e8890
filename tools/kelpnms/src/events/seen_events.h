#pragma once

#include <cstddef>
#include <deque>
#include <string>
#include <unordered_map>

#include "events/event_record.h"

namespace kelp::nms {

/// The newest events by their notification ids. An EMS that does not know whether an event arrived
/// sends it again with every field the same. A different event may have an id that was used before
/// (TMF 814 SD1-26).
class SeenEvents {
  public:
    explicit SeenEvents(std::size_t eventsMax) : eventsMax_(eventsMax) {}

    /// Remember the event. Returns true when it has been seen before.
    bool isAgain(const std::string& notificationId, const EventRecord& event);
    void forget();

  private:
    const std::size_t eventsMax_;
    std::unordered_map<std::string, std::size_t> hashes_;  ///< hash of the last event with each id
    std::deque<std::string> order_;                        ///< the ids, oldest first
};

}  // namespace kelp::nms
