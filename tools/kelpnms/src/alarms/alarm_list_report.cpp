#include "alarms/alarm_list_report.h"

#include <fmt/core.h>

#include <algorithm>
#include <map>

#include "alarms/alarm_table.h"
#include "app/report.h"
#include "text/display_text.h"
#include "text/json_line.h"

namespace kelp::nms {

namespace {

using Counts = std::map<alarms::Severity, std::size_t>;

Counts countsOf(const std::vector<NmsAlarmPtr>& alarms) {
    Counts counts;
    for (const NmsAlarmPtr& alarm : alarms)
        ++counts[alarm->severity];
    return counts;
}

auto unacknowledgedIn(const std::vector<NmsAlarmPtr>& alarms) {
    return std::count_if(alarms.begin(), alarms.end(),
                         [](const NmsAlarmPtr& alarm) { return !alarm->isAcknowledged; });
}

}  // namespace

void AlarmListReport::notice(const Notice& notice) {
    // standard output has the list alone
    if (notice.name == "alarmNotUsable" || notice.name == "tooManyAlarms")
        Report::error(notice.name + ": " + lineOf(notice.details));
}

void AlarmListReport::resynchronised(const AlarmView& view) {
    if (isRead_)
        return;
    view.forEach([this](const NmsAlarmPtr& alarm) {
        if (filter_.accepts(*alarm))
            alarms_.push_back(alarm);
    });
    std::sort(alarms_.begin(), alarms_.end(), [](const NmsAlarmPtr& one, const NmsAlarmPtr& other) {
        return comesBefore(*one, *other);
    });
    isRead_ = true;
    isComplete_ = !view.isFull();
    whenRead_();
}

std::string AlarmListReport::asJson() const {
    std::string text = "{\"alarms\":[";
    for (const NmsAlarmPtr& alarm : alarms_)
        text += (alarm == alarms_.front() ? "\n" : ",\n") + lineOf(fieldsOf(*alarm));
    nlohmann::ordered_json counts = nlohmann::ordered_json::object();
    Counts numbers = countsOf(alarms_);
    for (const alarms::Severity severity : kSeverityOrder)
        counts[shortNameOf(severity)] = numbers[severity];
    return text + fmt::format("],\n\"counts\":{},\"unacknowledged\":{},\"complete\":{}}}\n",
                              lineOf(counts), unacknowledgedIn(alarms_), isComplete_);
}

std::string AlarmListReport::asTable(unsigned width) const {
    const AlarmTable table(width);
    std::string text = table.header() + '\n';
    for (const NmsAlarmPtr& alarm : alarms_)
        text += table.row(cellsOf(*alarm)) + '\n';
    text += fmt::format("{}, {} unacknowledged", countOf(alarms_.size(), "alarm"),
                        unacknowledgedIn(alarms_));
    for (const auto& [severity, number] : countsOf(alarms_))
        text += fmt::format(", {} {}", number, shortNameOf(severity));
    return text + '\n';
}

}  // namespace kelp::nms
