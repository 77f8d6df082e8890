#pragma once

#include <mtnm/notifications.h>

#include <algorithm>
#include <cstdint>
#include <map>
#include <mutex>
#include <optional>
#include <string>
#include <tuple>
#include <utility>
#include <vector>

/// The fields of an alarm that this NMS uses.
struct Alarm {
    std::uint64_t id = 0;  // its notificationId as a number
    std::vector<std::pair<std::string, std::string>> objectName;
    std::int16_t layerRate = 1;
    std::string probableCause;
    std::string probableCauseQualifier;
    notifications::PerceivedSeverity_T perceivedSeverity = notifications::PS_INDETERMINATE;
    bool isClearable = true;
    notifications::AcknowledgeIndication_T acknowledgeIndication = notifications::AI_NA;

    /// What makes two events states of the same alarm.
    auto identity() const {
        return std::tuple(objectName, layerRate, probableCause, probableCauseQualifier);
    }
};

/// The active alarms as an NMS knows them, kept from a list that it reads and from events that it
/// receives. Make a new one for each subscription. Any thread may use it.
class AlarmList {
  public:
    // [begin]
    /// Call it before the list is requested.
    void begin() {
        const std::lock_guard lock(mutex_);
        atBegin_ = newest_;
        sinceBegin_.emplace();
    }
    // [end]

    // [event]
    /// Take an event. Return false for one that changes nothing.
    bool event(const Alarm& alarm) {
        const std::lock_guard lock(mutex_);
        if (sinceBegin_)
            sinceBegin_->push_back(alarm);
        return apply(alarm);
    }
    // [end]

    // [finish]
    /// Replace the alarms by a complete list, and apply the events that are newer than it.
    void finish(const std::vector<Alarm>& listed) {
        const std::lock_guard lock(mutex_);
        alarms_.clear();
        newest_ = atBegin_;
        for (const Alarm& alarm : listed) {
            alarms_[alarm.identity()] = alarm;
            newest_ = std::max(newest_, alarm.id);
        }
        for (const Alarm& alarm : sinceBegin_.value_or(std::vector<Alarm>()))
            apply(alarm);
        sinceBegin_.reset();
    }
    // [end]

    /// Return the alarms in the order of their ids.
    std::vector<Alarm> alarms() const {
        const std::lock_guard lock(mutex_);
        std::vector<Alarm> all;
        for (const auto& [identity, alarm] : alarms_)
            all.push_back(alarm);
        std::sort(all.begin(), all.end(),
                  [](const Alarm& left, const Alarm& right) { return left.id < right.id; });
        return all;
    }

  private:
    // [apply]
    bool apply(const Alarm& alarm) {
        if (alarm.id <= newest_)
            return false;  // sent again, or older than the list that was read
        newest_ = alarm.id;
        if (!alarm.isClearable)
            return false;  // it is never in the list, because nothing will ever clear it
        if (alarm.perceivedSeverity == notifications::PS_CLEARED)
            return alarms_.erase(alarm.identity()) > 0;
        alarms_[alarm.identity()] = alarm;
        return true;
    }
    // [end]

    mutable std::mutex mutex_;
    std::map<decltype(Alarm().identity()), Alarm> alarms_;
    std::uint64_t newest_ = 0;   // the highest id that the alarms reflect
    std::uint64_t atBegin_ = 0;  // the same when begin() was called
    /// Events since begin(), in their order; none while no list is being read.
    std::optional<std::vector<Alarm>> sinceBegin_;
};
