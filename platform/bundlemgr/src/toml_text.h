#pragma once

#include <kelp/bundlemgr/config_store.h>
#include <toml++/toml.h>

#include <filesystem>
#include <optional>
#include <string>

namespace NS_BUNDLEMGR1 {

/// The content of the file. Returns nothing, and sets `problem`, if the file cannot be read.
std::optional<std::string> readFile(const std::filesystem::path& file, ConfigProblem& problem);

/// Parse a text. Returns nothing, and sets `problem` with line and reason, if it is not TOML.
/// `name` stands for the file.
std::optional<toml::table> parseToml(const std::string& text, const std::string& name,
                                     ConfigProblem& problem);

/// The node's type as text: "an integer", "a text", ...
std::string typeText(const toml::node& node);

int lineOf(const toml::source_region& region);

}  // namespace NS_BUNDLEMGR1
