#pragma once

#include <kelp/oplog/operation_log.h>

#include <memory>
#include <string>

namespace kelp::oplog {

/// One security event. Texts may come from a peer: the log truncates and escapes them. Never holds
/// a password.
struct KELP_EXPORT SecurityRecord {
    UtcTime time = now();
    SecurityEvent event = SecurityEvent::LogIn;
    std::string user;        ///< the user who logs in, or the administrator
    std::string nmsAddress;  ///< address and port in the session's name
    std::string peer;        ///< address and port of the connection
    std::string object;      ///< the account or the setting that was changed
    std::string outcome;     ///< "ok", or the reason of the refusal
    std::string detail;
};

/// The log of security events. Threads, queue, outages and stop are those of OperationLog.
///
/// In addition, the records form a chain: each record holds a hash over its own content and the
/// hash of the record before it. This is so even if several processes append to the same file.
/// verify() checks the chain. With LogSettings::auditKeyFile the hash is an HMAC-SHA-256, which
/// nobody can compute without the key; without a key file it is a BLAKE2b hash. The key is created
/// before the first record is written. A log that was begun without a key continues with the key
/// from a marked record on. The key is read at the first use and kept in memory.
class KELP_EXPORT SecurityLog {
  public:
    explicit SecurityLog(const LogSettings& settings);
    ~SecurityLog();
    SecurityLog(const SecurityLog&) = delete;
    SecurityLog& operator=(const SecurityLog&) = delete;

    bool write(SecurityRecord record) noexcept;
    void setRetention(const Retention& retention);
    bool flush(std::chrono::milliseconds deadline);
    LogCounts counts() const;
    void stop();

  private:
    std::unique_ptr<LogWriter> writer_;
};

/// Append one record at once. For the operator's tools: another process may have the log open at
/// the same time. Throws std::runtime_error with one sentence if this fails or takes longer than 2
/// s. Uses only `database` and `auditKeyFile` of the settings.
KELP_EXPORT void appendSecurityRecord(const LogSettings& settings, const SecurityRecord& record);

/// Return why a security log with these settings cannot be written: other users can read or write
/// the key file, it holds no valid key, or the log was made with another key. One sentence; empty
/// if there is no problem.
KELP_EXPORT std::string problemOfAuditKey(const LogSettings& settings);

}  // namespace kelp::oplog
