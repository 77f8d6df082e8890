#include "alarms/alarm_table.h"

#include <kelp/util/json_text.h>
#include <kelp/util/trace_log.h>

#include <algorithm>
#include <cctype>
#include <cstdio>
#include <vector>

namespace kelp::ctl {

namespace {

using admin::Json;

constexpr std::size_t kCellBytesMax = 60;
constexpr std::size_t kValueBytesMax = 4096;

struct AlarmColumn {
    const char* title;
    std::string (*text)(const Json& alarm);
};

std::string textAt(const Json& alarm, const char* key) {
    return alarm.contains(key) && alarm[key].is_string() ? alarm[key].get<std::string>() : "";
}

/// "PS_MAJOR" as "major"
std::string severityWord(const std::string& enumerator) {
    std::string word = enumerator.substr(enumerator.starts_with("PS_") ? 3 : 0);
    std::transform(word.begin(), word.end(), word.begin(),
                   [](unsigned char c) { return static_cast<char>(std::tolower(c)); });
    return word;
}

/// The name of an object without the EMS, which is the same for nearly all.
std::string objectText(const Json& name) {
    std::string text;
    const auto add = [&](const std::string& component, const std::string& value) {
        if (component != "EMS" || name.size() == 1)
            text += (text.empty() ? "" : " ") + component + "=" + value;
    };
    if (name.is_object()) {
        for (const auto& [component, value] : name.items())
            add(component, value.is_string() ? value.get<std::string>() : "");
    } else if (name.is_array()) {
        for (const Json& each : name)
            add(textAt(each, "name"), textAt(each, "value"));
    }
    return text;
}

std::string acknowledgementText(const Json& alarm) {
    return alarm.value("isAcknowledged", false) ? "by " + textAt(alarm, "acknowledgedBy") : "no";
}

std::vector<AlarmColumn> columnsOf(AlarmTable kind) {
    std::vector<AlarmColumn> columns = {
        {"ID", [](const Json& alarm) { return textAt(alarm, "notificationId"); }},
        {"TIME", [](const Json& alarm) { return textAt(alarm, "emsTime"); }}};
    if (kind == AlarmTable::History)
        columns.push_back({"END", [](const Json& alarm) { return textAt(alarm, "endTime"); }});
    columns.insert(
        columns.end(),
        {{"SEVERITY",
          [](const Json& alarm) { return severityWord(textAt(alarm, "perceivedSeverity")); }},
         {"ACKNOWLEDGED", acknowledgementText},
         {"REPEATS",
          [](const Json& alarm) {
              return std::to_string(alarm.value("repeats", std::uint64_t{0})) +
                     (alarm.value("isFlapping", false) ? " flapping" : "");
          }},
         {"OBJECT",
          [](const Json& alarm) { return objectText(alarm.value("objectName", Json::object())); }},
         {"CAUSE", [](const Json& alarm) { return textAt(alarm, "probableCause"); }},
         {"TEXT", [](const Json& alarm) { return textAt(alarm, "additionalText"); }}});
    return columns;
}

using AlarmRow = std::vector<std::string>;

void printRow(const AlarmRow& row, const std::vector<std::size_t>& widths) {
    std::string line;
    for (std::size_t i = 0; i < row.size(); ++i) {
        line += (i == 0 ? "" : "  ") + row[i];
        line.append(widths[i] - row[i].size(), ' ');
    }
    line.erase(line.find_last_not_of(' ') + 1);
    std::printf("%s\n", line.c_str());
}

void printRows(const std::vector<AlarmRow>& rows) {
    std::vector<std::size_t> widths(rows.front().size());
    for (const AlarmRow& row : rows) {
        for (std::size_t i = 0; i < row.size(); ++i)
            widths[i] = std::max(widths[i], row[i].size());
    }
    for (const AlarmRow& row : rows)
        printRow(row, widths);
}

/// "2 alarms, 1 unacknowledged: 1 critical, 1 minor"
std::string summaryText(const Json& answer) {
    const auto matching = answer.value("matching", std::uint64_t{0});
    std::string text = std::to_string(matching) + (matching == 1 ? " alarm, " : " alarms, ") +
                       std::to_string(answer.value("unacknowledged", std::uint64_t{0})) +
                       " unacknowledged";
    const char* separator = ": ";
    const Json counts = answer.value("counts", Json::object());
    for (const auto& [severity, count] : counts.items()) {
        if (count == 0)
            continue;
        text += separator + count.dump() + " " + severityWord(severity);
        separator = ", ";
    }
    return text;
}

}  // namespace

void printAlarms(const Json& answer, AlarmTable kind) {
    const std::vector<AlarmColumn> columns = columnsOf(kind);
    std::vector<AlarmRow> rows(1);
    for (const AlarmColumn& column : columns)
        rows.front().emplace_back(column.title);
    for (const Json& alarm : answer.at("alarms")) {
        AlarmRow& row = rows.emplace_back();
        for (const AlarmColumn& column : columns)
            row.push_back(util::escaped(column.text(alarm), kCellBytesMax));
    }
    printRows(rows);
    std::printf("%s%s\n", summaryText(answer).c_str(),
                answer.contains("next") ? " (--limit leaves some out)" : "");
}

void printAlarm(const Json& answer) {
    const Json& alarm = answer.at("alarm");
    std::printf("%-31s %s\n", "state", answer.value("isActive", false) ? "active" : "over");
    for (const auto& [key, value] : alarm.items()) {
        const std::string text =
            value.is_string() ? value.get<std::string>() : util::jsonText(value);
        std::printf("%-31s %s\n", util::escaped(key, kCellBytesMax).c_str(),
                    util::escaped(text, kValueBytesMax).c_str());
    }
}

}  // namespace kelp::ctl
