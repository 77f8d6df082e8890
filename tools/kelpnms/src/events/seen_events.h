#pragma once

#include <cstddef>
#include <deque>
#include <string>
#include <unordered_map>

#include "events/event_record.h"

namespace kelp::nms {

/// The newest events by their notification ids. An event that an EMS sends again, not knowing
/// whether it arrived, is the same in every field; another event may bear an id that has been used
/// (TMF 814 SD1-26).
class SeenEvents {
  public:
    explicit SeenEvents(std::size_t eventsMax) : eventsMax_(eventsMax) {}

    /// Remembers the event. True when it has been seen before.
    bool isAgain(const std::string& notificationId, const EventRecord& event);
    void forget();

  private:
    const std::size_t eventsMax_;
    std::unordered_map<std::string, std::size_t> hashes_;  ///< of the last event by each id
    std::deque<std::string> order_;                        ///< their ids, the oldest first
};

}  // namespace kelp::nms
