#pragma once

#include <filesystem>
#include <string>
#include <vector>

namespace kelp::state {

/// The folder of the configuration files in an archive.
inline constexpr const char* kConfigurationFolder = "configuration/";

/// A file that the administrator wrote: the configuration, or a file that it names.
struct ConfigurationFile {
    std::string name;            ///< in an archive: the folder, then the key that names the file
    std::filesystem::path path;  ///< its place here
    bool isSecret = false;       ///< has passwords, communities or private keys
};

/// The files of the configuration in use: the file itself, the error catalogue next to it, and the
/// files that its keys name. They need not exist.
std::vector<ConfigurationFile> configurationFiles();

/// Whether an archive may hold a configuration file of this name.
bool isConfigurationName(const std::string& name);

}  // namespace kelp::state
