#include <kelp/bundlemgr/config_schema.h>
#include <kelp/util/joined.h>

#include <cstddef>
#include <sstream>
#include <string>
#include <type_traits>

namespace NS_BUNDLEMGR1 {

namespace {

constexpr std::size_t kLineLength = 100;

/// Format the sentences as comment lines.
std::string comment(const std::string& sentences) {
    std::istringstream words(sentences);
    std::string lines;
    std::string line = "#";
    for (std::string word; words >> word;) {
        if (line.size() + 1 + word.size() > kLineLength) {
            lines += line + "\n";
            line = "#";
        }
        line += " " + word;
    }
    return lines + line + "\n";
}

std::string tomlText(const std::string& text) {
    std::string quoted = "\"";
    for (const char c : text) {
        if (c == '"' || c == '\\')
            quoted += '\\';
        quoted += c;
    }
    return quoted + "\"";
}

std::string factsText(const ConfigKey& key) {
    if (key.isAgentOption())
        return {};
    std::string facts;
    if (std::holds_alternative<std::int64_t>(key.standard))
        facts +=
            " Range " + std::to_string(key.minimum) + " to " + std::to_string(key.maximum) + ".";
    if (key.needsRestart)
        facts += " A change needs a restart.";
    return facts;
}

}  // namespace

std::string tomlValue(const ConfigValue& value) {
    return std::visit(
        [](const auto& held) -> std::string {
            using Held = std::decay_t<decltype(held)>;
            if constexpr (std::is_same_v<Held, bool>) {
                return held ? "true" : "false";
            } else if constexpr (std::is_same_v<Held, std::int64_t>) {
                return std::to_string(held);
            } else if constexpr (std::is_same_v<Held, std::string>) {
                return tomlText(held);
            } else {
                return "[" + kelp::util::joined(held, ", ", tomlText) + "]";
            }
        },
        value);
}

std::string configTemplate() {
    std::string text = comment(
        "Configuration of kelpd. Every key is here with its default, which also applies to a key "
        "that is left out. kelpd --check-config reports what is wrong with a file. On SIGHUP the "
        "whole file is read again; a file with a mistake changes nothing.");
    for (const ConfigTable& table : configTables()) {
        text += "\n" + comment(table.meaning) + "[" + table.name + "]\n";
        for (const ConfigKey& key : configKeys()) {
            if (key.table != table.name)
                continue;
            text += comment(key.meaning + factsText(key));
            text += (key.isAgentOption() ? "# " : "") + key.key + " = " + tomlValue(key.standard) +
                    "\n";
        }
    }
    return text;
}

}  // namespace NS_BUNDLEMGR1
