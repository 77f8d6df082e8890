#pragma once

#include <gtest/gtest.h>
#include <kelp/oplog/log_search.h>

#include <string>
#include <vector>

#include "system/harness/host.h"

namespace kelp::test {

/// What a command has written, and its exit code.
struct CommandResult {
    int exitCode = -1;
    std::string output;
};

/// A host whose logs are looked into while it runs and afterwards.
class AuditTest : public ::testing::Test {
  protected:
    static constexpr const char* kUser = "alice";

    /// The logs lie in a folder of their own.
    AuditTest();
    void SetUp() override;
    /// Returns when the host takes log-ins and has opened its logs.
    void startHost();

    std::filesystem::path logFolder() const { return host_.scratch("logs"); }
    std::filesystem::path operationLog() const { return logFolder() / "oplog.db"; }
    std::filesystem::path securityLog() const { return logFolder() / "oplog-audit.db"; }

    /// The matching records.
    std::vector<oplog::LogEntry> operations(const oplog::LogQuery& query = {}) const;
    std::vector<oplog::LogEntry> security(const std::string& event,
                                          const std::string& outcome = "") const;
    /// How many requests of an operation were answered normally.
    int countOf(const std::string& operation) const;
    /// Waits until so many, or more, stand in the log: how many there are.
    int countOnceThereAre(const std::string& operation, int wanted) const;
    std::vector<oplog::LogEntry> gaps() const;

    CommandResult kelpctl(std::vector<std::string> arguments);
    /// Both logs can be searched by the operator, are sound databases, and the chain of the
    /// security log is whole.
    void expectSoundLogs();

    /// Gives the host a changed configuration and waits until it holds.
    void reconfigure();

    Host host_;

  private:
    int runs_ = 0;
};

}  // namespace kelp::test
