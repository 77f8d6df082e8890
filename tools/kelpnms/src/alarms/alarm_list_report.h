#pragma once

#include <functional>
#include <optional>
#include <string>
#include <utility>
#include <vector>

#include "alarms/alarm_display.h"
#include "alarms/alarm_filter.h"

namespace kelp::nms {

/// Keeps the list of the first complete read, to be written as a whole.
class AlarmListReport : public AlarmDisplay {
  public:
    /// `whenRead` is called once.
    AlarmListReport(AlarmFilter filter, std::function<void()> whenRead)
        : filter_(std::move(filter)), whenRead_(std::move(whenRead)) {}

    void changed(const AlarmChange&) override {}
    void notice(const Notice& notice) override;
    void stateIs(State) override {}
    void resynchronised(const AlarmView& view) override;

    // for one thread, when the following has ended
    bool isRead() const { return isRead_; }
    bool isComplete() const { return isComplete_; }
    std::string asJson() const;
    /// A table for a terminal of that width; 0: nothing is cut.
    std::string asTable(unsigned width) const;

  private:
    const AlarmFilter filter_;
    const std::function<void()> whenRead_;
    std::vector<NmsAlarmPtr> alarms_;  ///< in the order of comesBefore()
    bool isRead_ = false;
    bool isComplete_ = true;
};

}  // namespace kelp::nms
