#pragma once

#include <kelp/oplog/operation_log.h>
#include <kelp/oplog/security_log.h>
#include <kelp/util/export.h>

#include <cstdint>
#include <memory>
#include <string>
#include <vector>

namespace NS_CORBA {

/// The process's audit records: requests in the operation log, log-ins and refusals in the security
/// log. Any thread may call it. Records written while the trail is closed are discarded.
class KELP_EXPORT AuditTrail {
  public:
    static AuditTrail& Instance();

    /// Open both logs as configured. Does not wait for the disk.
    void Open();
    /// Write the pending records and close both logs.
    void Close();
    bool IsOpen() const;
    /// Apply the logs' limits after a reload of the configuration.
    void UpdateRetention();

    void Write(const kelp::oplog::OperationRecord& record) noexcept;
    /// Write the record of a request whose caller is not logged in. It goes to a separate part of
    /// the operation log with a size limit of [oplog] keep_before_login_mib, so that such callers
    /// cannot push out other records. For each outcome and `network`, at most [oplog]
    /// records_per_minute_before_login records a minute are written individually. Further ones are
    /// counted and summarised in one record when the minute is over.
    void WriteWithoutLogIn(const kelp::oplog::OperationRecord& record,
                           const std::string& network) noexcept;
    /// Write a security record. For each kind of refusal and address, at most 20 records a minute
    /// are written individually. Further ones are counted and summarised in one record when the
    /// minute is over. A flood of refusals thus neither pushes out older records nor goes
    /// unrecorded.
    void Write(kelp::oplog::SecurityRecord record) noexcept;

    /// Counts of both parts of the operation log together. All zero while the trail is closed.
    kelp::oplog::LogCounts OperationCounts() const;
    kelp::oplog::LogCounts SecurityCounts() const;

    /// Number of security events of one kind since the start, also of those that floods kept from
    /// being recorded individually.
    struct EventCount {
        kelp::oplog::SecurityEvent event{};
        std::uint64_t ok = 0;
        std::uint64_t refused = 0;
    };
    /// One for each kind of event.
    std::vector<EventCount> EventCounts() const;

    AuditTrail(const AuditTrail&) = delete;
    AuditTrail& operator=(const AuditTrail&) = delete;

  private:
    AuditTrail();
    ~AuditTrail();
    struct State;
    std::unique_ptr<State> state_;
};

/// The outcome of an event or request that was not refused.
inline constexpr const char* kOutcomeOk = "ok";

}  // namespace NS_CORBA
