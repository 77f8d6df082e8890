#include "log_table.h"

#include <algorithm>
#include <cstdio>
#include <vector>

namespace kelp::ctl {

namespace {

using oplog::LogEntry;
using oplog::LogKind;

struct Column {
    const char* title;
    int width;
    std::string (*text)(const LogEntry&);
};

std::string durationText(const LogEntry& entry) {
    if (!entry.duration)
        return "";
    char text[32];
    std::snprintf(text, sizeof text, "%.1f", static_cast<double>(entry.duration->count()) / 1000);
    return text;
}

/// Return the outcome, with the detail that a record for several requests has.
std::string outcomeText(const LogEntry& entry) {
    return entry.outcome + (entry.detail.empty() ? "" : ", ") + entry.detail;
}

std::string objectText(const LogEntry& entry) {
    return entry.objectKind + (entry.objectKind.empty() || entry.object.empty() ? "" : " ") +
           entry.object;
}

const std::vector<Column>& columnsOf(LogKind kind) {
    static const Column time{"TIME", 24,
                             [](const LogEntry& entry) { return oplog::timeText(entry.time); }};
    static const Column user{"USER", 12, [](const LogEntry& entry) { return entry.user; }};
    static const Column nms{"NMS", 21, [](const LogEntry& entry) { return entry.nmsAddress; }};
    static const Column peer{"PEER", 21, [](const LogEntry& entry) { return entry.peer; }};
    static const Column object{"OBJECT", 20, objectText};
    static const Column outcome{"OUTCOME", 16, [](const LogEntry& entry) { return entry.outcome; }};
    static const std::vector<Column> operations = {
        time,
        user,
        nms,
        peer,
        {"OPERATION", 36, [](const LogEntry& entry) { return entry.operation; }},
        object,
        {"MS", 8, durationText},
        {"OUTCOME", 16, outcomeText}};
    static const std::vector<Column> security = {
        time,    {"EVENT", 15, [](const LogEntry& entry) { return entry.operation; }},
        user,    nms,
        peer,    object,
        outcome, {"DETAIL", 0, [](const LogEntry& entry) { return entry.detail; }}};
    return kind == LogKind::Operations ? operations : security;
}

std::string gapLine(const LogEntry& gap) {
    return oplog::timeText(gap.time) + "  *** " + std::to_string(gap.missing) +
           " record(s) missing until " + oplog::timeText(gap.until);
}

std::string tableLine(const std::vector<std::string>& texts, const std::vector<Column>& columns) {
    std::string line;
    for (std::size_t i = 0; i < texts.size(); ++i) {
        std::string text = texts[i];
        text.resize(std::max(text.size(), static_cast<std::size_t>(columns[i].width)), ' ');
        line += (i == 0 ? "" : "  ") + text;
    }
    line.erase(line.find_last_not_of(' ') + 1);
    return line;
}

}  // namespace

std::string tableLine(const LogEntry& entry, LogKind kind) {
    if (entry.missing > 0)
        return gapLine(entry);
    std::vector<std::string> texts;
    for (const Column& column : columnsOf(kind))
        texts.push_back(column.text(entry));
    return tableLine(texts, columnsOf(kind));
}

std::string tableHeader(LogKind kind) {
    std::vector<std::string> titles;
    for (const Column& column : columnsOf(kind))
        titles.emplace_back(column.title);
    return tableLine(titles, columnsOf(kind));
}

}  // namespace kelp::ctl
