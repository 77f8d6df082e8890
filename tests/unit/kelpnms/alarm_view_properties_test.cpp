// The view ends with the EMS's list, whatever happens on the way. A failure prints the seed;
// RC_PARAMS="seed=..." repeats it.

#include <gtest/gtest.h>
#include <kelp/alarms/alarm_json.h>
#include <kelp/alarms/alarm_list.h>
#include <rapidcheck.h>

#include <algorithm>
#include <map>
#include <memory>
#include <ostream>
#include <tuple>
#include <vector>

#include "alarms/alarm_view.h"
#include "unit/alarms/some_alarms.h"

namespace kelp::nms {
namespace {

/// Something that happens at the EMS, at the NMS or between them. `number` says how many, or which.
struct Step {
    enum class Kind { Report, Acknowledge, Deliver, Repeat, Lose, Connect, Batch };
    Kind kind;
    unsigned port;
    unsigned number;
};

void showValue(const Step& step, std::ostream& out) {
    static constexpr const char* kNames[] = {"Report", "Acknowledge", "Deliver", "Repeat",
                                             "Lose",   "Connect",     "Batch"};
    out << kNames[static_cast<std::size_t>(step.kind)] << ' ' << step.port << ' ' << step.number;
}

rc::Gen<std::vector<Step>> steps() {
    using StepKind = Step::Kind;
    const auto step = rc::gen::apply(
        [](StepKind kind, unsigned port, unsigned number) {
            return Step{kind, port, number};
        },
        rc::gen::weightedElement<StepKind>({{8, StepKind::Report},
                                            {2, StepKind::Acknowledge},
                                            {6, StepKind::Deliver},
                                            {3, StepKind::Repeat},
                                            {1, StepKind::Lose},
                                            {2, StepKind::Connect},
                                            {5, StepKind::Batch}}),
        rc::gen::inRange(0u, 6u), rc::gen::inRange(0u, 1000u));
    return rc::gen::scale(6.0, rc::gen::container<std::vector<Step>>(step));
}

/// The EMS: its list, and every event that it has sent.
class Ems {
  public:
    void report(unsigned port, unsigned number) {
        const auto severity = static_cast<alarms::Severity>(1 + number % 5);  // 5 is cleared
        alarms::Alarm alarm = test::someAlarm(severity, std::to_string(port));
        alarm.isClearable =
            alarm.perceivedSeverity == alarms::Severity::Cleared || number % 17 != 0;
        apply(alarms::Report{std::move(alarm)});
    }
    void acknowledge(unsigned port, unsigned number) {
        apply(alarms::Acknowledge{identityOf(test::someAlarm({}, std::to_string(port))),
                                  number % 3 != 0, "user", ""});
    }
    std::vector<NmsAlarmPtr> list() const {
        std::vector<NmsAlarmPtr> all;
        for (const alarms::Entry& entry : list_.state().read())
            all.push_back(told(entry->alarm, entry->notificationId));
        return all;
    }
    std::vector<NmsAlarmPtr> sent;

  private:
    void apply(decltype(alarms::Change::what) what) {
        position_ += 1 + position_ % 3;
        const alarms::Effect effect = list_.apply(position_, {1000, std::move(what)});
        if (effect.event)
            sent.push_back(told(*std::get<alarms::Event::AlarmContent>(effect.event->what),
                                effect.event->position));
    }
    static NmsAlarmPtr told(const alarms::Alarm& alarm, alarms::Position id) {
        EventRecord event{"NT_ALARM", alarms::toJson(alarm)};
        event.fields["notificationId"] = std::to_string(id);
        std::string whyNot;
        return alarmOf(event, whyNot);
    }

    alarms::AlarmList list_;
    alarms::Position position_ = 0;
};

/// An NMS with a connection that can be lost.
class Nms {
  public:
    Nms(const Ems& ems, const AlarmView::Settings& settings) : view_(settings), ems_(ems) {}

    /// Log in and subscribe. After a restart the EMS sends its last events again, so the first
    /// event that comes may be up to `rewind` events old.
    void connect(std::size_t rewind) {
        lose();
        view_.reconnecting();
        isConnected_ = true;
        next_ = ems_.sent.size() - std::min(rewind, ems_.sent.size());
    }
    void lose() {
        isConnected_ = isReading_ = hasList_ = false;
        view_.markUncertain();
    }
    void deliver(std::size_t most) {
        for (; isConnected_ && most > 0 && next_ < ems_.sent.size(); --most) {
            delivered_.push_back(ems_.sent[next_++]);
            come(delivered_.back());
        }
    }
    /// An event comes that has come before.
    void repeat(std::size_t which) {
        if (isConnected_ && !delivered_.empty())
            come(delivered_[which % delivered_.size()]);
    }
    /// Go on with the read, or begin one.
    void batch(std::size_t most) {
        if (!isConnected_)
            return;
        if (!isReading_) {
            view_.beginRead();
            isReading_ = true;
            return;
        }
        if (!hasList_) {  // events come between the begin of the read and the EMS's answer
            list_ = ems_.list();
            listed_ = 0;
            hasList_ = true;
        }
        for (; most > 0 && listed_ < list_.size(); --most)
            keep(view_.listed(list_[listed_++]));
        if (listed_ < list_.size())
            return;
        isReading_ = hasList_ = false;
        const AlarmView::ReadEnd end = view_.endRead();
        for (const AlarmChange& change : end.gone)
            keep(change);
        mustRead_ = end.readAgain;
        repeats_ += end.readAgain ? 1 : 0;
    }
    bool isConnected() const { return isConnected_; }
    /// Whether nothing is missing: what it shows must be the list.
    bool isDone() const {
        return isConnected_ && !isReading_ && !mustRead_ && !view_.wantsRead() &&
               !view_.isUncertain() && next_ == ems_.sent.size();
    }

    /// How often the view demanded another read at the end of one.
    unsigned repeats() const { return repeats_; }

    /// What an alarm shows: its notification id, its content and its acknowledgement.
    using Row = std::tuple<alarms::Position, std::string, std::string>;
    using Rows = std::map<alarms::AlarmId, Row>;
    static void add(Rows& rows, const NmsAlarm& alarm) {
        rows[alarm.id] = {alarm.notificationId, alarm.content, alarm.acknowledgement};
    }
    Rows shown() const {
        Rows rows;
        view_.forEach([&](const NmsAlarmPtr& alarm) { add(rows, *alarm); });
        return rows;
    }
    /// What somebody shows who has only followed the changes.
    const Rows& followed() const { return followed_; }

  private:
    void come(const NmsAlarmPtr& alarm) { keep(view_.eventCame(alarm)); }
    void keep(const AlarmChange& change) {
        using Become = AlarmChange::What;
        if (change.what == Become::Cleared || change.what == Become::Gone)
            followed_.erase(change.alarm->id);
        else if (change.what != Become::Nothing && change.what != Become::Passed)
            add(followed_, *change.alarm);
    }

    AlarmView view_;
    const Ems& ems_;
    bool isConnected_ = false;
    bool isReading_ = false;
    bool hasList_ = false;
    bool mustRead_ = true;
    unsigned repeats_ = 0;
    std::size_t next_ = 0;  // of the events, to be delivered
    std::vector<NmsAlarmPtr> delivered_;
    std::vector<NmsAlarmPtr> list_;
    std::size_t listed_ = 0;
    Rows followed_;
};

void take(const Step& step, Ems& ems, Nms& nms) {
    switch (step.kind) {
        case Step::Kind::Report:
            return ems.report(step.port, step.number);
        case Step::Kind::Acknowledge:
            return ems.acknowledge(step.port, step.number);
        case Step::Kind::Deliver:
            return nms.deliver(1 + step.number % 5);
        case Step::Kind::Repeat:
            return nms.repeat(step.number);
        case Step::Kind::Lose:
            return nms.lose();
        case Step::Kind::Connect:
            return nms.connect(step.number % 4 == 0 ? step.number % 20 : 0);
        case Step::Kind::Batch:
            return nms.batch(1 + step.number % 4);
    }
}

Nms::Rows rowsOf(const Ems& ems) {
    Nms::Rows rows;
    for (const NmsAlarmPtr& alarm : ems.list())
        Nms::add(rows, *alarm);
    return rows;
}

/// Returns how often a read had to be repeated.
unsigned endsWithTheList(const AlarmView::Settings& settings) {
    const std::vector<Step> history = *steps();
    Ems ems;
    Nms nms(ems, settings);
    nms.connect(0);
    for (const Step& step : history) {
        take(step, ems, nms);
        if (nms.isDone())
            RC_ASSERT(nms.shown() == rowsOf(ems));
    }
    // the EMS stands still; the NMS connects if it is not, reads, and gets what is on the way
    if (!nms.isConnected())
        nms.connect(0);
    for (int i = 0; !nms.isDone() && i < 1000; ++i) {
        nms.deliver(1);
        nms.batch(1);
    }
    RC_ASSERT(nms.isDone());
    RC_ASSERT(nms.shown() == rowsOf(ems));
    RC_ASSERT(nms.followed() == rowsOf(ems));
    return nms.repeats();
}

TEST(AlarmViewProperties, ViewEndsWithExactlyTheListOfTheEms) {
    EXPECT_TRUE(rc::check("the view ends with the EMS's list", [] {
        RC_ASSERT(endsWithTheList({}) == 0u);  // an EMS that is consistent raises no doubts
    }));
}

TEST(AlarmViewProperties, ViewEndsWithTheListThoughItRemembersFewClears) {
    EXPECT_TRUE(rc::check("with few clears", [] {
        RC_CLASSIFY(endsWithTheList({1000, 2}) > 0, "with a read that was repeated");
    }));
}

}  // namespace
}  // namespace kelp::nms
