#pragma once

#include <kelp/alarms/alarm_id.h>

#include <cstddef>
#include <map>
#include <optional>
#include <unordered_map>

namespace kelp::nms {

/// The clears that came last: they hide states of their alarms that come late. Not thread-safe.
class RememberedClears {
  public:
    /// At most `max` clears are remembered.
    explicit RememberedClears(std::size_t max) : max_(max) {}

    /// Remember that the alarm was cleared with this notification id, unless a later clear of it is
    /// remembered. If there are too many, the one with the lowest id is forgotten.
    void add(const alarms::AlarmId& id, alarms::Position clear);
    /// The notification id of the alarm's clear, if it is remembered.
    std::optional<alarms::Position> find(const alarms::AlarmId& id) const;
    void forget(const alarms::AlarmId& id);
    /// Forget all with ids up to this one.
    void forgetUpTo(alarms::Position position);
    /// Forget all, also which were forgotten.
    void reset();

    /// The highest id of a clear that was forgotten because there were too many; 0: none was.
    alarms::Position lostUpTo() const { return lostUpTo_; }
    std::size_t size() const { return clearOf_.size(); }

  private:
    void forgetFirst();

    std::size_t max_;
    std::unordered_map<alarms::AlarmId, alarms::Position> clearOf_;
    // the keys of clearOf_ do not move. Several clears have one id at an EMS that does not grow
    // them.
    std::multimap<alarms::Position, const alarms::AlarmId*> byPosition_;
    alarms::Position lostUpTo_ = 0;
};

}  // namespace kelp::nms
