#pragma once

#include <filesystem>
#include <optional>

namespace kelp::host {

/// The options of the command line.
struct Options {
    /// The configuration file. Empty: /etc/kelp/kelp.toml if it exists, otherwise the defaults.
    std::filesystem::path configFile;
    /// Only check the configuration.
    bool checkOnly = false;
};

/// Read the command line. None when it asked for help or the version, or was wrong. Then the answer
/// has been printed and `exitCode` is set.
std::optional<Options> parseOptions(int argc, char** argv, int& exitCode);

}  // namespace kelp::host
