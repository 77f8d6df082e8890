#include "events/event_cells.h"

#include <kelp/util/json_text.h>
#include <kelp/util/trace_log.h>

#include <array>
#include <string_view>

namespace kelp::nms {

namespace {

using Json = nlohmann::ordered_json;

/// The fields of all event types that can fill a column. The first one present is shown.
constexpr std::array kObjectFields{"objectName", "protectedTP", "protectedE", "groupName",
                                   "meName",     "fileName",    "pmNameList"};
constexpr std::array kCauseFields{"probableCause", "pmParameterName",  "switchReason",
                                  "eSwitchReason", "routeChangeEvent", "transferStatus",
                                  "backupStatus"};
constexpr std::array kTextFields{"additionalText", "attributeList", "failureReason",
                                 "percentComplete"};

constexpr const char* kEmsComponent = "EMS";

std::string plainText(const Json& value) {
    return value.is_string() ? value.get<std::string>() : util::jsonText(value);
}

/// Return a name as its components, or any other value as text. All objects belong to the EMS, so
/// the EMS component is left out of their names.
std::string inWords(const Json& value) {
    if (!value.is_object())
        return plainText(value);
    std::string words;
    for (const auto& [name, each] : value.items()) {
        if (value.size() == 1 || name != kEmsComponent)
            words += (words.empty() ? "" : ", ") + name + "=" + plainText(each);
    }
    return words;
}

template <class Names>
std::string firstOf(const EventRecord& event, const Names& names) {
    for (const char* name : names) {
        if (const auto found = event.fields.find(name);
            found != event.fields.end() && !found->is_null()) {
            if (std::string words = inWords(*found); !words.empty())
                return words;
        }
    }
    return {};
}

/// An alarm without a cause from the standard's list shows the EMS's native cause.
std::string causeOf(const EventRecord& event) {
    const std::string cause = firstOf(event, kCauseFields);
    const std::string native = textOf(event, "nativeProbableCause");
    return (cause.empty() || cause == "UNIDENTIFIED") && !native.empty() ? native : cause;
}

std::string severityOf(const EventRecord& event) {
    constexpr std::string_view kPrefix = "PS_";
    const std::string severity = textOf(event, "perceivedSeverity");
    if (severity == "PS_INDETERMINATE")
        return "INDET.";
    return severity.rfind(kPrefix, 0) == 0 ? severity.substr(kPrefix.size()) : severity;
}

}  // namespace

EventCells cellsOf(const EventRecord& event) {
    return {{},
            util::escaped(severityOf(event)),
            util::escaped(event.type),
            util::escaped(firstOf(event, kObjectFields)),
            util::escaped(causeOf(event)),
            util::escaped(firstOf(event, kTextFields))};
}

}  // namespace kelp::nms
