#include <kelp/oplog/log_search.h>
#include <kelp/util/csv.h>
#include <kelp/util/json_text.h>
#include <nlohmann/json.hpp>

#include <array>
#include <utility>

namespace kelp::oplog {

namespace {

constexpr std::array kColumns = {"id",         "time",       "user",   "nmsAddress", "peer",
                                 "operation",  "objectKind", "object", "outcome",    "detail",
                                 "durationUs", "missing",    "until"};

/// The fields in the order of the columns. A field that the entry does not have is empty.
std::array<std::string, kColumns.size()> fieldsOf(const LogEntry& entry) {
    const bool isGap = entry.missing > 0;
    return {std::to_string(entry.id),
            timeText(entry.time),
            entry.user,
            entry.nmsAddress,
            entry.peer,
            entry.operation,
            entry.objectKind,
            entry.object,
            entry.outcome,
            entry.detail,
            entry.duration ? std::to_string(entry.duration->count()) : "",
            isGap ? std::to_string(entry.missing) : "",
            isGap ? timeText(entry.until) : ""};
}

}  // namespace

std::string csvHeader() {
    return util::csvRecord(kColumns);
}

std::string csvOf(const LogEntry& entry) {
    return util::csvRecord(fieldsOf(entry));
}

std::string jsonOf(const LogEntry& entry) {
    nlohmann::ordered_json object = nlohmann::ordered_json::object();
    const auto fields = fieldsOf(entry);
    for (std::size_t i = 0; i < fields.size(); ++i) {
        if (!fields[i].empty())
            object[kColumns[i]] = fields[i];
    }
    object["id"] = entry.id;
    if (entry.duration)
        object["durationUs"] = entry.duration->count();
    if (entry.missing > 0)
        object["missing"] = entry.missing;
    return util::jsonText(object);
}

}  // namespace kelp::oplog
