#include <kelp/bundlemgr/config_schema.h>
#include <kelp/bundlemgr/config_store.h>
#include <kelp/users/oss_networks.h>
#include <kelp/util/host_name.h>

#include <algorithm>
#include <map>
#include <variant>

#include "network_text.h"
#include "targets.h"

namespace kelp::fuzz {

namespace {

using NS_BUNDLEMGR1::ConfigKey;
using NS_BUNDLEMGR1::configKeys;
using NS_BUNDLEMGR1::ConfigProblem;
using NS_BUNDLEMGR1::ConfigStore;
using NS_BUNDLEMGR1::ConfigValue;

using Values = std::map<std::string, ConfigValue>;
using Texts = std::vector<std::string>;

ConfigStore& store() {
    return ConfigStore::instance();
}

/// Return all values of the store. Of [agent], only the keys that are set.
Values valuesNow() {
    Values values;
    for (const ConfigKey& key : configKeys()) {
        const std::string name = key.name();
        if (key.isAgentOption()) {
            if (const auto number = store().agentInteger(key.key))
                values[name] = *number;
            else if (const auto text = store().agentText(key.key))
                values[name] = *text;
        } else if (std::holds_alternative<std::int64_t>(key.standard)) {
            values[name] = store().integer(name);
        } else if (std::holds_alternative<bool>(key.standard)) {
            values[name] = store().flag(name);
        } else if (std::holds_alternative<std::string>(key.standard)) {
            values[name] = store().text(name);
        } else {
            values[name] = store().texts(name);
        }
    }
    return values;
}

/// Return a TOML string. Control characters, quotes and backslashes are escaped; other bytes stay.
std::string quoted(const std::string& text) {
    static const char digits[] = "0123456789abcdef";
    std::string quoted = "\"";
    for (const char c : text) {
        const auto byte = static_cast<unsigned char>(c);
        if (byte < 0x20 || byte == 0x7f || c == '"' || c == '\\')
            quoted += std::string("\\u00") + digits[byte >> 4] + digits[byte & 15];
        else
            quoted += c;
    }
    return quoted + "\"";
}

std::string literal(const ConfigValue& value) {
    if (const auto* number = std::get_if<std::int64_t>(&value))
        return std::to_string(*number);
    if (const auto* flag = std::get_if<bool>(&value))
        return *flag ? "true" : "false";
    if (const auto* text = std::get_if<std::string>(&value))
        return quoted(*text);
    std::string list;
    for (const std::string& text : std::get<Texts>(value))
        list += quoted(text) + ", ";
    return "[" + list + "]";
}

/// Return a file with the same values, one key a line.
std::string saidAgain(const Values& values) {
    std::string text;
    for (const auto& [name, value] : values)
        text += name + " = " + literal(value) + "\n";
    return text;
}

Texts textsIn(const ConfigValue& value) {
    if (const auto* text = std::get_if<std::string>(&value))
        return {*text};
    const auto* list = std::get_if<Texts>(&value);
    return list != nullptr ? *list : Texts{};
}

void checkAccepted(const Values& values) {
    for (const ConfigKey& key : configKeys()) {
        const auto found = values.find(key.name());
        if (found == values.end())
            continue;
        const ConfigValue& value = found->second;
        for (const std::string& text : textsIn(value)) {
            require(text.find('\0') == std::string::npos, "a text ends early where C reads it");
            require(key.choices.empty() || std::find(key.choices.begin(), key.choices.end(),
                                                     text) != key.choices.end(),
                    "a text is none of those that are allowed");
        }
        if (key.isAgentOption())
            continue;
        require(value.index() == key.standard.index(), "a value has another type than its key");
        if (const auto* number = std::get_if<std::int64_t>(&value))
            require(*number >= key.minimum && *number <= key.maximum,
                    "a number is out of its range");
    }
    kelp::users::OssNetworks networks;
    std::string whyNot;
    // the remaining entries are host names, which occur in an NMS's reference
    Texts allowed = std::get<Texts>(values.at("access.allowed_oss"));
    std::erase_if(allowed, [](const std::string& each) { return util::isHostName(each); });
    require(networks.parse(allowed, whyNot), "networks are accepted that cannot be read");
}

void checkProblems(const std::vector<ConfigProblem>& problems, const std::string& text) {
    const auto lines = 1 + std::count(text.begin(), text.end(), '\n');
    for (const ConfigProblem& problem : problems) {
        require(problem.file == "kelp.toml", "a problem is of another file");
        require(problem.line >= 0 && problem.line <= lines,
                "a problem is of a line that is not there");
        require(!problem.what.empty(), "a problem says nothing");
        const std::string shown = problem.text();
        require(
            std::none_of(shown.begin(), shown.end(),
                         [](char c) { return static_cast<unsigned char>(c) < 0x20 || c == 0x7f; }),
            "a problem's text has control characters in it");
    }
}

}  // namespace

void fuzzConfiguration(Input input) {
    const std::string text = textOf(input);
    store().reset();
    const Values standard = valuesNow();
    const std::vector<ConfigProblem> problems = store().loadText(text, "kelp.toml");
    if (!problems.empty()) {
        checkProblems(problems, text);
        require(valuesNow() == standard, "a file that is refused has changed something");
        return;
    }
    const Values values = valuesNow();
    checkAccepted(values);
    const std::vector<ConfigProblem> again = store().loadText(saidAgain(values), "kelp.toml");
    require(again.empty(), "what was accepted is refused when said again: " +
                               (again.empty() ? std::string() : again.front().text()));
    require(valuesNow() == values, "what was accepted is read otherwise when said again");
}

}  // namespace kelp::fuzz
