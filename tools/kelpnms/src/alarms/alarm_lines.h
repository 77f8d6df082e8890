#pragma once

#include <functional>
#include <memory>
#include <string>
#include <utility>

#include "alarms/alarm_display.h"
#include "alarms/alarm_filter.h"
#include "events/event_report.h"

namespace kelp::nms {

/// Writes each change of the alarms and each notice as one line: a row of a table, or JSON.
class AlarmLines : public AlarmDisplay {
  public:
    /// Changes are written if the filter accepts the alarm before or after the change.
    AlarmLines(EventReport::Surroundings surroundings, AlarmFilter filter);

    void changed(const AlarmChange& change) override;
    void notice(const Notice& notice) override;
    void stateIs(State) override {}
    void resynchronised(const AlarmView&) override {}

  private:
    const EventReport::Surroundings to_;
    EventReport notices_;
    const AlarmFilter filter_;
    bool hasBegun_ = false;
};

/// The name of a change in the output: "new", "changed", "acknowledged", "unacknowledged",
/// "cleared" or "message".
const char* changeName(AlarmChange::What what);

}  // namespace kelp::nms
