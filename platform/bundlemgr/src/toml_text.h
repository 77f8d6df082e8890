#pragma once

#include <kelp/bundlemgr/config_store.h>
#include <toml++/toml.h>

#include <filesystem>
#include <optional>
#include <string>

namespace NS_BUNDLEMGR1 {

/// The file's bytes; none, with the problem, when it cannot be read.
std::optional<std::string> readFile(const std::filesystem::path& file, ConfigProblem& problem);

/// The parsed text; none, with line and reason, when it is no TOML. `name` stands for the file.
std::optional<toml::table> parseToml(const std::string& text, const std::string& name,
                                     ConfigProblem& problem);

/// A node's type in words: "an integer", "a text", ...
std::string typeText(const toml::node& node);

int lineOf(const toml::source_region& region);

}  // namespace NS_BUNDLEMGR1
