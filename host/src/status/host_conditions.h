#pragma once

#include <kelp/admin/conditions.h>
#include <kelp/corbabase/audit_trail.h>
#include <kelp/corbabase/naming_findings.h>
#include <kelp/notification/consumer_counts.h>

#include <chrono>
#include <cstdint>
#include <filesystem>
#include <optional>
#include <string>
#include <vector>

namespace kelp::host {

/// The conditions of the parts that the host can see: consumers, naming entry, logs, disks,
/// lock-outs, threads and certificate. They are sources of admin::Conditions for the object's
/// lifetime.
class HostConditions {
  public:
    HostConditions();

  private:
    std::vector<admin::Registration> registrations_;
};

/// The condition of a consumer that does not answer, or whose events wait for long or fill half of
/// its queue.
std::optional<admin::Condition> consumerCondition(const notification::ConsumerCounts& counts);

/// The condition of the session factory's entry. A foreign entry is shown as long as it is bound,
/// and for an hour after it was replaced.
std::optional<admin::Condition> namingCondition(const NS_CORBA::NamingEntryState& entry,
                                                std::chrono::system_clock::time_point now);

/// The conditions of a log, which is named as at the beginning of a sentence.
std::vector<admin::Condition> conditionsOfLog(const std::string& log,
                                              const oplog::LogCounts& counts);

/// The condition of a file system that holds `folder`: a warning below 5 % of free space, critical
/// below 1 %.
std::optional<admin::Condition> diskCondition(const std::filesystem::path& folder,
                                              std::uintmax_t capacity, std::uintmax_t available);

/// The condition of a certificate that expires at `end`. None while it has 30 days left.
std::optional<admin::Condition> certificateCondition(
    const std::filesystem::path& file, std::optional<std::chrono::system_clock::time_point> end,
    std::chrono::system_clock::time_point now);

}  // namespace kelp::host
