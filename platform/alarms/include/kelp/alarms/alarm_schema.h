#pragma once

#include <kelp/alarms/alarm_json.h>
#include <kelp/util/export.h>

#include <optional>
#include <string>

namespace kelp::alarms {

/// Where a JSON value breaks the schema (config/alarms.schema.json).
struct SchemaViolation {
    std::string path;  ///< a JSON pointer, such as "/affectedTPList/0/PTP"; empty: the whole value
    std::string what;  ///< a sentence
};

/// The definitions of the schema.
enum class SchemaPart {
    Alarm,
    KeyedAlarms  ///< alarms with an idempotency key
};

/// The innermost violation of the schema; nothing for a valid value. The schema holds types, names
/// and ranges; readAlarm() also checks what fields mean together. Any thread may call it.
KELP_EXPORT std::optional<SchemaViolation> schemaViolation(const Json& value,
                                                           SchemaPart part = SchemaPart::Alarm);

}  // namespace kelp::alarms
