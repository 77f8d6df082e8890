#include "events/event_table.h"

#include <gtest/gtest.h>

#include "event_samples.h"
#include "text/display_text.h"

namespace kelp::nms {
namespace {

EventCells cells(const std::string& text = "no light") {
    return {"07:30:00", "MAJOR", "NT_ALARM", "ManagedElement=ne-1, PTP=/rack=1/shelf=2/slot=3",
            "LOS",      text};
}

TEST(EventTable, NoLineIsWiderThanTheTerminal) {
    for (unsigned width = 1; width <= 250; ++width) {
        const EventTable table(width);
        EXPECT_LE(displayWidth(table.header()), width);
        EXPECT_LE(displayWidth(table.row(cells(std::string(300, 'x')))), width);
    }
}

TEST(EventTable, ColumnsStandBelowTheirHeaders) {
    for (const unsigned width : {0u, 80u, 100u, 132u, 200u}) {
        const std::string header = EventTable(width).header();
        const std::string row = EventTable(width).row(cells());
        EXPECT_EQ(row.find("MAJOR"), header.find("SEVERITY")) << width;
        EXPECT_EQ(row.find("NT_ALARM"), header.find("TYPE")) << width;
        EXPECT_EQ(row.find("ManagedElement"), header.find("OBJECT")) << width;
        if (width != 0) {
            EXPECT_EQ(row.find("LOS"), header.find("CAUSE")) << width;
            EXPECT_EQ(row.find("no light"), header.find("TEXT")) << width;
        }
    }
}

TEST(EventTable, WhatDoesNotFitIsCutAndMarked) {
    const std::string row = EventTable(80).row(cells());
    EXPECT_NE(row.find("ManagedEleme"), std::string::npos) << row;
    EXPECT_EQ(row.find("slot=3"), std::string::npos) << row;
    EXPECT_NE(row.find("~ LOS"), std::string::npos) << row;
}

TEST(EventTable, NothingIsCutWithoutATerminal) {
    const std::string text(300, 'x');
    const std::string row = EventTable(0).row(cells(text));
    EXPECT_NE(row.find("slot=3"), std::string::npos) << row;
    EXPECT_NE(row.find(text), std::string::npos) << row;
}

TEST(EventTable, TheDayIsShownWhereThereIsRoom) {
    EXPECT_FALSE(EventTable(80).showsDay());
    EXPECT_TRUE(EventTable(100).showsDay());
}

TEST(DisplayText, WidthIsInColumnsNotBytes) {
    EXPECT_EQ(displayWidth("abc"), 3u);
    EXPECT_EQ(displayWidth("\xC3\xA9t\xC3\xA9"), 3u);         // accents
    EXPECT_EQ(displayWidth("\xE6\x97\xA5\xE6\x9C\xAC"), 4u);  // wide characters
    EXPECT_EQ(displayWidth("e\xCC\x81"), 1u);                 // a combining accent
    EXPECT_EQ(displayWidth("\xFF\xFE"), 2u) << "no UTF-8, but no crash";
}

TEST(DisplayText, CharactersAreNotCutInHalf) {
    EXPECT_EQ(cutTo("\xC3\xA9\xC3\xA9\xC3\xA9", 2), "\xC3\xA9~");
    EXPECT_EQ(cutTo("\xE6\x97\xA5\xE6\x9C\xAC\xE6\x97\xA5", 4), "\xE6\x97\xA5~");
    EXPECT_EQ(cutTo("abc", 3), "abc");
    EXPECT_EQ(cutTo("abc", 2), "a~");
    EXPECT_EQ(cutTo("abc", 1), "~");
    EXPECT_EQ(cutTo("abc", 0), "");
    EXPECT_EQ(cutTo("", 0), "");
}

TEST(DisplayText, PaddingCountsColumns) {
    EXPECT_EQ(paddedTo("\xC3\xA9", 3), "\xC3\xA9  ");
    EXPECT_EQ(paddedTo("abcd", 3), "abcd");
}

TEST(EventCells, AlarmIsShownByObjectCauseAndText) {
    const EventCells shown = cellsOf(alarm("1", "PS_CRITICAL"));
    EXPECT_EQ(shown.severity, "CRITICAL");
    EXPECT_EQ(shown.type, "NT_ALARM");
    EXPECT_EQ(shown.object, "ManagedElement=ne-1, PTP=/rack=1/shelf=2")
        << "all of it lies in the EMS";
    EXPECT_EQ(shown.cause, "LOS");
    EXPECT_EQ(shown.text, "no light");
}

TEST(EventCells, EmsItselfIsNamed) {
    EXPECT_EQ(cellsOf(heartbeat()).object, "EMS=Kelp/EMS");
    EXPECT_EQ(cellsOf(heartbeat()).severity, "");
}

TEST(EventCells, NativeCauseStandsInForNone) {
    EventRecord event = alarm("1");
    event.fields["nativeProbableCause"] = "Laser off";
    EXPECT_EQ(cellsOf(event).cause, "LOS");
    event.fields["probableCause"] = "UNIDENTIFIED";
    EXPECT_EQ(cellsOf(event).cause, "Laser off");
    event.fields["probableCause"] = "";
    EXPECT_EQ(cellsOf(event).cause, "Laser off");
}

TEST(EventCells, OtherTypesShowTheirCorrespondingFields) {
    const EventCells change = cellsOf({"NT_ATTRIBUTE_VALUE_CHANGE",
                                       {{"notificationId", "1"},
                                        {"objectName", {{"EMS", "e"}, {"ManagedElement", "ne-1"}}},
                                        {"attributeList", {{"userLabel", "north"}}}}});
    EXPECT_EQ(change.object, "ManagedElement=ne-1");
    EXPECT_EQ(change.text, "userLabel=north");
    const EventCells protection =
        cellsOf({"NT_PROTECTION_SWITCH",
                 {{"switchReason", "SR_MANUAL"}, {"protectedTP", {{"EMS", "e"}, {"PTP", "p"}}}}});
    EXPECT_EQ(protection.object, "PTP=p");
    EXPECT_EQ(protection.cause, "SR_MANUAL");
    const EventCells transfer = cellsOf({"NT_FILE_TRANSFER_STATUS",
                                         {{"fileName", "pm.csv"},
                                          {"transferStatus", "FT_FAILED"},
                                          {"failureReason", "disk full"}}});
    EXPECT_EQ(transfer.object, "pm.csv");
    EXPECT_EQ(transfer.cause, "FT_FAILED");
    EXPECT_EQ(transfer.text, "disk full");
}

TEST(EventCells, ControlCharactersDoNotReachTheTerminal) {
    EventRecord event = alarm("1");
    event.fields["additionalText"] = "a\033[2Jb\nc";
    const std::string text = cellsOf(event).text;
    EXPECT_EQ(text.find('\033'), std::string::npos);
    EXPECT_EQ(text.find('\n'), std::string::npos);
}

}  // namespace
}  // namespace kelp::nms
