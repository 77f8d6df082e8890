#pragma once

#include <CLI/CLI.hpp>

#include <filesystem>

namespace kelp::ctl {

/// What every command can be told; filled when the command line has been parsed.
struct GlobalOptions {
    std::filesystem::path config;  ///< empty: the default file, if it exists
};

/// Reads the configuration that the options name. Throws std::runtime_error with one line.
void loadConfiguration(const GlobalOptions& options);

/// `kelpctl user ...`: the accounts of NMS users. `options` must outlive the parsing.
void addUserCommands(CLI::App& app, const GlobalOptions& options);

/// `kelpctl alarm ...`: single alarms, told to the running host. `options` must outlive the
/// parsing.
void addAlarmCommands(CLI::App& app, const GlobalOptions& options);

/// `kelpctl storm`: many alarms. `options` must outlive the parsing.
void addStormCommand(CLI::App& app, const GlobalOptions& options);

/// `kelpctl consumers`: what became of the events. `options` must outlive the parsing.
void addConsumersCommand(CLI::App& app, const GlobalOptions& options);

/// `kelpctl health`: the running host and its logs. `options` must outlive the parsing.
void addHealthCommand(CLI::App& app, const GlobalOptions& options);

/// `kelpctl naming`: where the session factory is found. `options` must outlive the parsing.
void addNamingCommand(CLI::App& app, const GlobalOptions& options);

/// `kelpctl oplog` and `kelpctl audit`: the operation log and the security log. `options` must
/// outlive the parsing.
void addLogCommands(CLI::App& app, const GlobalOptions& options);

/// `kelpctl inventory ...`: what the EMS's network consists of. `options` must outlive the parsing.
void addInventoryCommands(CLI::App& app, const GlobalOptions& options);

}  // namespace kelp::ctl
