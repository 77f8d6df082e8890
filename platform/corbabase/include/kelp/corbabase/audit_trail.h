#pragma once

#include <kelp/oplog/operation_log.h>
#include <kelp/oplog/security_log.h>
#include <kelp/util/export.h>

#include <memory>
#include <string>

namespace NS_CORBA {

/// The process's records of what was asked of the EMS (operation log) and of what happened at its
/// doors (security log). Callable from any thread; what is told while it is not open is not kept.
class KELP_EXPORT AuditTrail {
  public:
    static AuditTrail& Instance();

    /// Opens both logs as configured; nothing waits for the disk here.
    void Open();
    /// Writes what waits and closes both logs.
    void Close();
    bool IsOpen() const;
    /// Takes over the limits that a re-read of the configuration changed.
    void UpdateRetention();

    void Write(const kelp::oplog::OperationRecord& record) noexcept;
    /// The record of a request whose caller is not logged in. It goes to a part of the operation
    /// log with a size of its own ([oplog] keep_before_login_mib), so that such callers push no
    /// other records out. Of one outcome and `network`, [oplog] records_per_minute_before_login
    /// stand there individually within a minute; those beyond are counted and told in one record
    /// when the minute is over.
    void WriteWithoutLogIn(const kelp::oplog::OperationRecord& record,
                           const std::string& network) noexcept;
    /// Refusals of one kind from one address stand in the log one by one up to 20 a minute; those
    /// beyond are counted and told in one record when the minute is over, so that a flood of them
    /// neither pushes older records out of the log nor is lost from it.
    void Write(kelp::oplog::SecurityRecord record) noexcept;

    /// All zero when it is not open. Of the operation log's two parts together.
    kelp::oplog::LogCounts OperationCounts() const;
    kelp::oplog::LogCounts SecurityCounts() const;

    AuditTrail(const AuditTrail&) = delete;
    AuditTrail& operator=(const AuditTrail&) = delete;

  private:
    AuditTrail();
    ~AuditTrail();
    struct State;
    std::unique_ptr<State> state_;
};

/// The event's outcome when nothing was refused.
inline constexpr const char* kOutcomeOk = "ok";

}  // namespace NS_CORBA
