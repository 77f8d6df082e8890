#include "alarms/ack_alarms.h"

#include <fmt/core.h>
#include <kelp/alarms/alarm_json.h>
#include <kelp/util/trace_log.h>

#include <algorithm>
#include <fstream>
#include <iostream>
#include <iterator>
#include <optional>
#include <stdexcept>

#include "alarms/alarm_reader.h"
#include "alarms/nms_alarm.h"
#include "app/exit_codes.h"
#include "app/with_session.h"
#include "text/display_text.h"
#include "text/json_line.h"
#include "upload/network_reader.h"

namespace kelp::nms {

namespace {

using alarms::AlarmId;
using Json = nlohmann::ordered_json;

constexpr std::uint32_t kAckBatch = 500;
constexpr const char* kEmsOfName = "EMS";

/// What was acknowledged, and what was not.
struct Result {
    std::size_t acknowledged = 0;
    std::vector<AlarmId> failed;
    std::vector<alarms::Position> unknownIds;
};

Json jsonOf(const AlarmId& id) {
    return {{"objectName", alarms::toJson(id.objectName)},
            {"layerRate", id.layerRate},
            {"probableCause", id.probableCause},
            {"probableCauseQualifier", id.probableCauseQualifier}};
}

std::string shownId(const AlarmId& id) {
    std::string words;
    for (const auto& [name, value] : id.objectName)
        words += (words.empty() ? "" : ", ") + name + "=" + value;
    return util::escaped(fmt::format("{}: {} \"{}\", layer rate {}", words, id.probableCause,
                                     id.probableCauseQualifier, id.layerRate));
}

/// The first component of the names of all objects of the EMS.
alarms::Name::value_type emsComponentOf(emsMgr::EMSMgr_I_ptr manager) {
    emsMgr::EMS_T_var ems;
    NmsSession::call("getEMS", [&] { manager->getEMS(ems.out()); });
    if (ems->name.length() == 0)
        throw NmsError("getEMS: the EMS has no name");
    return {ems->name[0].name.in(), ems->name[0].value.in()};
}

std::vector<AlarmId> withEms(std::vector<AlarmId> alarms, emsMgr::EMSMgr_I_ptr manager) {
    std::optional<alarms::Name::value_type> ems;
    for (AlarmId& id : alarms) {
        if (!id.objectName.empty() && id.objectName.front().first == kEmsOfName)
            continue;
        if (!ems)
            ems = emsComponentOf(manager);
        id.objectName.insert(id.objectName.begin(), *ems);
    }
    return alarms;
}

/// Find the alarms whose present states have these notification ids. Takes those found out of
/// `ids`.
std::vector<AlarmId> foundById(AlarmReader& reader, std::set<alarms::Position>& ids) {
    std::vector<AlarmId> found;
    std::string whyNot;
    reader.read(
        [&](const EventRecord& event) {
            const NmsAlarmPtr alarm = alarmOf(event, whyNot);
            if (alarm != nullptr && ids.erase(alarm->notificationId) > 0)
                found.push_back(alarm->id);
        },
        [] { return false; });
    return found;
}

Result acknowledgeAll(NmsSession& session, const AckOptions& options) {
    AlarmReader reader(session, kAckBatch);
    std::vector<AlarmId> wanted = withEms(options.alarms, reader.manager());
    Result result;
    if (!options.notificationIds.empty()) {
        std::set<alarms::Position> ids = options.notificationIds;
        std::ranges::move(foundById(reader, ids), std::back_inserter(wanted));
        result.unknownIds.assign(ids.begin(), ids.end());
    }
    result.failed = acknowledge(reader.manager(), wanted, options.what);
    result.acknowledged = wanted.size() - std::min(wanted.size(), result.failed.size());
    return result;
}

void writeJson(const Result& result, bool isAcknowledged, Report& report) {
    Json failed = Json::array();
    for (const AlarmId& id : result.failed)
        failed.push_back(jsonOf(id));
    Json unknown = Json::array();
    for (const alarms::Position id : result.unknownIds)
        unknown.push_back(std::to_string(id));
    report.line(lineOf({{isAcknowledged ? "acknowledged" : "unacknowledged", result.acknowledged},
                        {"failed", failed},
                        {"unknownNotificationIds", unknown}}));
}

void writeWords(const Result& result, bool isAcknowledged, Report& report) {
    for (const AlarmId& id : result.failed)
        report.line("failed, no such active alarm: " + shownId(id));
    for (const alarms::Position id : result.unknownIds)
        report.line(fmt::format("failed, no active alarm has notification id {}", id));
    report.line(fmt::format("{} {}", countOf(result.acknowledged, "alarm"),
                            isAcknowledged ? "acknowledged" : "unacknowledged"));
}

std::string contentOf(const std::string& file) {
    if (file == "-")
        return {std::istreambuf_iterator<char>(std::cin), {}};
    std::ifstream in(file);
    if (!in)
        throw std::invalid_argument(file + " cannot be read");
    return {std::istreambuf_iterator<char>(in), {}};
}

}  // namespace

std::vector<AlarmId> identitiesIn(const std::string& file) {
    Json json = Json::parse(contentOf(file), nullptr, false);
    if (json.is_discarded())
        throw std::invalid_argument(file + " is no JSON");
    if (json.is_object() && json.contains("alarms"))
        json = Json(json["alarms"]);
    if (!json.is_array())
        json = Json::array({json});
    std::vector<AlarmId> all;
    for (const Json& each : json) {
        const std::string place = file + ", alarm " + std::to_string(all.size() + 1) + ": ";
        if (!each.is_object() || !each.contains("objectName") || !each.contains("probableCause"))
            throw std::invalid_argument(place + "objectName or probableCause is missing");
        try {
            all.push_back(identityIn({"NT_ALARM", each}));
        } catch (const alarms::WrongAlarm& wrong) {
            throw std::invalid_argument(place + wrong.what());
        }
    }
    return all;
}

int ackAlarms(const CommandContext& context, const AckOptions& options) {
    return withSession(context, [&](NmsSession& session) -> int {
        try {
            const Result result = acknowledgeAll(session, options);
            const auto write = context.options.json ? writeJson : writeWords;
            write(result, options.what.isAcknowledged, *context.report);
            return result.failed.empty() && result.unknownIds.empty() ? kDone : kNotAcknowledged;
        } catch (const NoSuchManager& lack) {
            Report::error(lack.what());
            return kNoSuchManager;
        }
    });
}

}  // namespace kelp::nms
