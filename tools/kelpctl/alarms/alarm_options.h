#pragma once

#include <CLI/CLI.hpp>
#include <kelp/admin/registry.h>

#include <functional>
#include <string>
#include <utility>
#include <vector>

#include "admin_client.h"
#include "commands.h"

namespace kelp::ctl {

/// Words of the command line and the enumerators that they stand for.
using Words = std::vector<std::pair<std::string, std::string>>;

/// Add an option that accepts one of the words. `take` receives the enumerator.
CLI::Option* addWordOption(CLI::App& command, const std::string& name, const Words& words,
                           const std::function<void(const std::string&)>& take,
                           const std::string& description);
/// Add the option for the severity of an alarm to raise.
CLI::Option* addSeverityOption(CLI::App& command,
                               const std::function<void(const std::string&)>& take,
                               const std::string& description);

/// The words for the severities of alarms that are not cleared, for a description.
std::string severityWords();
/// Accepts one of these words and converts it to the enumerator.
CLI::Validator severityValidator();

/// The options that the commands share which send alarms to the running host.
struct AlarmOptions {
    explicit AlarmOptions(const GlobalOptions& global) : globalOptions(global) {}

    const GlobalOptions& globalOptions;
    std::string socket;
    std::vector<std::string> object;  ///< each "NAME=VALUE"

    void addSocket(CLI::App& command);
    void addObject(CLI::App& command);
    /// Return a client of the configured host. Reads the configuration.
    AdminClient client() const;
    /// Return the object's name in JSON. It begins with the configured EMS unless the EMS was
    /// given.
    admin::Json objectName() const;
};

/// Convert texts "NAME=VALUE" to pairs in JSON. Throws std::runtime_error with one line.
admin::Json pairsOf(const std::vector<std::string>& texts, const std::string& option);

}  // namespace kelp::ctl
