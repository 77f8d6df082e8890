#pragma once

#include <chrono>
#include <filesystem>
#include <string>

namespace kelp::example {

struct Settings {
    std::filesystem::path folder;         ///< where reports are read
    std::chrono::milliseconds poll{250};  ///< how often the folder is checked
    std::string ems;                      ///< value of the component "EMS" of object names
};

/// The file with the settings: alarm_folder.toml next to the host's configuration file or, when
/// the host runs without one, in its state directory.
std::filesystem::path settingsFile();

/// Read the settings. Throws std::runtime_error with a sentence that names the file, and the line
/// and key where there is one.
Settings readSettings(const std::filesystem::path& file, const std::string& ems);

}  // namespace kelp::example
