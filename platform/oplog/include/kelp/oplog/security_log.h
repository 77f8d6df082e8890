#pragma once

#include <kelp/oplog/operation_log.h>

#include <string>
#include <vector>

namespace kelp::oplog {

/// One event at the doors of the EMS. Texts may be a peer's: they are cut and escaped by the log.
/// Never a password.
struct KELP_EXPORT SecurityRecord {
    UtcTime time = now();
    SecurityEvent event = SecurityEvent::LogIn;
    std::string user;        ///< who logs in, or who administers
    std::string nmsAddress;  ///< address and port in the session's name
    std::string peer;        ///< address and port of the connection
    std::string object;      ///< the account or the setting that was changed
    std::string outcome;     ///< "ok", or the refusal
    std::string detail;
};

/// The event's word in the log, such as "login".
KELP_EXPORT std::string textOf(SecurityEvent event);

/// The log of security events. Behaves as the operation log does in all that concerns threads,
/// queue, outages and stop. In addition each record carries a hash over itself and the hash of the
/// record before it, also across processes that append to the same file; see verify(). With
/// LogSettings::auditKeyFile the hash is an HMAC (SHA-256), which nobody without the key can make.
/// The key is made with the first record; an older log, whose hashes need no key (BLAKE2b), goes on
/// with it from a marked record on. The key is read at the first use and kept.
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

/// Appends one record at once, beside a running SecurityLog of another process: for the operator's
/// tools. Throws std::runtime_error with one sentence when that cannot be done within 2 s. Of the
/// settings the database and the key file count.
KELP_EXPORT void appendSecurityRecord(const LogSettings& settings, const SecurityRecord& record);

/// What keeps a security log with these settings from being written: the key can be read or written
/// by others, holds nothing usable, or is not the one that the log was made with. One sentence;
/// empty: nothing.
KELP_EXPORT std::string problemOfAuditKey(const LogSettings& settings);

/// A place in the chain: the record's number and its hash.
struct KELP_EXPORT ChainHead {
    std::int64_t id = 0;
    std::string hash;  ///< lower-case hexadecimal digits

    /// "number:hash"
    std::string text() const;
    /// The place of such a text; none for anything else.
    static std::optional<ChainHead> of(const std::string& text);
};

struct KELP_EXPORT Verification {
    std::uint64_t records = 0;
    std::int64_t firstId = 0;           ///< 0 when there is no record
    ChainHead head;                     ///< last place of the chain
    std::vector<std::string> problems;  ///< one sentence each, the first 20
    std::uint64_t problemCount = 0;
};

/// Checks the whole chain without changing or locking anything. Found are records that were
/// changed, removed, put in or moved, also the oldest (the log itself says how far retention has
/// gone) and the last ones (the file notes its head). `keyFile` is LogSettings::auditKeyFile: with
/// its key a chain made anew by somebody who lacks it is found too. Not found is
/// - a shortened file with its noted head set back, and an older copy put back: against that, note
/// heads elsewhere and
///   give them as `known`, which must be in the chain still unless retention has taken them;
/// - what somebody does who has the key and write access, after the newest head that was noted
/// elsewhere;
/// - in a log without a key, what somebody with write access does who makes all later hashes and
/// the head anew. Records that a crash lost before they were written cannot be missed. Throws
/// std::runtime_error with one sentence when the file or the key cannot be read, or the key that
/// the log was made with is missing.
KELP_EXPORT Verification verify(const std::filesystem::path& database,
                                const std::vector<ChainHead>& known = {},
                                const std::filesystem::path& keyFile = {});

}  // namespace kelp::oplog
