#include "mapping/template.h"

#include <kelp/util/trace_log.h>

#include <algorithm>
#include <array>
#include <string_view>

namespace kelp::traps {

namespace {

/// Maximum size of one filled placeholder in bytes. An octet string of a MIB has at most 255 octets
/// in most cases, and 3 characters each as hexadecimal.
constexpr std::size_t kValueBytesMax = 1024;
constexpr std::size_t kAllBytesMax = 4096;
constexpr std::string_view kIndexSuffix = ".index";

constexpr std::array<std::string_view, 7> kBuiltIn = {"ems",  "element", "address", "user",
                                                      "trap", "uptime",  "varbinds"};

std::string builtInValue(const std::string& name, const Filling& filling) {
    if (name == "ems")
        return filling.ems;
    if (name == "element")
        return filling.element;
    if (name == "address")
        return filling.trap.address;
    if (name == "user")
        return filling.trap.user;
    if (name == "trap")
        return filling.trap.oid.text();
    if (name == "uptime")
        return std::to_string(filling.trap.upTime / 100) + " s";
    return contentOfTrap(filling.trap, kAllBytesMax);
}

std::string shownName(const std::string& name) {
    return "\"" + util::escaped(name, 100) + "\"";
}

}  // namespace

const std::string* ValueTable::find(const std::string& key) const {
    const auto found = values.find(key);
    if (found != values.end())
        return &found->second;
    return otherwise ? &*otherwise : nullptr;
}

std::optional<Template> Template::parse(const std::string& text, const Vocabulary& vocabulary,
                                        std::string& whyNot) {
    Template result;
    result.source_ = text;
    std::string constant;
    const auto endConstant = [&] {
        if (constant.empty())
            return;
        result.parts_.emplace_back().text = constant;
        constant.clear();
    };
    for (std::size_t at = 0; at < text.size(); ++at) {
        const char character = text[at];
        const bool isDoubled = at + 1 < text.size() && text[at + 1] == character;
        if (character != '{' && character != '}') {
            constant += character;
        } else if (isDoubled) {
            constant += character;
            ++at;
        } else if (character == '}') {
            whyNot = "has a } without {; write }} for the character";
            return std::nullopt;
        } else {
            const std::size_t end = text.find('}', at);
            if (end == std::string::npos) {
                whyNot = "has a { without }; write {{ for the character";
                return std::nullopt;
            }
            endConstant();
            Part part;
            if (!parsePlaceholder(text.substr(at + 1, end - at - 1), vocabulary, part, whyNot))
                return std::nullopt;
            result.parts_.push_back(std::move(part));
            at = end;
        }
    }
    endConstant();
    return result;
}

bool Template::parsePlaceholder(const std::string& inner, const Vocabulary& vocabulary, Part& part,
                                std::string& whyNot) {
    part.isPlaceholder = true;
    part.text = inner;
    std::string name = inner;
    if (const std::size_t bar = name.find('|'); bar != std::string::npos) {
        const std::string table = name.substr(bar + 1);
        const auto found = vocabulary.tables.find(table);
        if (found == vocabulary.tables.end()) {
            whyNot = "refers to the table " + shownName(table) + ", which is not in this file";
            return false;
        }
        part.table = found->second;
        name.resize(bar);
    }
    if (std::find(kBuiltIn.begin(), kBuiltIn.end(), name) != kBuiltIn.end()) {
        part.isBuiltIn = true;
        part.builtIn = name;
        return true;
    }
    if (name.ends_with(kIndexSuffix)) {
        part.isIndex = true;
        name.resize(name.size() - kIndexSuffix.size());
    }
    const auto found = vocabulary.varBinds.find(name);
    if (found == vocabulary.varBinds.end()) {
        whyNot = "refers to " + shownName(name) +
                 ", which is neither in [varbind] nor one of ems, "
                 "element, address, user, trap, uptime and varbinds";
        return false;
    }
    part.varBind = found->second;
    return true;
}

std::optional<std::string> Template::valueOf(const Part& part, const Filling& filling) {
    std::string value;
    if (part.isBuiltIn) {
        value = builtInValue(part.builtIn, filling);
    } else {
        const auto& all = filling.trap.varBinds;
        const auto found = std::find_if(all.begin(), all.end(), [&](const VarBind& each) {
            return each.oid.isWithin(part.varBind);
        });
        if (found == all.end())
            return std::nullopt;
        value = part.isIndex ? found->oid.indexAfter(part.varBind) : found->value;
    }
    if (part.table) {
        const std::string* const entry = part.table->find(value);
        return entry ? std::optional(*entry) : std::nullopt;
    }
    return util::escaped(value, part.builtIn == "varbinds" ? kAllBytesMax : kValueBytesMax);
}

std::optional<std::string> Template::fill(const Filling& filling, std::string& missing) const {
    std::string result;
    for (const Part& part : parts_) {
        if (!part.isPlaceholder) {
            result += part.text;
            continue;
        }
        const std::optional<std::string> value = valueOf(part, filling);
        if (!value) {
            missing = "{" + part.text + "}";
            return std::nullopt;
        }
        result += *value;
    }
    return result;
}

std::string Template::fillWhatIsThere(const Filling& filling) const {
    std::string result;
    for (const Part& part : parts_)
        result += part.isPlaceholder ? valueOf(part, filling).value_or("") : part.text;
    return result;
}

bool Template::isConstant() const {
    return std::none_of(parts_.begin(), parts_.end(),
                        [](const Part& part) { return part.isPlaceholder; });
}

std::optional<std::string> Template::placeholderWithoutTable() const {
    for (const Part& part : parts_) {
        if (part.isPlaceholder && !part.table)
            return "{" + part.text + "}";
    }
    return std::nullopt;
}

std::vector<std::string> Template::possibleResults() const {
    if (parts_.size() > 1)
        return {};
    if (parts_.empty() || !parts_.front().isPlaceholder)
        return {parts_.empty() ? std::string() : parts_.front().text};
    if (!parts_.front().table)
        return {};
    std::vector<std::string> results;
    for (const auto& [key, value] : parts_.front().table->values)
        results.push_back(value);
    if (parts_.front().table->otherwise)
        results.push_back(*parts_.front().table->otherwise);
    return results;
}

}  // namespace kelp::traps
