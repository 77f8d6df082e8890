#pragma once

#include <array>
#include <cstddef>
#include <set>
#include <string>
#include <utility>
#include <vector>

#include "alarms/alarm_filter.h"
#include "alarms/alarm_view.h"

namespace kelp::nms {

/// The alarms on the screen, in the order of comesBefore(), with a selection and a window that
/// contains it. The selection stays with its alarm when the alarm changes or moves. Not
/// thread-safe.
class AlarmRows {
  public:
    explicit AlarmRows(AlarmFilter filter) : filter_(std::move(filter)) {}

    void changed(const AlarmChange& change);

    /// Show only the alarms that have this text in their severity, object, cause, qualifier or
    /// time, whatever its case. Empty: all.
    void search(const std::string& text);

    void selectFirst();
    void selectLast();
    /// Move the selection by this number of rows, up if it is negative.
    void moveSelection(int rows);
    /// The selected alarm; null if there are no rows.
    NmsAlarmPtr selected() const { return selected_; }

    /// The rows of a window of this height.
    std::vector<NmsAlarmPtr> window(std::size_t height);

    /// Number of alarms that the filter accepts, and of those that are found by the search.
    std::size_t size() const { return all_.size(); }
    std::size_t found() const { return rows().size(); }
    /// Number of alarms that the filter accepts, by severity.
    const std::array<std::size_t, alarms::kSeverities>& counts() const { return counts_; }
    std::size_t unacknowledged() const { return unacknowledged_; }

  private:
    struct InOrder {
        bool operator()(const NmsAlarmPtr& one, const NmsAlarmPtr& other) const {
            return comesBefore(*one, *other);
        }
    };
    using Rows = std::set<NmsAlarmPtr, InOrder>;

    const Rows& rows() const { return search_.empty() ? all_ : found_; }
    bool isFound(const NmsAlarm& alarm) const;
    void insert(const NmsAlarmPtr& alarm);
    void remove(const NmsAlarmPtr& alarm);
    void count(const NmsAlarm& alarm, bool isAdded);
    /// Select the row at this place, or the last one if the place is the end.
    void select(Rows::const_iterator place);

    const AlarmFilter filter_;
    std::string search_;  ///< in lower case
    Rows all_;
    Rows found_;  ///< while something is searched for
    std::array<std::size_t, alarms::kSeverities> counts_{};
    std::size_t unacknowledged_ = 0;
    NmsAlarmPtr selected_;  ///< in rows(), unless they are empty
    NmsAlarmPtr top_;       ///< the first row of the window; null: the first of all
};

}  // namespace kelp::nms
