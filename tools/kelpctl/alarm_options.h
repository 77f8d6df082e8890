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

/// An option that takes one of the words; `take` gets the enumerator.
CLI::Option* addWordOption(CLI::App& command, const std::string& name, const Words& words,
                           const std::function<void(const std::string&)>& take,
                           const std::string& description);
/// The option for the severity of an alarm that is raised.
CLI::Option* addSeverityOption(CLI::App& command,
                               const std::function<void(const std::string&)>& take,
                               const std::string& description);

/// What the commands have in common that send alarms to the running host.
struct AlarmOptions {
    explicit AlarmOptions(const GlobalOptions& global) : globalOptions(global) {}

    const GlobalOptions& globalOptions;
    std::string socket;
    std::vector<std::string> object;  ///< "NAME=VALUE" each

    void addSocket(CLI::App& command);
    void addObject(CLI::App& command);
    /// The host as configured. Reads the configuration.
    AdminClient client() const;
    /// The object's name in JSON: the EMS first, as configured, unless it was given.
    admin::Json objectName() const;
};

/// "NAME=VALUE" each, as pairs in JSON. Throws std::runtime_error with one line.
admin::Json pairsOf(const std::vector<std::string>& texts, const std::string& option);

}  // namespace kelp::ctl
