#pragma once

#include <array>
#include <cstddef>
#include <functional>
#include <unordered_map>
#include <vector>

#include "alarms/nms_alarm.h"
#include "alarms/remembered_clears.h"

namespace kelp::nms {

/// What an event, or an entry of the EMS's list, changes in an AlarmView.
struct AlarmChange {
    enum class What {
        Nothing,
        Raised,
        Changed,
        Acknowledged,
        Unacknowledged,
        Cleared,
        /// The alarm is not in the EMS's list any more, but its clear did not come.
        Gone,
        /// An alarm that is not clearable. It is not in the list.
        Passed,
        /// The view is full, so that the alarm is not in it.
        Refused,
    };
    What what = What::Nothing;
    NmsAlarmPtr alarm = {};   ///< the state as it is now; of a clear or of a Gone one: the last one
    NmsAlarmPtr before = {};  ///< the state before; null if the view did not have the alarm
};

/// The active alarms of an EMS, as an NMS knows them: merges the live events with the list that it
/// reads. It needs no clock and knows no ORB. Not thread-safe.
///
/// An NMS first subscribes to the events and then reads the list. So a change that is made while
/// the list is read comes live. It may also be in the list, and come before or after it. What
/// counts is the notification id of a state, which grows with each change:
///
///  - The state of an alarm with the highest id wins. A clear hides the states with lower ids.
///  - An event that has come before a read begins is part of the list that is read. So an alarm
///    that is not in the list when the read ends goes away, unless the id of its state is above
///    all ids that were known when the read began.
///  - From the same rule follows that an event about an unknown alarm is old, and ignored, if its
///    id is not above that mark of the last complete read.
///
/// The order of calls is reconnecting(), log-in, subscribe, beginRead(), listed() for each entry,
/// endRead(). Events may come at any time, several times, and out of order.
///
/// An EMS that has lost its list begins with low ids again. A list with an entry whose id is lower
/// than what the view knows to be in it reveals this. endRead() then forgets everything and demands
/// another read. A live event demands one, too (wantsRead()), if its id is above all others of this
/// connection, but below the mark.
class AlarmView {
  public:
    struct Settings {
        /// Maximum number of alarms. Further ones are refused. Each takes 2 to 3 KiB.
        std::size_t alarmsMax = 1'000'000;
        /// Maximum number of clears that are remembered. If more come during one read, it is
        /// repeated.
        std::size_t clearsMax = 100'000;
    };
    explicit AlarmView(const Settings& settings);

    /// A log-in is about to begin. A read that is under way is abandoned; the alarms stay.
    void reconnecting();
    void beginRead();
    /// An entry of the list that is being read.
    AlarmChange listed(const NmsAlarmPtr& alarm);

    struct ReadEnd {
        std::vector<AlarmChange> gone;
        bool readAgain = false;  ///< the view is not the EMS's list yet: read it again at once
    };
    ReadEnd endRead();

    AlarmChange eventCame(const NmsAlarmPtr& alarm);

    /// Events may be missing from here on, so the view may be out of date.
    void markUncertain() { isUncertain_ = true; }
    /// True before the first complete read, and after markUncertain() until the next complete read.
    bool isUncertain() const { return isUncertain_; }

    /// The list must be read again although the connection lasts: askForRead() was called, or an
    /// event raises doubts, or alarms were refused and there is room again.
    bool wantsRead() const;
    void askForRead() { wantsRead_ = true; }

    /// Whether alarms were refused since the last read began.
    bool isFull() const { return refused_ > 0; }
    std::size_t size() const { return alarms_.size(); }
    /// Number of alarms by severity.
    const std::array<std::size_t, alarms::kSeverities>& counts() const { return counts_; }
    std::size_t unacknowledged() const { return unacknowledged_; }
    NmsAlarmPtr find(const alarms::AlarmId& id) const;
    void forEach(const std::function<void(const NmsAlarmPtr&)>& use) const;

  private:
    struct Known {
        NmsAlarmPtr alarm;
        unsigned read = 0;  ///< number of the last read that had it in its list
    };
    using Alarms = std::unordered_map<alarms::AlarmId, Known>;

    AlarmChange unknownCame(const NmsAlarmPtr& alarm, bool isAhead);
    AlarmChange unknownListed(const NmsAlarmPtr& alarm);
    AlarmChange insert(const NmsAlarmPtr& alarm, unsigned read);
    AlarmChange replace(Known& known, const NmsAlarmPtr& alarm);
    NmsAlarmPtr remove(Alarms::iterator place);
    void count(const NmsAlarm& alarm, bool isAdded);
    void noteId(alarms::Position id);
    void startAnew(std::vector<AlarmChange>& gone);

    const Settings settings_;
    Alarms alarms_;
    std::array<std::size_t, alarms::kSeverities> counts_{};
    std::size_t unacknowledged_ = 0;
    RememberedClears clears_;
    bool isUncertain_ = true;
    bool wantsRead_ = false;
    std::size_t refused_ = 0;

    alarms::Position highest_ = 0;              ///< of all ids that came
    alarms::Position highestOfConnection_ = 0;  ///< of those since reconnecting()
    /// Everything up to this id was in the list of the last complete read.
    alarms::Position mark_ = 0;
    bool hasAllUpToMark_ = true;  ///< no alarm has been refused since then
    bool isReading_ = false;
    unsigned read_ = 0;                ///< number of the last read
    alarms::Position markOfRead_ = 0;  ///< becomes mark_
    bool hasContradiction_ = false;    ///< in the list that is being read
};

}  // namespace kelp::nms
