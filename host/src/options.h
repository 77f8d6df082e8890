#pragma once

#include <filesystem>
#include <optional>

namespace kelp::host {

/// What the command line asks for.
struct Options {
    /// The configuration file; empty: /etc/kelp/kelp.toml if there is one, else the defaults.
    std::filesystem::path configFile;
    /// Only check the configuration.
    bool checkOnly = false;
};

/// Reads the command line. None when it asked for help or the version, or was wrong; that has been
/// told, and `exitCode` is set.
std::optional<Options> parseOptions(int argc, char** argv, int& exitCode);

}  // namespace kelp::host
