#include "mapping/toml_reader.h"

#include <kelp/util/trace_log.h>

#include <algorithm>
#include <utility>

namespace kelp::traps {

namespace {

std::string shownText(const std::string& text) {
    return "\"" + util::escaped(text, 100) + "\"";
}

}  // namespace

TomlReader::TomlReader(const toml::table& table, std::string file, std::string path,
                       std::vector<MappingProblem>& problems)
    : table_(table), file_(std::move(file)), path_(std::move(path)), problems_(problems) {}

const toml::node* TomlReader::find(const std::string& key) {
    read_.insert(key);
    return table_.get(key);
}

std::optional<std::string> TomlReader::text(const std::string& key) {
    const toml::node* const node = find(key);
    if (!node)
        return std::nullopt;
    std::optional<std::string> value = node->value_exact<std::string>();
    if (!value)
        addProblem(key, *node, "must be a text");
    else if (value->find('\0') != std::string::npos)
        addProblem(key, *node, "has a character with the number 0");
    return value;
}

std::optional<std::string> TomlReader::requiredText(const std::string& key) {
    const bool isThere = table_.contains(key);
    std::optional<std::string> value = text(key);
    if (!isThere)
        addProblem(key, "is missing");
    else if (value && value->empty())
        addProblem(key, *table_.get(key), "must not be empty");
    return value;
}

std::optional<std::int64_t> TomlReader::integer(const std::string& key, std::int64_t minimum,
                                                std::int64_t maximum) {
    const toml::node* const node = find(key);
    if (!node)
        return std::nullopt;
    const std::optional<std::int64_t> value = node->value_exact<std::int64_t>();
    if (!value || *value < minimum || *value > maximum) {
        addProblem(key, *node,
                   "must be an integer from " + std::to_string(minimum) + " to " +
                       std::to_string(maximum));
        return std::nullopt;
    }
    return value;
}

std::optional<bool> TomlReader::flag(const std::string& key) {
    const toml::node* const node = find(key);
    if (!node)
        return std::nullopt;
    const std::optional<bool> value = node->value_exact<bool>();
    if (!value)
        addProblem(key, *node, "must be true or false");
    return value;
}

const toml::table* TomlReader::table(const std::string& key) {
    const toml::node* const node = find(key);
    if (node && !node->is_table())
        addProblem(key, *node, "must be a table");
    return node ? node->as_table() : nullptr;
}

const toml::array* TomlReader::array(const std::string& key) {
    const toml::node* const node = find(key);
    if (node && !node->is_array())
        addProblem(key, *node, "must be a list");
    return node ? node->as_array() : nullptr;
}

std::optional<int> TomlReader::choice(const std::string& key,
                                      const std::vector<std::string>& choices) {
    const std::optional<std::string> value = text(key);
    if (!value)
        return std::nullopt;
    const auto found = std::find(choices.begin(), choices.end(), *value);
    if (found != choices.end())
        return static_cast<int>(found - choices.begin());
    std::string all;
    for (const std::string& each : choices)
        all += (all.empty() ? "" : ", ") + each;
    addProblem(key, *table_.get(key), "must be one of " + all + ", but is " + shownText(*value));
    return std::nullopt;
}

void TomlReader::addProblem(const std::string& key, const std::string& what) {
    addProblem(key, table_, what);
}

void TomlReader::addProblem(const std::string& key, const toml::node& node,
                            const std::string& what) {
    problems_.push_back({file_, static_cast<int>(node.source().begin.line),
                         util::escaped(fullKey(key), 200), what});
}

void TomlReader::finish() {
    for (const auto& [key, node] : table_) {
        if (!read_.contains(std::string(key.str())))
            addProblem(std::string(key.str()), node, "is not a key of this table");
    }
}

std::string TomlReader::fullKey(const std::string& key) const {
    if (path_.empty() || key.empty())
        return path_ + key;
    return path_ + "." + key;
}

}  // namespace kelp::traps
