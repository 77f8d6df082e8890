#pragma once

#include <kelp/alarms/change.h>
#include <kelp/alarms/event.h>
#include <kelp/alarms/list_state.h>
#include <kelp/util/export.h>

#include <chrono>
#include <cstddef>
#include <cstdint>
#include <memory>
#include <set>
#include <unordered_map>
#include <vector>

namespace kelp::alarms {

/// The rules that an operator may set. The same records applied with other settings may give
/// another list; after a change of settings they hold for the records that are applied from then on
/// (those behind the last saved list).
struct ListSettings {
    /// An alarm that is raised again more often than this within `flapWindow` is flapping.
    std::size_t flapRaises = 5;
    std::chrono::microseconds flapWindow = std::chrono::seconds(60);
    /// A flapping alarm settles when nothing was reported for this long.
    std::chrono::microseconds flapQuiet = std::chrono::seconds(60);
    /// Maximum number of cleared alarms that are remembered to find out whether they flap: a storm
    /// that clears more alarms within `flapWindow` may send some flapping ones more often.
    std::size_t recentClearsMax = 20000;
    std::size_t historyMax = 10000;
    std::chrono::microseconds historyAge = std::chrono::hours(24 * 30);
};

/// The list of alarms: a pure function of the records of the change log. It has neither clock nor
/// locks, threads or randomness. One thread at a time may use it; copies of its state may be
/// read by any thread (snapshot()).
///
/// Everything is bounded except the number of active alarms, which the caller limits before a
/// record is made (`[alarms] active_max`).
class KELP_EXPORT AlarmList {
  public:
    explicit AlarmList(const ListSettings& settings = {});
    /// Continue from a saved state (saved_list.h).
    AlarmList(const ListSettings& settings, ListState saved);

    /// Apply the record at this position. Return what it did, with the event to send if there is
    /// one. Positions must increase: throws std::invalid_argument for one that is not above
    /// state().position().
    ///
    /// A report
    /// - of the state that the entry shows (all fields except neTime and acknowledgeIndication) is
    ///   counted only;
    /// - of another severity makes the alarm unacknowledged, unless it says that the alarm is
    ///   acknowledged. A report that changes other fields only leaves the acknowledgement as it is;
    /// - of an alarm that is not clearable is sent and remembered in the history, and does not
    ///   affect an active alarm with the same identity;
    /// - that clears an active alarm is sent with the alarm's acknowledgement.
    ///
    /// An alarm that is raised again for the (flapRaises + 1)th time within `flapWindow` is sent
    /// and becomes flapping: it stays as it was sent until Settle sends the difference.
    /// Acknowledging works as ever meanwhile. A Settle before the alarm was quiet for `flapQuiet`
    /// changes nothing.
    Effect apply(Position position, const Change& change);

    const ListState& state() const { return state_; }
    /// An immutable copy for other threads. Costs some ten microseconds, and up to 2 ms when tens
    /// of thousands of alarms are in the history or were cleared recently.
    std::shared_ptr<const ListState> snapshot();

    /// Flapping alarms about which nothing was reported for `flapQuiet` at `now`, in the order of
    /// their identities: AlarmService submits a Settle for each.
    std::vector<AlarmId> quietFlapping(std::int64_t now) const;

  private:
    Effect applied(std::int64_t at, const Report& report);
    Effect applied(std::int64_t at, const Acknowledge& acknowledge);
    Effect applied(std::int64_t at, const Settle& settle);
    Effect applied(std::int64_t at, const NetworkChange& networkChange);

    // The parts of a report's way. Those that get an entry get a copy of the one in the list.
    Effect passed(std::int64_t at, const Alarm& alarm);
    Effect raised(std::int64_t at, const Alarm& alarm, const AlarmId& id);
    Effect coalesced(const Alarm& alarm, const AlarmId& id, ActiveAlarm entry);
    Effect changed(std::int64_t at, const Alarm& alarm, const AlarmId& id, ActiveAlarm entry);
    Effect cleared(std::int64_t at, const Alarm& alarm, const AlarmId& id, ActiveAlarm entry);

    /// Put the entry into the list as this record's event. Return the event.
    Event send(std::int64_t at, const AlarmId& id, ActiveAlarm entry);
    Entry replace(const AlarmId& id, ActiveAlarm changed);
    void remove(const AlarmId& id);
    std::vector<Entry>& writableBlock(const AlarmId& id);
    static std::vector<Entry>::iterator placeOf(std::vector<Entry>& entries, const AlarmId& id);

    void rememberClear(std::int64_t at, const AlarmId& id, const std::vector<std::int64_t>& raises);
    /// When the alarm was raised after a clear, with this time; empty when no clear is remembered.
    /// Forgets the clear.
    std::vector<std::int64_t> raisesAfterClear(std::int64_t at, const AlarmId& id);
    void forgetOldestClear();
    void forgetOldClears(std::int64_t at);
    void addToHistory(PastAlarm past);
    void forgetOldHistory(std::int64_t at);

    ListSettings settings_;
    ListState state_;
    std::uint64_t generation_ = 1;
    std::set<AlarmId> flapping_;
    /// Where state_.recentClears_ has the clear of an alarm.
    std::unordered_map<AlarmId, Position> clearOf_;
};

}  // namespace kelp::alarms
