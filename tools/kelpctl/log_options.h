#pragma once

#include <CLI/CLI.hpp>
#include <kelp/oplog/log_search.h>

#include <cstdint>
#include <filesystem>
#include <optional>
#include <string>

#include "commands.h"

namespace kelp::ctl {

/// Which log, which records of it, and in what form.
struct LogOptions {
    explicit LogOptions(const GlobalOptions& global) : globalOptions(global) {}

    /// `operation` is the option's name for what a record tells of.
    void addTo(CLI::App& command, const std::string& operation, const std::string& meaning);
    /// The file given, or the one configured.
    std::filesystem::path database(oplog::LogKind kind) const;
    oplog::LogQuery query() const;
    bool isTable() const { return !json && !csv; }

    const GlobalOptions& globalOptions;
    std::string file;
    std::string since;
    std::string until;
    oplog::LogQuery texts;  ///< without the times
    bool json = false;
    bool csv = false;
};

}  // namespace kelp::ctl
