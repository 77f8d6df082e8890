#pragma once

#include <SQLiteCpp/SQLiteCpp.h>
#include <gmock/gmock.h>
#include <kelp/oplog/log_search.h>
#include <kelp/oplog/security_log.h>
#include <kelp/oplog/verify.h>

#include <string>
#include <vector>

#include "support/temporary_directory.h"
#include "support/trace_capture.h"
#include "support/wait_until.h"

namespace kelp::test {

using namespace oplog;
using namespace std::chrono_literals;

constexpr std::chrono::seconds kPatience{30};

/// Logs in a temporary folder.
class LogTest : public testing::Test {
  protected:
    LogSettings settings(std::size_t queueMax = 200000,
                         std::chrono::milliseconds stallMax = 0ms) const {
        LogSettings settings;
        settings.database = folder_ / "oplog.db";
        // keep records whose times are in the past
        settings.retention.age = std::chrono::days(36500);
        settings.queueMax = queueMax;
        settings.stallMax = stallMax;
        return settings;
    }
    std::filesystem::path database() const { return folder_ / "oplog.db"; }

    static OperationRecord request(const std::string& operation) {
        OperationRecord record;
        record.user = "nms1";
        record.operation = operation;
        return record;
    }
    static SecurityRecord login(const std::string& user) {
        SecurityRecord record;
        record.user = user;
        record.outcome = "ok";
        return record;
    }
    static std::vector<LogEntry> read(const std::filesystem::path& file,
                                      LogKind kind = LogKind::Operations,
                                      const LogQuery& query = {}) {
        std::vector<LogEntry> entries;
        LogReader(file, kind).search(query, [&entries](const LogEntry& entry) {
            entries.push_back(entry);
            return true;
        });
        return entries;
    }
    std::vector<LogEntry> read() const { return read(database()); }
    static std::vector<std::string> operationsOf(const std::vector<LogEntry>& entries) {
        std::vector<std::string> operations;
        for (const LogEntry& entry : entries)
            operations.push_back(entry.missing > 0 ? "gap " + std::to_string(entry.missing)
                                                   : entry.operation);
        return operations;
    }

    const TemporaryDirectory folder_;
    TraceCapture trace_;
};

/// Another process's connection to a log.
class OtherConnection {
  public:
    explicit OtherConnection(const std::filesystem::path& file)
        : database_(file.string(), SQLite::OPEN_READWRITE, 5000) {}
    void exec(const std::string& statement) { database_.exec(statement); }
    std::int64_t number(const std::string& query) { return database_.execAndGet(query).getInt64(); }
    void lock() { exec("BEGIN IMMEDIATE"); }
    void unlock() { exec("ROLLBACK"); }

  private:
    SQLite::Database database_;
};

}  // namespace kelp::test
