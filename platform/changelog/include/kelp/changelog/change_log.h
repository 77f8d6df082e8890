#pragma once

#include <kelp/changelog/log_failure.h>
#include <kelp/util/export.h>

#include <chrono>
#include <cstddef>
#include <cstdint>
#include <optional>
#include <span>
#include <string>
#include <vector>

namespace kelp::changelog {

/// The place of a record in the log. Positions of consecutive records are consecutive. 0 is before
/// the first record.
using Position = std::uint64_t;

inline constexpr std::size_t kContentBytesMax = 1 << 20;
inline constexpr std::size_t kKeyBytesMax = 200;
inline constexpr std::size_t kRecordsPerAppendMax = 10000;

struct NewRecord {
    /// Idempotency key: a record is appended only if the log holds no record with this key. Empty:
    /// none.
    std::string key;
    std::string content;
};

struct Record {
    Position position = 0;
    std::string content;

    bool operator==(const Record&) const = default;
};

/// The result for one NewRecord.
struct Appended {
    Position position = 0;
    bool isRepeat = false;  ///< there is a record with this key already, at `position`

    bool operator==(const Appended&) const = default;
};

/// An ordered log of changes: the truth about what has happened. Only one process may open it at a
/// time. Any thread may call it. Every operation throws LogFailure when the log cannot be read or
/// written; the log stays usable afterwards.
class KELP_EXPORT ChangeLog {
  public:
    virtual ~ChangeLog();
    ChangeLog(const ChangeLog&) = delete;
    ChangeLog& operator=(const ChangeLog&) = delete;

    /// Append records in this order, all or none. They are durable when it returns. A key that
    /// occurs earlier in `records` is a repeat too. Returns one result for each record.
    ///
    /// Throws std::invalid_argument for records beyond the limits above. If it throws LogFailure,
    /// the log has none of the records; but when the storage device failed and the machine then
    /// loses power before the next successful append, it may have all of them after the restart.
    virtual std::vector<Appended> append(std::span<const NewRecord> records) = 0;

    /// The position of the record with this idempotency key; nothing if the log holds none.
    virtual std::optional<Position> find(const std::string& key) = 0;

    /// Read the records above `after`, in order and without gaps: at most `recordsMax`, and at most
    /// `bytesMax` bytes of content, but at least one if there is one. Records that were truncated
    /// are not returned. Throws LogFailure (isDamaged) at the first record that is missing or is
    /// not as it was appended; the sentence has its position.
    virtual std::vector<Record> read(Position after, std::size_t recordsMax,
                                     std::size_t bytesMax) = 0;

    /// Wait until the log has had a record above `after`. Returns false when `patience` has passed.
    virtual bool waitFor(Position after, std::chrono::milliseconds patience) = 0;

    /// The position of the oldest record; that of the next one if the log holds none.
    virtual Position first() = 0;
    /// The position of the newest record that was ever appended, also if it was truncated. Before
    /// the first record it is one less than the position that the first one gets. That is the time
    /// of the log's creation in microseconds since the epoch, so that positions of a log are higher
    /// than those of a log that was made earlier.
    virtual Position last() = 0;

    /// Remove the records below `position`, and with them their keys. Works in small steps between
    /// which others may append. Never removes more than there is.
    virtual void truncateBelow(Position position) = 0;

    /// A reader's progress; 0 when it was never set. After a power cut it may be an earlier one,
    /// but never above last().
    virtual Position mark(const std::string& name) = 0;
    /// Set the mark. Throws std::invalid_argument for a position above last() and for a name that
    /// is empty or longer than kKeyBytesMax.
    virtual void setMark(const std::string& name, Position position) = 0;

  protected:
    ChangeLog() = default;
};

}  // namespace kelp::changelog
