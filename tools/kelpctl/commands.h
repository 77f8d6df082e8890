#pragma once

#include <CLI/CLI.hpp>

#include <filesystem>

namespace kelp::ctl {

/// The options that every command has. They are set once the command line has been parsed.
struct GlobalOptions {
    std::filesystem::path config;  ///< empty: the default file, if it exists
};

/// Read the configuration that the options name. Throws std::runtime_error with one line.
void loadConfiguration(const GlobalOptions& options);

/// Add `kelpctl user ...`, which manages the accounts of NMS users. `options` must outlive the
/// parsing.
void addUserCommands(CLI::App& app, const GlobalOptions& options);

/// Add `kelpctl operator ...`, which manages the accounts for the status page. `options` must
/// outlive the parsing.
void addOperatorCommands(CLI::App& app, const GlobalOptions& options);

/// Add `kelpctl alarm ...`, which reports single alarms to the running host and shows its list.
/// `options` must outlive the parsing.
void addAlarmCommands(CLI::App& app, const GlobalOptions& options);

/// Add `kelpctl storm`, which raises many alarms. `options` must outlive the parsing.
void addStormCommand(CLI::App& app, const GlobalOptions& options);

/// Add `kelpctl consumers`, which shows what happened to each consumer's events. `options` must
/// outlive the parsing.
void addConsumersCommand(CLI::App& app, const GlobalOptions& options);

/// Add `kelpctl health`, which shows the state of the running host and its logs. `options` must
/// outlive the parsing.
void addHealthCommand(CLI::App& app, const GlobalOptions& options);

/// Add `kelpctl status`, which shows what needs attention. `options` must outlive the parsing.
void addStatusCommand(CLI::App& app, const GlobalOptions& options);

/// Add `kelpctl sessions`, `kelpctl session ...`, `kelpctl drain` and `kelpctl top`, which show and
/// end the sessions of NMS. `options` must outlive the parsing.
void addSessionCommands(CLI::App& app, const GlobalOptions& options);

/// Add `kelpctl check`, which goes the way of an NMS and says what is broken. `options` must
/// outlive the parsing.
void addCheckCommand(CLI::App& app, const GlobalOptions& options);

/// Add `kelpctl naming`, which shows where the session factory is registered. `options` must
/// outlive the parsing.
void addNamingCommand(CLI::App& app, const GlobalOptions& options);

/// Add `kelpctl config show`, which shows the settings in use with their origins, and `kelpctl
/// version`. `options` must outlive the parsing.
void addConfigCommands(CLI::App& app, const GlobalOptions& options);

/// Add `kelpctl reload`, which makes the host read its configuration again. `options` must outlive
/// the parsing.
void addReloadCommand(CLI::App& app, const GlobalOptions& options);

/// Add `kelpctl ior`, which decodes a reference without calling anybody.
void addIorCommand(CLI::App& app);

/// Add `kelpctl oplog` and `kelpctl audit`, which read the operation log and the security log.
/// `options` must outlive the parsing.
void addLogCommands(CLI::App& app, const GlobalOptions& options);

/// Add `kelpctl parts`, which shows the state of the host's parts. `options` must outlive the
/// parsing.
void addPartsCommand(CLI::App& app, const GlobalOptions& options);

/// Add `kelpctl trace`, which shows the requests of one NMS as they are recorded. `options` must
/// outlive the parsing.
void addTraceCommand(CLI::App& app, const GlobalOptions& options);

/// Add `kelpctl threads`, which shows what the host's threads do. `options` must outlive the
/// parsing.
void addThreadsCommand(CLI::App& app, const GlobalOptions& options);

/// Add `kelpctl inventory ...`, which manages the inventory of the EMS's network. `options` must
/// outlive the parsing.
void addInventoryCommands(CLI::App& app, const GlobalOptions& options);

/// Add `kelpctl backup`, `kelpctl restore` and `kelpctl support-bundle`. `options` must outlive the
/// parsing.
void addStateCommands(CLI::App& app, const GlobalOptions& options);

/// Add `kelpctl snmp ...`, which checks the mapping of SNMP traps. `options` must outlive the
/// parsing.
void addSnmpCommands(CLI::App& app, const GlobalOptions& options);

}  // namespace kelp::ctl
