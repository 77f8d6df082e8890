#pragma once

#include <CLI/CLI.hpp>
#include <kelp/oplog/log_search.h>

#include <cstdint>
#include <filesystem>
#include <optional>
#include <string>

#include "commands.h"

namespace kelp::ctl {

/// The options that select a log, its records and the output format.
struct LogOptions {
    explicit LogOptions(const GlobalOptions& global) : globalOptions(global) {}

    /// `operation` is the name of the option that selects records by operation.
    void addTo(CLI::App& command, const std::string& operation, const std::string& meaning);
    /// Return the file that was given, or the configured one.
    std::filesystem::path database(oplog::LogKind kind) const;
    oplog::LogQuery query() const;
    bool isTable() const { return !json && !csv; }

    const GlobalOptions& globalOptions;
    std::string file;
    std::string since;
    std::string until;
    oplog::LogQuery texts;  ///< the query without the times
    bool json = false;
    bool csv = false;
};

}  // namespace kelp::ctl
