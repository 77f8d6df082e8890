#include <kelp/traps/mapping.h>
#include <kelp/util/file_trust.h>

#include "mapping/rules.h"

namespace kelp::traps {

namespace {

/// Maximum size of a mapping file in bytes; far more than the rules of all traps of a large MIB
/// need.
constexpr std::size_t kMappingBytesMax = 4 << 20;

}  // namespace

std::string MappingProblem::text() const {
    std::string result = file;
    if (line > 0)
        result += ":" + std::to_string(line);
    return result + (key.empty() ? "" : ": " + key) + ": " + what;
}

Mapping::Mapping() : rules_(std::make_unique<Rules>()) {}
Mapping::~Mapping() = default;
Mapping::Mapping(Mapping&&) noexcept = default;
Mapping& Mapping::operator=(Mapping&&) noexcept = default;

Mapping Mapping::read(const std::vector<std::filesystem::path>& files,
                      std::vector<MappingProblem>& problems) {
    Mapping mapping;
    for (const std::filesystem::path& file : files) {
        std::string problem;
        const std::optional<std::string> text =
            util::readTrustedFile(file, util::FileUse::Trusted, problem, kMappingBytesMax);
        if (text)
            readRules(*text, file.string(), mapping.rules_->traps, mapping.rules_->elements,
                      problems);
        else
            problems.push_back({file.string(), 0, "", problem});
    }
    return mapping;
}

Mapping Mapping::readText(const std::string& text, const std::string& name,
                          std::vector<MappingProblem>& problems) {
    Mapping mapping;
    readRules(text, name, mapping.rules_->traps, mapping.rules_->elements, problems);
    return mapping;
}

std::vector<std::string> Mapping::summary() const {
    std::vector<std::string> lines;
    for (const auto& [oid, rule] : rules_->traps) {
        if (!rule.alarm)
            continue;
        std::string name;
        for (const auto& [component, value] : rule.alarm->objectName)
            name += (name.empty() ? "" : ", ") + component + "=" + value.source();
        std::string line =
            oid.text() + ": " + rule.severity.source() + " " + rule.alarm->probableCause.source();
        if (!rule.alarm->qualifier.source().empty())
            line += " (" + rule.alarm->qualifier.source() + ")";
        lines.push_back(line + " of " + name +
                        (rule.alarm->isClearable ? "" : ", cannot be cleared") + " [alarm." +
                        rule.alarm->name + "]");
    }
    return lines;
}

}  // namespace kelp::traps
