#include <kelp/alarms/enum_names.h>
#include <kelp/util/peer_address.h>
#include <kelp/util/trace_log.h>

#include <algorithm>
#include <limits>

#include "mapping/rules.h"
#include "mapping/toml_reader.h"
#include "model/address.h"

namespace kelp::traps {

namespace {

constexpr std::size_t kNameComponentsMax = 20;
const std::string kCleared = "PS_CLEARED";

std::string quotedText(const std::string& text) {
    return "\"" + util::escaped(text, 100) + "\"";
}

/// Reads the rules of one file.
class RuleReader {
  public:
    RuleReader(const toml::table& root, const std::string& file,
               std::vector<MappingProblem>& problems)
        : root_(root, file, "", problems), file_(file), problems_(problems) {}

    void read(std::map<Oid, TrapRule>& traps, std::map<std::string, std::string>& elements) {
        readElements(elements);
        readVarBinds();
        readTables();
        readAlarms();
        readTraps(traps);
        root_.finish();
    }

  private:
    TomlReader readerOf(const toml::table& table, const std::string& path) {
        return TomlReader(table, file_, path, problems_);
    }

    void readElements(std::map<std::string, std::string>& elements) {
        const toml::table* const table = root_.table("elements");
        if (!table)
            return;
        TomlReader reader = readerOf(*table, "elements");
        for (const auto& [key, node] : *table) {
            const std::string address(key.str());
            const std::optional<std::string> name = reader.requiredText(address);
            const std::string known = commonText(util::parseHostAddress(address));
            if (known.empty())
                reader.addProblem(address, node, "is not an IPv4 or IPv6 address");
            else if (name && !elements.emplace(known, *name).second)
                reader.addProblem(address, node, "has a name already");
        }
    }

    void readVarBinds() {
        const toml::table* const table = root_.table("varbind");
        if (!table)
            return;
        TomlReader reader = readerOf(*table, "varbind");
        for (const auto& [key, node] : *table) {
            const std::string name(key.str());
            const std::optional<std::string> text = reader.requiredText(name);
            if (!text)
                continue;
            if (const std::optional<Oid> oid = oidOf(*text, reader, name, node))
                vocabulary_.varBinds.emplace(name, *oid);
            if (name.find_first_of("{}|.") != std::string::npos)
                reader.addProblem(name, node, "must not have {, }, | or . in its name");
        }
    }

    std::optional<Oid> oidOf(const std::string& text, TomlReader& reader, const std::string& key,
                             const toml::node& node) {
        std::optional<Oid> oid = Oid::parse(text);
        if (!oid)
            reader.addProblem(key, node,
                              "must be an OID in numbers, such as 1.3.6.1.2.1.2.2.1.1, but is " +
                                  quotedText(text));
        return oid;
    }

    void readTables() {
        const toml::table* const tables = root_.table("table");
        if (!tables)
            return;
        TomlReader all = readerOf(*tables, "table");
        for (const auto& [key, node] : *tables) {
            const std::string name(key.str());
            const toml::table* const table = all.table(name);
            if (!table)
                continue;
            TomlReader reader = readerOf(*table, "table." + name);
            auto values = std::make_shared<ValueTable>();
            for (const auto& [entry, ignored] : *table) {
                const std::string from(entry.str());
                const std::optional<std::string> to = reader.text(from);
                if (!to)
                    continue;
                if (from == "*")
                    values->otherwise = *to;
                else
                    values->values.emplace(from, *to);
            }
            vocabulary_.tables.emplace(name, std::move(values));
        }
    }

    void readAlarms() {
        const toml::table* const all = root_.table("alarm");
        if (!all)
            return;
        TomlReader reader = readerOf(*all, "alarm");
        for (const auto& [key, node] : *all) {
            const std::string name(key.str());
            const toml::table* const table = reader.table(name);
            if (table)
                alarms_.emplace(name, readAlarm(*table, name));
        }
    }

    std::shared_ptr<const AlarmRule> readAlarm(const toml::table& table, const std::string& name) {
        TomlReader reader = readerOf(table, "alarm." + name);
        auto rule = std::make_shared<AlarmRule>();
        rule->name = name;
        rule->objectName = objectNameOf(reader);
        if (const auto type = reader.choice("object_type", alarms::objectTypeNames()))
            rule->objectType = static_cast<alarms::ObjectType>(*type);
        if (const auto rate =
                reader.integer("layer_rate", 0, std::numeric_limits<std::int16_t>::max()))
            rule->layerRate = static_cast<std::int16_t>(*rate);
        reader.requiredText("probable_cause");
        rule->probableCause = templateOf(reader, table, "probable_cause", "");
        rule->qualifier = templateOf(reader, table, "probable_cause_qualifier", "");
        rule->nativeProbableCause =
            templateOf(reader, table, "native_probable_cause", rule->probableCause.source());
        rule->nativeEmsName = templateOf(reader, table, "native_ems_name", "");
        rule->additionalText = templateOf(reader, table, "additional_text", "{varbinds}");
        rule->additionalInfo = infoOf(reader);
        if (const auto type = reader.choice("event_type", alarms::eventTypeNames()))
            rule->eventType = alarms::eventTypeNames()[static_cast<std::size_t>(*type)];
        rule->isClearable = reader.flag("clearable").value_or(true);
        if (const auto affecting =
                reader.choice("service_affecting", alarms::serviceAffectingNames()))
            rule->serviceAffecting = static_cast<alarms::ServiceAffecting>(*affecting);
        reader.finish();
        return rule;
    }

    Template templateOf(TomlReader& reader, const toml::table& table, const std::string& key,
                        const std::string& otherwise) {
        const std::string text = reader.text(key).value_or(otherwise);
        const toml::node* const node = table.get(key);
        return parsed(text, reader, key, node ? *node : table);
    }

    Template parsed(const std::string& text, TomlReader& reader, const std::string& key,
                    const toml::node& node) {
        std::string whyNot;
        std::optional<Template> result = Template::parse(text, vocabulary_, whyNot);
        if (!result)
            reader.addProblem(key, node, whyNot);
        return result.value_or(Template());
    }

    AlarmRule::NamedTemplates objectNameOf(TomlReader& reader) {
        const std::string key = "object_name";
        AlarmRule::NamedTemplates name;
        const toml::array* const components = reader.array(key);
        if (!components || components->empty() || components->size() > kNameComponentsMax) {
            reader.addProblem(key, "must be a list of 1 to " + std::to_string(kNameComponentsMax) +
                                       " components, such as [\"EMS\", \"{ems}\"]");
            return name;
        }
        for (const toml::node& node : *components) {
            const toml::array* const pair = node.as_array();
            const auto textAt = [&](std::size_t at) {
                return pair && pair->size() == 2 ? pair->get(at)->value_exact<std::string>()
                                                 : std::nullopt;
            };
            const std::optional<std::string> component = textAt(0);
            const std::optional<std::string> value = textAt(1);
            if (!component || !value || component->empty() || value->empty())
                reader.addProblem(key, node,
                                  "must have two texts in each component, such as [\"EMS\", "
                                  "\"{ems}\"]");
            else
                name.emplace_back(*component, parsed(*value, reader, key, node));
        }
        return name;
    }

    AlarmRule::NamedTemplates infoOf(TomlReader& reader) {
        AlarmRule::NamedTemplates info;
        const toml::table* const table = reader.table("additional_info");
        if (!table)
            return info;
        TomlReader entries = readerOf(*table, reader.fullKey("additional_info"));
        for (const auto& [key, node] : *table) {
            const std::string name(key.str());
            if (const std::optional<std::string> text = entries.text(name))
                info.emplace_back(name, parsed(*text, entries, name, node));
        }
        return info;
    }

    void readTraps(std::map<Oid, TrapRule>& traps) {
        const toml::array* const all = root_.array("trap");
        if (!all)
            return;
        for (const toml::node& node : *all) {
            if (const toml::table* const table = node.as_table())
                readTrap(*table, traps);
            else
                root_.addProblem("trap", node, "must be a list of tables: write [[trap]]");
        }
    }

    void readTrap(const toml::table& table, std::map<Oid, TrapRule>& traps) {
        TomlReader reader = readerOf(table, "trap");
        TrapRule rule{nullptr, {}, file_, reader.line()};
        if (const std::optional<std::string> name = reader.requiredText("alarm")) {
            const auto found = alarms_.find(*name);
            if (found != alarms_.end())
                rule.alarm = found->second;
            else if (!name->empty())
                reader.addProblem(
                    "alarm", *table.get("alarm"),
                    "there is no table [alarm." + util::escaped(*name, 100) + "] in this file");
        }
        if (reader.requiredText("severity")) {
            rule.severity = templateOf(reader, table, "severity", "");
            checkSeverity(rule, reader, *table.get("severity"));
        }
        const std::optional<std::string> text = reader.requiredText("oid");
        if (const std::optional<Oid> oid =
                text ? oidOf(*text, reader, "oid", *table.get("oid")) : std::nullopt) {
            const auto [entry, isNew] = traps.emplace(*oid, rule);
            if (!isNew)
                reader.addProblem("oid", *table.get("oid"),
                                  "this trap has a rule already, at " + entry->second.file + ":" +
                                      std::to_string(entry->second.line));
        }
        reader.finish();
    }

    void checkSeverity(const TrapRule& rule, TomlReader& reader, const toml::node& node) {
        const std::vector<std::string> results = rule.severity.possibleResults();
        if (results.empty() && !rule.severity.source().empty())
            reader.addProblem("severity", node,
                              "must be a severity such as PS_MAJOR, or one placeholder with a "
                              "table, such as {alarmState|severity}");
        const std::vector<std::string>& known = alarms::severityNames();
        for (const std::string& each : results) {
            if (each.empty() && rule.severity.source().empty())
                continue;
            if (std::find(known.begin(), known.end(), each) == known.end())
                reader.addProblem("severity", node,
                                  "gives " + quotedText(each) +
                                      ", which is not a severity: PS_INDETERMINATE, PS_CRITICAL, "
                                      "PS_MAJOR, PS_MINOR, PS_WARNING or PS_CLEARED");
            else if (each == kCleared && rule.alarm && !rule.alarm->isClearable)
                reader.addProblem(
                    "severity", node,
                    "is PS_CLEARED, but [alarm." + rule.alarm->name + "] has clearable = false");
        }
    }

    TomlReader root_;
    const std::string& file_;
    std::vector<MappingProblem>& problems_;
    Vocabulary vocabulary_;
    std::map<std::string, std::shared_ptr<const AlarmRule>> alarms_;
};

}  // namespace

void readRules(const std::string& text, const std::string& name, std::map<Oid, TrapRule>& traps,
               std::map<std::string, std::string>& elements,
               std::vector<MappingProblem>& problems) {
    try {
        const toml::table root = toml::parse(text, name);
        RuleReader(root, name, problems).read(traps, elements);
    } catch (const toml::parse_error& error) {
        problems.push_back(
            {name, static_cast<int>(error.source().begin.line), "",
             "is not valid TOML: " + util::escaped(std::string(error.description()), 300)});
    }
}

}  // namespace kelp::traps
