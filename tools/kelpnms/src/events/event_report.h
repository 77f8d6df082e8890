#pragma once

#include <functional>
#include <string>

#include "app/notice.h"
#include "events/event_record.h"
#include "text/clock_text.h"

namespace kelp::nms {

/// Writes events and notices, one line each, as a table or as JSON. Not thread-safe.
class EventReport {
  public:
    struct Surroundings {
        bool json = false;
        bool colours = false;               ///< never set together with json
        std::function<unsigned()> width;    ///< current columns of the terminal; 0: no terminal
        std::function<WallTime()> wallNow;  ///< this host's time
        std::function<void(const std::string&)> write;
    };

    explicit EventReport(Surroundings surroundings) : to_(std::move(surroundings)) {}

    /// Write the table's header.
    void begin();
    void event(const EventRecord& event, bool isDuplicate);
    void notice(const Notice& notice);

  private:
    std::string timeFor(unsigned width) const;

    const Surroundings to_;
};

}  // namespace kelp::nms
