// Properties that hold for every history of alarms. A failure prints the seed; RC_PARAMS="seed=..."
// repeats it.

#include <gtest/gtest.h>
#include <kelp/alarms/alarm_json.h>
#include <kelp/alarms/alarm_list.h>
#include <kelp/alarms/alarm_schema.h>
#include <kelp/alarms/enum_names.h>
#include <kelp/alarms/saved_list.h>
#include <rapidcheck.h>

#include "unit/alarms/some_alarms.h"

using namespace kelp::alarms;
using kelp::test::fullAlarm;
using kelp::test::Merged;
using kelp::test::someAlarm;

namespace {

// Checks a property with random input; prints the input for which it does not hold, made small.
#define EXPECT_PROPERTY(...) EXPECT_TRUE(rc::check(__VA_ARGS__))

/// An alarm of one of a few identities, so that reports meet.
rc::Gen<Alarm> reported() {
    return rc::gen::apply(
        [](int port, int severity, int text, bool isClearable, int acknowledgement) {
            Alarm alarm = someAlarm(static_cast<Severity>(severity), std::to_string(port));
            alarm.additionalText = std::string(static_cast<std::size_t>(text), 'x');
            alarm.isClearable = isClearable || alarm.perceivedSeverity == Severity::Cleared;
            alarm.acknowledgeIndication = static_cast<Acknowledgement>(acknowledgement);
            return alarm;
        },
        rc::gen::inRange(0, 4), rc::gen::weightedElement<int>({{1, 1}, {2, 2}, {1, 4}, {3, 5}}),
        rc::gen::weightedElement<int>({{5, 0}, {1, 1}}),
        rc::gen::weightedElement<bool>({{19, true}, {1, false}}),
        rc::gen::weightedElement<int>({{1, 0}, {1, 1}, {6, 2}}));
}

rc::Gen<Change> change() {
    using What = decltype(Change::what);
    const auto id = rc::gen::map(reported(), identityOf);
    const auto what = rc::gen::weightedOneOf<What>(
        {{12, rc::gen::map(reported(), [](Alarm alarm) { return What(Report{std::move(alarm)}); })},
         {2, rc::gen::apply(
                 [](AlarmId of, bool isAcknowledged, std::string user) {
                     return What(Acknowledge{std::move(of), isAcknowledged, std::move(user), ""});
                 },
                 id, rc::gen::arbitrary<bool>(), rc::gen::arbitrary<std::string>())},
         {2, rc::gen::map(id, [](AlarmId of) { return What(Settle{std::move(of)}); })},
         {1, rc::gen::just(What(
                 NetworkChange{NetworkChange::Kind::Creation, {}, ObjectType::Aid, "", "{}"}))}});
    // how long after the record before; clocks also stand still and are set back
    const auto pause = rc::gen::weightedElement<std::int64_t>(
        {{4, 0}, {8, 500'000}, {1, 20'000'000}, {1, 70'000'000}, {1, -5'000'000}});
    return rc::gen::apply(
        [](std::int64_t after, What content) {
            return Change{after, std::move(content)};
        },
        pause, what);
}

/// A log of changes, with the times made absolute, and alarms that flap soon.
rc::Gen<std::vector<Change>> history() {
    return rc::gen::map(rc::gen::scale(4.0, rc::gen::container<std::vector<Change>>(change())),
                        [](std::vector<Change> changes) {
                            std::int64_t now = 1'700'000'000'000'000;
                            for (Change& each : changes) {
                                now += each.at;
                                each.at = now;
                            }
                            return changes;
                        });
}

ListSettings settings() {
    ListSettings settings;
    settings.flapRaises = 2;
    settings.historyMax = 5;
    settings.recentClearsMax = 3;
    return settings;
}

/// Apply the changes from `first` on, and add their events to `events`.
void apply(AlarmList& list, const std::vector<Change>& changes, std::size_t first,
           std::vector<Event>& events) {
    for (std::size_t i = first; i < changes.size(); ++i) {
        const Effect effect = list.apply(1000 + 2 * i, changes[i]);
        if (effect.event)
            events.push_back(*effect.event);
    }
}

bool isSame(const Event& one, const Event& other) {
    if (one.position != other.position || one.emsTime != other.emsTime ||
        one.what.index() != other.what.index())
        return false;
    if (const auto* alarm = std::get_if<Event::AlarmContent>(&one.what))
        return **alarm == *std::get<Event::AlarmContent>(other.what);
    return *std::get<Event::NetworkContent>(one.what) ==
           *std::get<Event::NetworkContent>(other.what);
}

bool areSame(const std::vector<Event>& some, const std::vector<Event>& others) {
    return std::equal(some.begin(), some.end(), others.begin(), others.end(), isSame);
}

ListState savedAndRead(AlarmList& list) {
    ListWriter writer(list.snapshot());
    ListReader reader;
    while (const auto chunk = writer.next())
        reader.add(*chunk);
    return reader.finish();
}

TEST(AlarmProperties, SameLogGivesTheSameListAndTheSameEvents) {
    EXPECT_PROPERTY("the same log twice", [] {
        const std::vector<Change> changes = *history();
        AlarmList one(settings());
        AlarmList other(settings());
        std::vector<Event> events;
        std::vector<Event> otherEvents;
        apply(one, changes, 0, events);
        apply(other, changes, 0, otherEvents);
        RC_ASSERT(one.state() == other.state());
        RC_ASSERT(areSame(events, otherEvents));
    });
}

TEST(AlarmProperties, MergedEventsAreTheListAtEveryPosition) {
    EXPECT_PROPERTY("merged events are the list", [] {
        const std::vector<Change> changes = *history();
        AlarmList list(settings());
        Merged merged;
        bool isFlapping = false;
        for (std::size_t i = 0; i < changes.size(); ++i) {
            const Effect effect = list.apply(1 + i, changes[i]);
            isFlapping = isFlapping || effect.outcome == Outcome::Coalesced;
            if (effect.event) {
                RC_ASSERT(effect.event->position == 1 + i);
                RC_ASSERT(effect.event->emsTime == changes[i].at);
                merged.add(*effect.event);
            }
            RC_ASSERT(merged.rows() == Merged::of(list.state()));
        }
        RC_CLASSIFY(isFlapping, "with a flapping alarm");
    });
}

TEST(AlarmProperties, NumbersAreThoseOfTheEntries) {
    EXPECT_PROPERTY("counts", [] {
        AlarmList list(settings());
        std::vector<Event> events;
        apply(list, *history(), 0, events);
        const ListState& state = list.state();
        std::array<std::size_t, kSeverities> counts{};
        std::size_t unacknowledged = 0;
        for (const Entry& entry : state.read()) {
            ++counts.at(static_cast<std::size_t>(entry->alarm.perceivedSeverity));
            unacknowledged += entry->isAcknowledged() ? 0 : 1;
            RC_ASSERT(state.find(identityOf(entry->alarm)) == entry);
        }
        RC_ASSERT(state.counts() == counts);
        RC_ASSERT(state.unacknowledged() == unacknowledged);
        RC_ASSERT(state.size() == state.read().size());
        RC_ASSERT(state.history().size() <= settings().historyMax);
    });
}

TEST(AlarmProperties, SavedListAndTheRestOfTheLogGiveTheSameAsTheWholeLog) {
    EXPECT_PROPERTY("a saved list and the rest", [] {
        const std::vector<Change> changes = *history();
        const std::size_t savedAt = *rc::gen::inRange<std::size_t>(0, changes.size() + 1);
        const std::vector<Change> before(changes.begin(),
                                         changes.begin() + static_cast<std::ptrdiff_t>(savedAt));
        AlarmList whole(settings());
        std::vector<Event> events;
        apply(whole, changes, 0, events);
        AlarmList first(settings());
        std::vector<Event> parts;
        apply(first, before, 0, parts);
        AlarmList second(settings(), savedAndRead(first));
        RC_ASSERT(second.state() == first.state());
        apply(second, changes, savedAt, parts);
        RC_ASSERT(second.state() == whole.state());
        RC_ASSERT(areSame(parts, events));
    });
}

TEST(AlarmProperties, SnapshotIsTheListOfItsPosition) {
    EXPECT_PROPERTY("snapshots", [] {
        const std::vector<Change> changes = *history();
        AlarmList list(settings());
        std::vector<std::shared_ptr<const ListState>> snapshots;
        std::vector<std::map<AlarmId, Merged::Row>> expected;
        for (std::size_t i = 0; i < changes.size(); ++i) {
            list.apply(1 + i, changes[i]);
            snapshots.push_back(list.snapshot());
            expected.push_back(Merged::of(list.state()));
        }
        for (std::size_t i = 0; i < changes.size(); ++i) {
            RC_ASSERT(snapshots[i]->position() == 1 + i);
            RC_ASSERT(Merged::of(*snapshots[i]) == expected[i]);
        }
    });
}

TEST(AlarmProperties, DecodedRecordIsTheEncodedChange) {
    EXPECT_PROPERTY("records", [] {
        const Change written = *change();
        RC_ASSERT(decode(encode(written)) == written);
    });
}

/// Text of any octets but 0.
rc::Gen<std::string> text() {
    return rc::gen::container<std::string>(
        rc::gen::map(rc::gen::inRange(1, 256), [](int octet) { return static_cast<char>(octet); }));
}

rc::Gen<Name> name() {
    return rc::gen::container<Name>(rc::gen::pair(text(), text()));
}

rc::Gen<Alarm> anyAlarm() {
    return rc::gen::exec([] {
        Alarm alarm = *rc::gen::arbitrary<bool>() ? fullAlarm() : someAlarm();
        alarm.objectName = *rc::gen::nonEmpty(name());
        alarm.nativeEMSName = *text();
        alarm.objectType = static_cast<ObjectType>(*rc::gen::inRange(0, 13));
        alarm.layerRate = *rc::gen::inRange<std::int16_t>(0, 32767);
        alarm.probableCause = *text();
        alarm.perceivedSeverity = static_cast<Severity>(*rc::gen::inRange(0, 5));
        alarm.affectedTPList = *rc::gen::container<Names>(name());
        alarm.additionalInfo = *name();
        alarm.eventType = *rc::gen::elementOf(eventTypeNames());
        if (*rc::gen::arbitrary<bool>())
            alarm.correlatedNotifications = {{*name(), {*text(), *text()}}};
        if (*rc::gen::arbitrary<bool>())
            alarm.monitoredAttributes = {{"a", *text()},
                                         {"b", *rc::gen::arbitrary<std::int32_t>()},
                                         {"c", *rc::gen::arbitrary<double>()}};
        return alarm;
    });
}

TEST(AlarmProperties, EveryAlarmSurvivesItsRecordAndItsJson) {
    EXPECT_PROPERTY("alarms", [] {
        const Alarm alarm = *rc::gen::scale(0.3, anyAlarm());
        RC_PRE(whatIsWrong(alarm).empty());
        RC_ASSERT(std::get<Report>(decode(encode({7, Report{alarm}})).what).alarm == alarm);
        RC_ASSERT(readAlarm(toJson(alarm), {}) == alarm);
        RC_ASSERT(!schemaViolation(toJson(alarm)));
    });
}

}  // namespace
