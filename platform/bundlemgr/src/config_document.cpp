#include "config_document.h"

#include <kelp/util/joined.h>
#include <kelp/util/trace_log.h>

#include <algorithm>
#include <limits>
#include <optional>

#include "config_checks.h"
#include "name_suggestion.h"
#include "toml_text.h"

namespace NS_BUNDLEMGR1 {

namespace {

std::string expectedText(const ConfigKey& key) {
    if (std::holds_alternative<std::int64_t>(key.standard)) {
        return "must be an integer from " + std::to_string(key.minimum) + " to " +
               std::to_string(key.maximum);
    }
    if (std::holds_alternative<bool>(key.standard))
        return "must be true or false";
    const std::string choices = kelp::util::joined(
        key.choices, ", ", [](const std::string& choice) { return "\"" + choice + "\""; });
    if (std::holds_alternative<std::string>(key.standard))
        return choices.empty() ? "must be a text" : "must be one of " + choices;
    return choices.empty() ? "must be a list of texts" : "must be a list out of " + choices;
}

bool isChoice(const ConfigKey& key, const std::string& text) {
    return key.choices.empty() ||
           std::find(key.choices.begin(), key.choices.end(), text) != key.choices.end();
}

/// A zero ends the text in the system's C functions.
bool hasZero(const std::string& text) {
    return text.find('\0') != std::string::npos;
}

constexpr const char* kTextWithZero = "one with a zero character in it";

/// The node as a value of the key. Returns nothing if it does not fit; `instead` then says what it
/// is.
std::optional<ConfigValue> valueOf(const ConfigKey& key, const toml::node& node,
                                   std::string& instead) {
    instead = typeText(node);
    if (std::holds_alternative<std::int64_t>(key.standard)) {
        const std::optional<std::int64_t> number = node.value_exact<std::int64_t>();
        if (number && (*number < key.minimum || *number > key.maximum)) {
            instead = std::to_string(*number);
            return std::nullopt;
        }
        return number ? std::optional<ConfigValue>(*number) : std::nullopt;
    }
    if (std::holds_alternative<bool>(key.standard)) {
        const std::optional<bool> flag = node.value_exact<bool>();
        return flag ? std::optional<ConfigValue>(*flag) : std::nullopt;
    }
    if (std::holds_alternative<std::string>(key.standard)) {
        const std::optional<std::string> text = node.value_exact<std::string>();
        if (text && hasZero(*text)) {
            instead = kTextWithZero;
            return std::nullopt;
        }
        if (text && !isChoice(key, *text)) {
            instead = "\"" + kelp::util::escaped(*text) + "\"";
            return std::nullopt;
        }
        return text ? std::optional<ConfigValue>(*text) : std::nullopt;
    }
    const toml::array* const list = node.as_array();
    if (list == nullptr)
        return std::nullopt;
    std::vector<std::string> texts;
    for (const toml::node& element : *list) {
        const std::optional<std::string> text = element.value_exact<std::string>();
        if (text && hasZero(*text)) {
            instead = "a list with a zero character in it";
            return std::nullopt;
        }
        if (!text || !isChoice(key, *text)) {
            instead = "a list with " +
                      (text ? "\"" + kelp::util::escaped(*text) + "\"" : typeText(element)) +
                      " in it";
            return std::nullopt;
        }
        texts.push_back(*text);
    }
    return texts;
}

std::string shownName(std::string_view name) {
    return kelp::util::escaped(std::string(name), 100);
}

std::vector<std::string> tableNames() {
    std::vector<std::string> names;
    for (const ConfigTable& table : configTables())
        names.push_back(table.name);
    return names;
}

std::string unknownKeyText(const std::string& table, const std::string& name) {
    std::vector<std::string> here;
    for (const ConfigKey& key : configKeys()) {
        if (key.table == table)
            here.push_back(key.key);
    }
    const std::string nearest = nearestName(name, here);
    if (!nearest.empty())
        return "is not a key of [" + table + "]; did you mean \"" + nearest + "\"?";
    for (const ConfigKey& key : configKeys()) {
        if (key.key == name)
            return "is not a key of [" + table + "]; it belongs in [" + key.table + "]";
    }
    return "is not a key of [" + table + "]";
}

std::string unknownTableText(const std::string& name, const toml::node& node) {
    if (!node.is_table()) {
        for (const ConfigKey& key : configKeys()) {
            if (key.key == name)
                return "is outside its table; it belongs in [" + key.table + "]";
        }
        return "is unknown and outside any table";
    }
    const std::string nearest = nearestName(name, tableNames());
    return "is not a table" +
           (nearest.empty() ? std::string() : "; did you mean [" + nearest + "]?");
}

void readAgentOption(ConfigDocument& document, const ConfigKey& key, const toml::node& node,
                     int line) {
    AgentOption option;
    option.line = line;
    if (const std::optional<std::int64_t> number = node.value_exact<std::int64_t>())
        option.value = *number;
    else if (const std::optional<std::string> text = node.value_exact<std::string>())
        option.value = *text;
    else
        option.value = AgentOption::OtherType{typeText(node)};
    const ConfigProblem problem =
        agentProblem(document, key.key, option, std::holds_alternative<std::int64_t>(key.standard));
    if (!problem.what.empty())
        document.agentProblems.push_back(problem);
    document.agent.insert_or_assign(key.key, std::move(option));
}

void readTable(ConfigDocument& document, const std::string& tableName, const toml::table& table) {
    for (const auto& [name, node] : table) {
        const int line = lineOf(name.source());
        const std::string full = tableName + "." + std::string(name.str());
        const ConfigKey* const key = findConfigKey(full);
        if (key == nullptr) {
            document.problems.push_back(
                ConfigProblem{document.name, line, shownName(full),
                              unknownKeyText(tableName, std::string(name.str()))});
            continue;
        }
        document.lines[full] = line;
        if (key->isAgentOption()) {
            readAgentOption(document, *key, node, line);
            continue;
        }
        std::string instead;
        if (std::optional<ConfigValue> value = valueOf(*key, node, instead)) {
            document.values[full] = std::move(*value);
        } else {
            document.problems.push_back(ConfigProblem{document.name, line, full,
                                                      expectedText(*key) + ", but is " + instead});
        }
    }
}

}  // namespace

int ConfigDocument::lineOf(const std::string& key) const {
    const auto found = lines.find(key);
    return found == lines.end() ? 0 : found->second;
}

void ConfigDocument::addProblem(const std::string& key, const std::string& what) {
    problems.push_back(ConfigProblem{name, lineOf(key), key, what});
}

ConfigDocument defaultDocument() {
    ConfigDocument document;
    for (const ConfigKey& key : configKeys()) {
        if (!key.isAgentOption())
            document.values[key.name()] = key.standard;
    }
    return document;
}

ConfigDocument readDocument(const std::filesystem::path& file) {
    ConfigProblem problem;
    if (const std::optional<std::string> text = readFile(file, problem))
        return readDocumentText(*text, file.string());
    ConfigDocument document = defaultDocument();
    document.name = file.string();
    document.problems.push_back(problem);
    return document;
}

ConfigDocument readDocumentText(const std::string& toml, const std::string& name) {
    ConfigDocument document = defaultDocument();
    document.name = name;
    ConfigProblem problem;
    const std::optional<toml::table> root = parseToml(toml, name, problem);
    if (!root) {
        document.problems.push_back(problem);
        return document;
    }
    const std::vector<std::string> known = tableNames();
    for (const auto& [key, node] : *root) {
        const std::string tableName(key.str());
        const toml::table* const table = node.as_table();
        if (table != nullptr && std::find(known.begin(), known.end(), tableName) != known.end()) {
            readTable(document, tableName, *table);
        } else {
            document.problems.push_back(ConfigProblem{name, NS_BUNDLEMGR1::lineOf(key.source()),
                                                      shownName(tableName),
                                                      unknownTableText(tableName, node)});
        }
    }
    checkTogether(document);
    std::stable_sort(
        document.problems.begin(), document.problems.end(),
        [](const ConfigProblem& a, const ConfigProblem& b) { return a.line < b.line; });
    return document;
}

ConfigProblem agentProblem(const ConfigDocument& document, const std::string& key,
                           const AgentOption& option, bool asInteger) {
    ConfigProblem problem{document.name, option.line, "agent." + key, ""};
    const std::string expected = asInteger ? "must be an integer of 32 bits" : "must be a text";
    if (const auto* const other = std::get_if<AgentOption::OtherType>(&option.value)) {
        problem.what = expected + ", but is " + other->text;
    } else if (const auto* const number = std::get_if<std::int64_t>(&option.value)) {
        if (!asInteger)
            problem.what = expected + ", but is an integer";
        else if (*number < std::numeric_limits<std::int32_t>::min() ||
                 *number > std::numeric_limits<std::int32_t>::max())
            problem.what = expected + ", but is " + std::to_string(*number);
    } else if (asInteger) {
        problem.what = expected + ", but is a text";
    } else if (hasZero(std::get<std::string>(option.value))) {
        problem.what = expected + ", but is " + kTextWithZero;
    }
    return problem;
}

}  // namespace NS_BUNDLEMGR1
