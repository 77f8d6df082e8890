#pragma once

#include <filesystem>
#include <string>
#include <vector>

namespace kelp::host {

/// Paths to search, best first.
using Places = std::vector<std::filesystem::path>;

/// Return the folder of the running program.
std::filesystem::path programDirectory();

/// Return the folders where the bundles may be when the configuration names none: that of a build
/// folder, and that of an installation.
Places bundleDirectories(const std::filesystem::path& programDirectory);

/// Return the possible paths of the error catalogue: next to the configuration file, and in the
/// share folder of the build or installation.
Places errorCatalogues(const std::filesystem::path& programDirectory,
                       const std::filesystem::path& configFile);

/// Return the configuration file to use when none is named; empty when it does not exist.
std::filesystem::path standardConfigFile();

/// Return the first path that exists; empty when none does.
std::filesystem::path firstExisting(const Places& places);

/// Return the paths in one line.
std::string inWords(const Places& places);

}  // namespace kelp::host
