#pragma once

#include <kelp/corbabase/audit_trail.h>
#include <kelp/oplog/log_search.h>

#include <chrono>
#include <string>
#include <vector>

#include "support/temporary_directory.h"

namespace kelp::test {

/// The operation log and the security log in a temporary folder. Configure toml() before creating
/// this object, which opens the logs.
class OpenLogs {
  public:
    explicit OpenLogs(const TemporaryDirectory& folder) : folder_(folder) {
        NS_CORBA::AuditTrail::Instance().Open();
    }
    ~OpenLogs() { NS_CORBA::AuditTrail::Instance().Close(); }
    OpenLogs(const OpenLogs&) = delete;
    OpenLogs& operator=(const OpenLogs&) = delete;

    static std::string toml(const TemporaryDirectory& folder) {
        return "[oplog]\ndatabase = \"" + (folder / "oplog.db").string() + "\"\n";
    }
    /// Return all records so far. Closes the logs, so that waiting records are written.
    std::vector<oplog::LogEntry> operations() const {
        return read(oplog::LogKind::Operations, folder_ / "oplog.db");
    }
    std::vector<oplog::LogEntry> security() const {
        return read(oplog::LogKind::Security, folder_ / "oplog-audit.db");
    }

  private:
    static std::vector<oplog::LogEntry> read(oplog::LogKind kind,
                                             const std::filesystem::path& database) {
        NS_CORBA::AuditTrail::Instance().Close();
        std::vector<oplog::LogEntry> entries;
        oplog::LogReader(database, kind).search({}, [&](const oplog::LogEntry& entry) {
            // the record of the chain's key is not an event
            if (entry.operation != "key")
                entries.push_back(entry);
            return true;
        });
        return entries;
    }

    const TemporaryDirectory& folder_;
};

}  // namespace kelp::test
