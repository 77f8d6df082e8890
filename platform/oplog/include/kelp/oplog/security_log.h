#pragma once

#include <kelp/oplog/operation_log.h>

#include <string>
#include <vector>

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

/// The event's name in the log, such as "login".
KELP_EXPORT std::string textOf(SecurityEvent event);

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

/// A place in the chain: the number and the hash of a record.
struct KELP_EXPORT ChainHead {
    std::int64_t id = 0;
    std::string hash;  ///< lower-case hexadecimal digits

    /// "number:hash".
    std::string text() const;
    /// Parse a text that text() returned. Empty for any other text.
    static std::optional<ChainHead> of(const std::string& text);
};

/// The result of a check of the chain.
struct KELP_EXPORT Verification {
    std::uint64_t records = 0;
    std::int64_t firstId = 0;           ///< 0 if there are no records
    ChainHead head;                     ///< the last record of the chain
    std::vector<std::string> problems;  ///< one sentence each; only the first 20
    std::uint64_t problemCount = 0;
};

/// Check the whole chain. Changes nothing and locks nothing.
///
/// Detects records that were changed, removed, inserted or moved. This includes the oldest records,
/// because the log records how far retention has removed them, and the last records, because the
/// file notes the head of the chain. `keyFile` is LogSettings::auditKeyFile. With its key, verify()
/// also detects a chain that was computed again without the key.
///
/// Does not detect:
/// - a file that was shortened and its noted head set back, or replaced by an older copy. To detect
/// that, note heads outside the machine and pass them as `known`: each must still be in the chain,
/// unless retention has removed it.
/// - changes after the last head noted outside, by somebody who has the key and write access.
/// - in a log without a key, changes by somebody with write access who computes all later hashes
/// and the head again.
/// - records that a crash lost before they were written.
///
/// Throws std::runtime_error with one sentence if the file or the key cannot be read, or if the key
/// that the log was made with is missing.
KELP_EXPORT Verification verify(const std::filesystem::path& database,
                                const std::vector<ChainHead>& known = {},
                                const std::filesystem::path& keyFile = {});

}  // namespace kelp::oplog
