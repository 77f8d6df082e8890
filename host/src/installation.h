#pragma once

#include <filesystem>
#include <string>
#include <vector>

namespace kelp::host {

/// Places to look for something, best first.
using Places = std::vector<std::filesystem::path>;

/// The folder of the running program.
std::filesystem::path programDirectory();

/// Where the bundles may be when the configuration names no folder: beside a program that was just
/// built, or installed.
Places bundleDirectories(const std::filesystem::path& programDirectory);

/// Where the error catalogue may be: beside the configuration file, or in the share folder of the
/// build or installation.
Places errorCatalogues(const std::filesystem::path& programDirectory,
                       const std::filesystem::path& configFile);

/// The configuration file that holds when none is named; empty when there is none.
std::filesystem::path standardConfigFile();

/// The first place that exists; empty when none does.
std::filesystem::path firstExisting(const Places& places);

/// The places in one line.
std::string inWords(const Places& places);

}  // namespace kelp::host
