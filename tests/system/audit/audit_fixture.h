#pragma once

#include <gtest/gtest.h>
#include <kelp/oplog/log_search.h>

#include <string>
#include <vector>

#include "system/harness/host.h"

namespace kelp::test {

/// The output of a command and its exit code.
struct CommandResult {
    int exitCode = -1;
    std::string output;
};

/// A host whose logs are read while it runs and afterwards.
class AuditTest : public ::testing::Test {
  protected:
    static constexpr const char* kUser = "alice";

    /// Puts the logs in a separate folder.
    AuditTest();
    void SetUp() override;
    /// Start the host. Return when it accepts log-ins and has opened its logs.
    void startHost();

    std::filesystem::path logFolder() const { return host_.scratch("logs"); }
    std::filesystem::path operationLog() const { return logFolder() / "oplog.db"; }
    std::filesystem::path securityLog() const { return logFolder() / "oplog-audit.db"; }

    /// Return the matching records.
    std::vector<oplog::LogEntry> operations(const oplog::LogQuery& query = {}) const;
    std::vector<oplog::LogEntry> security(const std::string& event,
                                          const std::string& outcome = "") const;
    /// Return the number of requests of an operation that were answered normally.
    int countOf(const std::string& operation) const;
    /// Wait until the log holds at least `wanted` records of the operation. Return their number.
    int countOnceThereAre(const std::string& operation, int wanted) const;
    std::vector<oplog::LogEntry> gaps() const;

    CommandResult kelpctl(std::vector<std::string> arguments);
    /// Expect that the operator can search both logs, that both databases are sound, and that the
    /// hash chain of the security log is complete.
    void expectSoundLogs();

    /// Make the host read its changed configuration, and wait until it is in effect.
    void reconfigure();

    Host host_;

  private:
    int runs_ = 0;
};

}  // namespace kelp::test
