#include "events/event_view.h"

#include <gtest/gtest.h>

#include <vector>

#include "event_samples.h"

namespace kelp::nms {
namespace {

using Line = nlohmann::json;

/// A view whose lines the test reads.
class EventViewTest : public testing::Test {
  protected:
    EventView& begin(bool json, bool colours, unsigned width, unsigned wanted = 0) {
        EventReport report({json, colours, [width] { return width; },
                            [] { return WallTime(std::chrono::seconds(1800000000)); },
                            [this](const std::string& line) { lines_.push_back(line); }});
        view_ = std::make_unique<EventView>(std::move(report), GapDetector(std::nullopt), wanted,
                                            [this] { ++enough_; });
        view_->connecting();
        view_->connected();
        return *view_;
    }
    std::string last() const { return lines_.empty() ? std::string() : lines_.back(); }
    Line lastJson() const { return Line::parse(last(), nullptr, false); }

    std::vector<std::string> lines_;
    std::unique_ptr<EventView> view_;
    int enough_ = 0;
};

TEST_F(EventViewTest, TableBeginsWithItsHeaderAndOnlyOnce) {
    EventView& view = begin(false, false, 80);
    ASSERT_EQ(lines_.size(), 1u);
    EXPECT_EQ(last().substr(0, 4), "TIME");
    view.connecting();
    view.connected();
    EXPECT_EQ(lines_.size(), 1u);
}

TEST_F(EventViewTest, SeverityGivesTheColour) {
    EventView& view = begin(false, true, 80);
    std::vector<std::string> colours;
    for (const char* severity :
         {"PS_CRITICAL", "PS_MAJOR", "PS_MINOR", "PS_WARNING", "PS_INDETERMINATE", "PS_CLEARED"}) {
        view.show(alarm(severity, severity));
        ASSERT_EQ(last().substr(0, 2), "\033[") << severity;
        EXPECT_EQ(last().substr(last().size() - 4), "\033[0m") << severity;
        colours.push_back(last().substr(0, last().find('m') + 1));
        for (std::size_t i = 0; i + 1 < colours.size(); ++i)
            EXPECT_NE(colours[i], colours.back()) << severity;
    }
}

TEST_F(EventViewTest, HeartbeatIsDim) {
    begin(false, true, 80).show(heartbeat());
    EXPECT_EQ(last().substr(0, 4), "\033[2m");
}

TEST_F(EventViewTest, EventWithoutSeverityHasTheTerminalsColour) {
    begin(false, true, 80).show({"NT_STATE_CHANGE", {{"notificationId", "1"}}});
    EXPECT_EQ(last().find('\033'), std::string::npos);
}

TEST_F(EventViewTest, NothingIsColouredUnlessColoursAreOn) {
    EventView& view = begin(false, false, 80);
    view.show(alarm("1", "PS_CRITICAL"));
    view.show(heartbeat());
    view.eventLossCleared("now");
    for (const std::string& line : lines_)
        EXPECT_EQ(line.find('\033'), std::string::npos) << line;
}

TEST_F(EventViewTest, JsonHasTypeAndFields) {
    begin(true, false, 0).show(alarm("17"));
    ASSERT_EQ(lines_.size(), 1u) << "no header";
    EXPECT_EQ(lastJson()["type"], "NT_ALARM");
    EXPECT_EQ(lastJson()["fields"]["notificationId"], "17");
    EXPECT_FALSE(lastJson().contains("duplicate"));
}

TEST_F(EventViewTest, DuplicateIsMarkedAndNotCounted) {
    EventView& view = begin(false, false, 0, 2);
    view.show(alarm("1"));
    view.show(alarm("1"));
    EXPECT_NE(last().find("(duplicate) no light"), std::string::npos) << last();
    EXPECT_EQ(enough_, 0);
    view.show(alarm("2"));
    EXPECT_EQ(enough_, 1);
    const std::size_t before = lines_.size();
    view.show(alarm("3"));
    EXPECT_EQ(lines_.size(), before) << "there had been enough";
    EXPECT_EQ(enough_, 1);
}

TEST_F(EventViewTest, DuplicateIsMarkedInJson) {
    EventView& view = begin(true, false, 0);
    view.show(alarm("1"));
    view.show(alarm("1"));
    EXPECT_EQ(lastJson()["duplicate"], true);
}

TEST_F(EventViewTest, DecreasedIdIsReportedBeforeItsEvent) {
    EventView& view = begin(true, false, 0);
    view.show(alarm("7"));
    view.show(alarm("3"));
    ASSERT_EQ(lines_.size(), 3u);
    EXPECT_EQ(Line::parse(lines_[1])["event"], "notificationIdWentBack");
    EXPECT_EQ(lastJson()["fields"]["notificationId"], "3");
}

TEST_F(EventViewTest, LossIsReportedWithTheAdviceToResynchronise) {
    EventView& view = begin(true, false, 0);
    view.eventLossOccurred("20261121073000.0Z", "4711");
    EXPECT_EQ(lastJson()["event"], "eventLossOccurred");
    EXPECT_EQ(lastJson()["startTime"], "20261121073000.0Z");
    EXPECT_EQ(lastJson()["notificationId"], "4711");
    EXPECT_NE(lastJson()["advice"].get<std::string>().find("resynchronise when"),
              std::string::npos);
    view.eventLossCleared("20261121073100.0Z");
    EXPECT_EQ(lastJson()["event"], "eventLossCleared");
    EXPECT_EQ(lastJson()["endTime"], "20261121073100.0Z");
    EXPECT_EQ(lastJson()["advice"], kResynchronise);
    view.alarmLossOccurred("20261121073000.0Z", "4712");
    EXPECT_EQ(lastJson()["event"], "alarmLossOccurred");
    EXPECT_EQ(lastJson()["advice"], kResynchronise);
}

TEST_F(EventViewTest, NoticeIsWholeOnANarrowTerminalToo) {
    EventView& view = begin(false, false, 40);
    view.eventLossOccurred("20261121073000.0Z", "47\n11");
    EXPECT_NE(last().find(
                  " *** eventLossOccurred  startTime 20261121073000.0Z  notificationId 47\\n11  ("),
              std::string::npos)
        << last();
    view.reconnected(std::chrono::milliseconds(12340));
    EXPECT_NE(
        last().find(std::string(" *** reconnected  awaySeconds 12.3  (") + kResynchronise + ")"),
        std::string::npos)
        << last();
}

TEST_F(EventViewTest, ConnectionChangesAreReported) {
    EventView& view = begin(true, false, 0);
    view.lost("the EMS ended the session");
    EXPECT_EQ(lastJson()["event"], "connectionLost");
    EXPECT_EQ(lastJson()["reason"], "the EMS ended the session");
    view.pausing(std::chrono::seconds(2));
    EXPECT_EQ(lastJson()["event"], "reconnecting");
    EXPECT_EQ(lastJson()["inSeconds"], 2.0);
    view.failed("nobody there");
    EXPECT_EQ(lastJson()["event"], "reconnectFailed");
    EXPECT_EQ(lastJson()["reason"], "nobody there");
    view.reconnected(std::chrono::milliseconds(12340));
    EXPECT_EQ(lastJson()["awaySeconds"], 12.3);
    EXPECT_EQ(lastJson()["advice"], kResynchronise);
    view.notLeft("endSession: TRANSIENT");
    EXPECT_EQ(lastJson()["event"], "logOutFailed");
}

}  // namespace
}  // namespace kelp::nms
