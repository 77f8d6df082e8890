#include "alarms/operator_acknowledgement.h"

#include <kelp/alarms/alarm_json.h>
#include <kelp/util/trace_log.h>

#include <map>
#include <optional>
#include <set>
#include <string>
#include <utility>
#include <vector>

#include "alarms/acknowledgement_limits.h"
#include "alarms/alarm_list_use.h"

namespace kelp::ems {

namespace {

using admin::Json;
using admin::RequestError;
using alarms::AlarmId;
using alarms::Outcome;

/// As many as can be submitted at a time.
constexpr std::size_t kAlarmsMax = 10'000;

struct Acknowledgement {
    std::vector<std::string> ids;               // empty: the identity counts
    std::vector<std::optional<AlarmId>> named;  // of the same length
    std::string user;
    std::string notepad;
    bool isAcknowledged = true;
};

[[noreturn]] void refuseMember(const std::string& path, const std::string& expected) {
    throw RequestError(path.substr(1) + " must be " + expected, RequestError::kBadRequest, path);
}

std::string readText(const Json& value, const std::string& path, std::size_t bytesMax) {
    if (!value.is_string() || value.get_ref<const std::string&>().size() > bytesMax)
        refuseMember(path, "a text of at most " + std::to_string(bytesMax) + " octets");
    return util::escaped(value.get<std::string>(), bytesMax);
}

/// Read an identity as that of an alarm. What is missing gets the default of a report.
AlarmId readIdentity(const Json& json, const std::string& path) {
    static const std::set<std::string> known = {"objectName", "layerRate", "probableCause",
                                                "probableCauseQualifier"};
    for (const auto& [key, value] : json.items()) {
        if (!known.contains(key))
            refuseMember(path + "/" + util::escaped(key, 100),
                         "left out: it is no part of an identity");
    }
    Json alarm = json;
    alarm["perceivedSeverity"] = "PS_INDETERMINATE";
    alarm["objectType"] = "OT_AID";  // not used
    try {
        return alarms::identityOf(alarms::readAlarm(alarm, {}));
    } catch (const alarms::WrongAlarm& wrong) {
        throw RequestError(path.substr(1) + ": " + wrong.what(), RequestError::kBadRequest, path);
    }
}

void readAlarm(const Json& json, const std::string& path, Acknowledgement& into) {
    if (json.is_object()) {
        into.ids.emplace_back();
        into.named.emplace_back(readIdentity(json, path));
    } else if (json.is_string() && !json.get_ref<const std::string&>().empty()) {
        into.ids.push_back(json);
        into.named.emplace_back();
    } else {
        refuseMember(path, "a notification id as a text, or an identity");
    }
}

Acknowledgement readAcknowledgement(const Json& request) {
    if (!request.is_object() || !request.contains("alarms") || !request.contains("user"))
        throw RequestError(R"(the request must be as in {"alarms": [...], "user": "..."})");
    Acknowledgement read;
    for (const auto& [key, value] : request.items()) {
        const std::string path = "/" + key;
        if (key == "alarms") {
            if (!value.is_array() || value.empty() || value.size() > kAlarmsMax)
                refuseMember(path, "an array of 1 to " + std::to_string(kAlarmsMax) + " alarms");
            for (std::size_t i = 0; i < value.size(); ++i)
                readAlarm(value[i], path + "/" + std::to_string(i), read);
        } else if (key == "user") {
            read.user = readText(value, path, kUserBytesMax);
            if (read.user.empty())
                refuseMember(path, "the name of who acknowledges");
        } else if (key == "notepad") {
            read.notepad = readText(value, path, kNotepadBytesMax);
        } else if (key == "isAcknowledged") {
            if (!value.is_boolean())
                refuseMember(path, "true or false");
            read.isAcknowledged = value;
        } else {
            throw RequestError("\"" + util::escaped(key, 100) + "\" is no member of the request");
        }
    }
    return read;
}

/// The active alarms whose last events have these ids.
std::map<std::string, alarms::Entry> findIds(const alarms::ListState& active,
                                             const std::vector<std::string>& ids) {
    const std::set<std::string> wanted(ids.begin(), ids.end());
    alarms::AlarmQuery query;
    query.also = [&](const alarms::ActiveAlarm& entry) {
        return wanted.contains(std::to_string(entry.notificationId));
    };
    std::map<std::string, alarms::Entry> found;
    for (alarms::Entry& each : active.read(query))
        found.emplace(std::to_string(each->notificationId), std::move(each));
    return found;
}

}  // namespace

Json acknowledgeForOperator(const Json& request) {
    const Acknowledgement asked = readAcknowledgement(request);
    const auto active = listOfAlarms()->state();
    const auto byId = findIds(*active, asked.ids);
    std::vector<Outcome> outcomes(asked.ids.size(), Outcome::NotActive);
    std::vector<alarms::Submission> changes;
    std::vector<std::size_t> places;  // of the changes
    for (std::size_t i = 0; i < outcomes.size(); ++i) {
        const auto known = byId.find(asked.ids[i]);
        const alarms::Entry entry = asked.named[i]        ? active->find(*asked.named[i])
                                    : known != byId.end() ? known->second
                                                          : nullptr;
        if (!entry)
            continue;
        if (entry->isAcknowledged() == asked.isAcknowledged) {
            outcomes[i] = Outcome::AlreadySo;
            continue;
        }
        changes.emplace_back(alarms::Acknowledge{alarms::identityOf(entry->alarm),
                                                 asked.isAcknowledged, asked.user, asked.notepad});
        places.push_back(i);
    }
    const std::vector<alarms::Result> results = submit(std::move(changes));
    for (std::size_t i = 0; i < results.size(); ++i)
        outcomes[places[i]] = results[i].outcome.value_or(Outcome::NotActive);
    Json names = Json::array();
    for (const Outcome each : outcomes)
        names.push_back(alarms::nameOf(each));
    return {{"position", std::to_string(listOfAlarms()->state()->position())},
            {"outcomes", std::move(names)}};
}

}  // namespace kelp::ems
