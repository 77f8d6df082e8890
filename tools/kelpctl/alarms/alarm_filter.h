#pragma once

#include <CLI/CLI.hpp>
#include <kelp/admin/registry.h>

#include <cstdint>
#include <string>
#include <vector>

#include "alarms/alarm_options.h"

namespace kelp::ctl {

/// The options that select alarms of the host's list.
struct AlarmFilter {
    explicit AlarmFilter(const GlobalOptions& global) : alarms(global) {}

    void addTo(CLI::App& command);
    /// Return the parameters of a request, without those for the pages. To be called after
    /// `alarms.client()`, which reads the configuration. Throws std::runtime_error with one line.
    admin::Query query() const;

    AlarmOptions alarms;
    std::vector<std::string> severities;  ///< enumerators
    std::string probableCause;
    bool isAcknowledged = false;
    bool isUnacknowledged = false;
    std::string since;
    std::string until;
    std::uint64_t limit = 0;     ///< 0: all
    bool isNewestFirst = false;  ///< to be set before addTo()
};

/// Read the alarms at the path, which are a list of the host, page by page. Returns the answer for
/// the first page with the alarms of all pages. It has "next" only if `limit` left some out. All
/// pages show the list at one position. Throws std::runtime_error with one line.
admin::Json readAlarmPages(const AdminClient& client, const std::string& path,
                           const admin::Query& query, std::uint64_t limit);

}  // namespace kelp::ctl
