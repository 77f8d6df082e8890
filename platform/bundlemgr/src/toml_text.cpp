#include "toml_text.h"

#include <kelp/util/file_trust.h>
#include <kelp/util/trace_log.h>

namespace NS_BUNDLEMGR1 {

std::optional<std::string> readFile(const std::filesystem::path& file, ConfigProblem& problem) {
    problem = ConfigProblem{file.string(), 0, "", ""};
    if (std::error_code ignored; std::filesystem::is_directory(file, ignored)) {
        problem.what = "cannot be read: it is a directory";
        return std::nullopt;
    }
    return kelp::util::readTrustedFile(file, kelp::util::FileUse::Trusted, problem.what);
}

std::optional<toml::table> parseToml(const std::string& text, const std::string& name,
                                     ConfigProblem& problem) {
    try {
        return toml::parse(text, name);
    } catch (const toml::parse_error& error) {
        problem = ConfigProblem{
            name, lineOf(error.source()), "",
            "is not valid TOML: " + kelp::util::escaped(std::string(error.description()))};
        return std::nullopt;
    }
}

std::string typeText(const toml::node& node) {
    switch (node.type()) {
        case toml::node_type::string:
            return "a text";
        case toml::node_type::integer:
            return "an integer";
        case toml::node_type::floating_point:
            return "a number with a fraction";
        case toml::node_type::boolean:
            return "a truth value";
        case toml::node_type::array:
            return "a list";
        case toml::node_type::table:
            return "a table";
        default:
            return "a date or time";
    }
}

int lineOf(const toml::source_region& region) {
    return static_cast<int>(region.begin.line);
}

}  // namespace NS_BUNDLEMGR1
