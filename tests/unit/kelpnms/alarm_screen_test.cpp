#include "screen/alarm_screen.h"

#include <gtest/gtest.h>

#include <string>
#include <vector>

#include "alarm_samples.h"
#include "text/display_text.h"

namespace kelp::nms {
namespace {

using What = AlarmChange::What;
using KeyKind = ScreenKey::Kind;
using Ports = std::vector<std::string>;

std::string portOf(const NmsAlarmPtr& alarm) {
    return alarm == nullptr ? "none" : alarm->id.objectName.back().second;
}

class AlarmRowsTest : public testing::Test {
  protected:
    NmsAlarmPtr raise(std::uint64_t id, const std::string& port,
                      const std::string& severity = "PS_MAJOR") {
        const NmsAlarmPtr alarm = nmsAlarm(id, port, severity);
        rows_.changed({What::Raised, alarm, nullptr});
        return alarm;
    }
    Ports shown(std::size_t height = 100) {
        Ports ports;
        for (const NmsAlarmPtr& alarm : rows_.window(height))
            ports.push_back(portOf(alarm));
        return ports;
    }
    std::string selected() const { return portOf(rows_.selected()); }

    AlarmRows rows_{AlarmFilter{}};
};

TEST_F(AlarmRowsTest, AreSortedAndCounted) {
    raise(1, "a", "PS_MINOR");
    raise(2, "b", "PS_CRITICAL");
    raise(3, "c", "PS_MINOR");
    EXPECT_EQ(shown(), (Ports{"b", "c", "a"}));
    EXPECT_EQ(rows_.counts()[static_cast<std::size_t>(alarms::Severity::Minor)], 2u);
    EXPECT_EQ(rows_.unacknowledged(), 3u);
}

TEST_F(AlarmRowsTest, SelectionStaysWithItsAlarm) {
    raise(1, "a", "PS_MINOR");
    EXPECT_EQ(selected(), "a");
    raise(2, "b", "PS_CRITICAL");
    EXPECT_EQ(selected(), "a");
    const NmsAlarmPtr before = rows_.selected();
    rows_.changed({What::Changed, nmsAlarm(3, "a", "PS_CRITICAL"), before});
    EXPECT_EQ(selected(), "a");
    EXPECT_EQ(shown(), (Ports{"a", "b"}));
    EXPECT_EQ(rows_.size(), 2u);
}

TEST_F(AlarmRowsTest, SelectionGoesToTheNeighbourWhenItsAlarmIsOver) {
    raise(3, "a");
    const NmsAlarmPtr b = raise(2, "b");
    const NmsAlarmPtr c = raise(1, "c");
    rows_.moveSelection(1);
    EXPECT_EQ(selected(), "b");
    rows_.changed({What::Cleared, nmsAlarm(4, "b", "PS_CLEARED"), b});
    EXPECT_EQ(selected(), "c");
    rows_.changed({What::Gone, c, c});
    EXPECT_EQ(selected(), "a");
    rows_.changed({What::Gone, rows_.selected(), rows_.selected()});
    EXPECT_EQ(selected(), "none");
    EXPECT_TRUE(shown().empty());
}

TEST_F(AlarmRowsTest, StateWithTheSameIdReplacesTheOther) {
    const NmsAlarmPtr alarm = raise(1, "a");
    EventRecord other = alarmEvent(1, "a");
    other.fields["additionalText"] = "other";
    rows_.changed({What::Changed, nmsAlarm(other), alarm});
    EXPECT_EQ(shown(), Ports{"a"});
    EXPECT_EQ(rows_.unacknowledged(), 1u);
}

TEST_F(AlarmRowsTest, WindowContainsTheSelection) {
    for (unsigned i = 0; i < 10; ++i)
        raise(10 - i, std::to_string(i));
    EXPECT_EQ(shown(3), (Ports{"0", "1", "2"}));
    rows_.moveSelection(3);
    EXPECT_EQ(shown(3), (Ports{"1", "2", "3"}));
    rows_.moveSelection(-1);
    EXPECT_EQ(shown(3), (Ports{"1", "2", "3"})) << "it moves no more than it must";
    rows_.selectLast();
    EXPECT_EQ(shown(3), (Ports{"7", "8", "9"}));
    EXPECT_EQ(shown(5), (Ports{"5", "6", "7", "8", "9"})) << "a larger window is filled";
    rows_.moveSelection(-100);
    EXPECT_EQ(selected(), "0");
    EXPECT_EQ(shown(2), (Ports{"0", "1"}));
    rows_.moveSelection(100);
    EXPECT_EQ(selected(), "9");
    EXPECT_TRUE(shown(0).empty());
}

TEST_F(AlarmRowsTest, WindowOutlivesTheAlarmsInIt) {
    std::vector<NmsAlarmPtr> all;
    for (unsigned i = 0; i < 10; ++i)
        all.push_back(raise(10 - i, std::to_string(i)));
    rows_.selectLast();
    shown(3);
    for (unsigned i = 7; i < 10; ++i)
        rows_.changed({What::Gone, all[i], all[i]});
    EXPECT_EQ(shown(3), (Ports{"4", "5", "6"}));
    EXPECT_EQ(selected(), "6");
}

TEST_F(AlarmRowsTest, SearchIgnoresCaseAndKeepsUpWithChanges) {
    raise(1, "abc", "PS_MINOR");
    raise(2, "xyz");
    rows_.search("ABC");
    EXPECT_EQ(shown(), Ports{"abc"});
    EXPECT_EQ(selected(), "abc");
    EXPECT_EQ(rows_.size(), 2u);
    EXPECT_EQ(rows_.found(), 1u);
    raise(3, "abcd");
    raise(4, "other");
    EXPECT_EQ(shown(), (Ports{"abcd", "abc"}));
    rows_.search("minor");
    EXPECT_EQ(shown(), Ports{"abc"});
    rows_.search("nothing");
    EXPECT_EQ(selected(), "none");
    raise(5, "x nothing");
    EXPECT_EQ(selected(), "x nothing");
    rows_.search("");
    EXPECT_EQ(shown().size(), 5u);
}

TEST(AlarmFilter, LetsAlarmsLeaveTheRows) {
    AlarmFilter filter;
    filter.onlyUnacknowledged = true;
    AlarmRows rows(filter);
    const NmsAlarmPtr alarm = nmsAlarm(1, "a");
    rows.changed({What::Raised, alarm, nullptr});
    EXPECT_EQ(rows.size(), 1u);
    rows.changed(
        {What::Acknowledged, nmsAlarm(2, "a", "PS_MAJOR", "AI_EVENT_ACKNOWLEDGED"), alarm});
    EXPECT_EQ(rows.size(), 0u);
    EXPECT_EQ(rows.selected(), nullptr);
}

TEST(AlarmFilter, AcceptsByObjectAndSeverity) {
    AlarmFilter filter;
    filter.severities = {alarms::Severity::Major};
    EXPECT_TRUE(filter.accepts(*nmsAlarm(1, "a")));
    EXPECT_FALSE(filter.accepts(*nmsAlarm(1, "a", "PS_MINOR")));
    for (const auto& object :
         {Ports{"ManagedElement=ne-1"}, Ports{"EMS=Kelp/EMS", "ManagedElement=ne-1"},
          Ports{"EMS=Kelp/EMS"}, Ports{"ManagedElement=ne-1", "PTP=a"}}) {
        filter.object = objectNameFrom(object);
        EXPECT_TRUE(filter.accepts(*nmsAlarm(1, "a"))) << object.back();
    }
    for (const auto& object : {Ports{"ManagedElement=ne"}, Ports{"PTP=a"},
                               Ports{"ManagedElement=ne-1", "PTP=a", "CTP=1"}}) {
        filter.object = objectNameFrom(object);
        EXPECT_FALSE(filter.accepts(*nmsAlarm(1, "a"))) << object.back();
    }
    EXPECT_THROW(objectNameFrom({"=a"}), std::invalid_argument);
    EXPECT_THROW(objectNameFrom({"a"}), std::invalid_argument);
}

class AlarmScreenTest : public testing::Test {
  protected:
    void raise(const NmsAlarmPtr& alarm) { screen_.changed({What::Raised, alarm, nullptr}); }
    std::optional<AlarmScreen::Wish> type(const std::string& text) {
        std::optional<AlarmScreen::Wish> wish;
        for (const char c : text)
            wish = screen_.pressed({KeyKind::Character, std::string(1, c)});
        return wish;
    }
    std::optional<AlarmScreen::Wish> press(KeyKind kind) { return screen_.pressed({kind}); }
    /// All lines, one below the other.
    std::string text(unsigned width = 120, unsigned height = 24) {
        std::string all;
        for (const ScreenLine& line : screen_.frame(width, height))
            all += line.text + '\n';
        return all;
    }
    bool isShown(const std::string& part) { return text().find(part) != std::string::npos; }

    AlarmScreen screen_{AlarmFilter{}, "title"};
};

TEST_F(AlarmScreenTest, ShowsStateCountsAndRows) {
    EXPECT_TRUE(isShown("NOT CONNECTED"));
    screen_.stateIs(AlarmDisplay::State::InStep);
    raise(nmsAlarm(1, "a", "PS_CRITICAL"));
    raise(nmsAlarm(2, "b", "PS_MINOR", "AI_EVENT_ACKNOWLEDGED"));
    EXPECT_TRUE(isShown("title  connected, in step with the EMS\n"));
    EXPECT_TRUE(
        isShown("critical 1  major 0  minor 1  warning 0  indeterminate 0  total 2  "
                "unacknowledged 1"));
    const ScreenFrame frame = screen_.frame(120, 24);
    ASSERT_EQ(frame.size(), 24u);
    EXPECT_EQ(frame[3].style, LineStyle::Critical);
    EXPECT_TRUE(frame[3].isSelected);
    EXPECT_NE(frame[4].text.find("minor         ack 20261121073000.0Z"), std::string::npos)
        << frame[4].text;
    EXPECT_NE(frame[23].text.find("q quit"), std::string::npos);
}

TEST_F(AlarmScreenTest, StateThatIsOutOfDateStandsOut) {
    screen_.stateIs(AlarmDisplay::State::Uncertain);
    EXPECT_TRUE(isShown("EVENTS WERE LOST, the list may be out of date"));
    EXPECT_EQ(screen_.frame(80, 24)[0].style, LineStyle::Alert);
    screen_.stateIs(AlarmDisplay::State::Reading);
    EXPECT_EQ(screen_.frame(80, 24)[0].style, LineStyle::Title);
}

TEST_F(AlarmScreenTest, KeysAcknowledgeTheSelectedAlarm) {
    EXPECT_FALSE(type("a")) << "there is none";
    raise(nmsAlarm(2, "a"));
    raise(nmsAlarm(1, "b"));
    press(KeyKind::Down);
    auto wish = type("a");
    ASSERT_TRUE(wish);
    EXPECT_EQ(wish->kind, AlarmScreen::Wish::Kind::Acknowledge);
    EXPECT_EQ(wish->alarm, nmsAlarm(1, "b")->id);
    press(KeyKind::Home);
    wish = type("u");
    ASSERT_TRUE(wish);
    EXPECT_EQ(wish->kind, AlarmScreen::Wish::Kind::Unacknowledge);
    EXPECT_EQ(wish->alarm, nmsAlarm(2, "a")->id);
    wish = type("q");
    ASSERT_TRUE(wish);
    EXPECT_EQ(wish->kind, AlarmScreen::Wish::Kind::Quit);
}

TEST_F(AlarmScreenTest, TypingSearches) {
    raise(nmsAlarm(1, "quay"));
    raise(nmsAlarm(2, "other"));
    EXPECT_FALSE(type("/qa")) << "letters of a search are no commands";
    EXPECT_TRUE(isShown("search: qa_"));
    EXPECT_TRUE(isShown("found 0"));
    press(KeyKind::Backspace);
    type("uay");
    EXPECT_TRUE(isShown("found 1"));
    EXPECT_FALSE(isShown("PTP=other"));
    press(KeyKind::Enter);
    EXPECT_TRUE(isShown("[quay]"));
    EXPECT_TRUE(type("a"));
    press(KeyKind::Escape);
    EXPECT_TRUE(isShown("PTP=other"));
    type("/");
    type(std::string(1000, 'x'));
    EXPECT_TRUE(isShown("search: xxx"));
    screen_.pressed({KeyKind::Backspace});
    EXPECT_FALSE(isShown(std::string(100, 'x')));
}

TEST_F(AlarmScreenTest, BackspaceRemovesAWholeCharacter) {
    type("/");
    screen_.pressed({KeyKind::Character, "\xc3\xa4"});
    press(KeyKind::Backspace);
    EXPECT_TRUE(isShown("search: _"));
    press(KeyKind::Backspace);
    EXPECT_TRUE(isShown("search: _"));
}

TEST_F(AlarmScreenTest, HostileTextIsNeverShownRaw) {
    EventRecord event = alarmEvent(1, "\033[2Jclear\007");
    event.fields["additionalText"] =
        "a\033]0;title\007b\r\nc\x7f \xc2\x9b broken \xff\xc3(" + std::string(100000, 'x');
    event.fields["probableCause"] = "L\tO\0S";
    event.fields["probableCauseQualifier"] = "\033[31m";
    event.fields["emsTime"] = "\033[H";
    event.fields["\033[0m"] = "field \033[5m name";
    raise(nmsAlarm(event));
    screen_.notice({"\033notice", {{"reason", "\033[1m"}}, ""});
    press(KeyKind::Enter);
    for (const unsigned width : {0u, 1u, 10u, 80u, 200u}) {
        for (const unsigned height : {0u, 1u, 3u, 5u, 24u, 60u}) {
            const ScreenFrame frame = screen_.frame(width, height);
            EXPECT_LE(frame.size(), height);
            for (const ScreenLine& line : frame) {
                EXPECT_LE(displayWidth(line.text), width);
                for (const char c : line.text) {
                    EXPECT_GE(static_cast<unsigned char>(c), 0x20) << line.text;
                    EXPECT_NE(c, 0x7f);
                }
                EXPECT_EQ(line.text.find("\xc2\x9b"), std::string::npos);
                EXPECT_EQ(line.text.find('\xff'), std::string::npos);
            }
        }
    }
}

TEST_F(AlarmScreenTest, DetailsHaveAllFields) {
    EventRecord event = alarmEvent(1, "a");
    event.fields["additionalInfo"] = {{"ticket", "4711"}};
    raise(nmsAlarm(event));
    EXPECT_FALSE(isShown("ticket"));
    press(KeyKind::Enter);
    EXPECT_TRUE(isShown("additionalInfo: {\"ticket\":\"4711\"}"));
    EXPECT_TRUE(isShown("notificationId: 1\n"));
    press(KeyKind::Enter);
    EXPECT_FALSE(isShown("ticket"));
}

TEST_F(AlarmScreenTest, NoticesAndMessagesAreAtTheBottom) {
    screen_.notice({"connectionLost", {{"reason", "gone"}}, ""});
    EXPECT_TRUE(isShown("connectionLost  reason gone\n"));
    screen_.changed({What::Passed, nmsAlarm(1, "a"), nullptr});
    EXPECT_TRUE(isShown("message: major ManagedElement=ne-1, PTP=a LOS no light\n"));
}

}  // namespace
}  // namespace kelp::nms
