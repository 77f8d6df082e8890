#include "kelp/alarms/alarm_schema.h"

#include <nlohmann/json.hpp>
#include <valijson/adapters/nlohmann_json_adapter.hpp>
#include <valijson/schema.hpp>
#include <valijson/schema_parser.hpp>
#include <valijson/validation_results.hpp>
#include <valijson/validator.hpp>

#include "json/alarm_schema_text.h"

namespace kelp::alarms {

namespace {

using valijson::adapters::NlohmannJsonAdapter;

using SchemaPtr = std::unique_ptr<const valijson::Schema>;

/// One definition as a schema.
SchemaPtr readDefinition(const std::string& name) {
    nlohmann::json text = nlohmann::json::parse(kAlarmSchemaText);
    text.erase("anyOf");
    text.update(text["definitions"][name]);
    auto parsed = std::make_unique<valijson::Schema>();
    valijson::SchemaParser().populateSchema(NlohmannJsonAdapter(text), *parsed);
    return parsed;
}

/// Each is read once.
const valijson::Schema& schemaOf(SchemaPart part) {
    static const SchemaPtr alarm = readDefinition("alarm");
    static const SchemaPtr keyedAlarms = readDefinition("keyedAlarms");
    return part == SchemaPart::Alarm ? *alarm : *keyedAlarms;
}

/// "~" and "/" in a key are written as "~0" and "~1".
std::string escapedKey(const std::string& key) {
    std::string escaped;
    for (const char c : key) {
        if (c == '~')
            escaped += "~0";
        else if (c == '/')
            escaped += "~1";
        else
            escaped += c;
    }
    return escaped;
}

/// The library gives a path as "<root>", "[key]", "[0]" ...
std::string pointerOf(const std::vector<std::string>& context) {
    std::string pointer;
    for (std::size_t i = 1; i < context.size(); ++i)
        pointer += "/" + escapedKey(context[i].substr(1, context[i].size() - 2));
    return pointer;
}

}  // namespace

std::optional<SchemaViolation> schemaViolation(const Json& given, SchemaPart part) {
    const nlohmann::json value = given;
    valijson::ValidationResults results;
    // types are exact: a text that looks like a number is no number
    valijson::Validator validator(valijson::Validator::kStrongTypes);
    if (validator.validate(schemaOf(part), NlohmannJsonAdapter(value), &results))
        return std::nullopt;
    valijson::ValidationResults::Error innermost;
    valijson::ValidationResults::Error error;
    while (results.popError(error)) {
        if (innermost.context.size() < error.context.size())
            innermost = error;
    }
    return SchemaViolation{pointerOf(innermost.context), innermost.description};
}

}  // namespace kelp::alarms
