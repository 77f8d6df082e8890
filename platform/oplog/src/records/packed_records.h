#pragma once

#include <kelp/oplog/log_entry.h>

#include <array>
#include <cstddef>
#include <string>
#include <string_view>

namespace kelp::oplog {

/// A record whose texts belong to somebody else. The texts are in the order of LogEntry's fields.
struct RecordView {
    enum Text : std::size_t {
        User,
        NmsAddress,
        Peer,
        Operation,
        ObjectKind,
        Object,
        Outcome,
        Detail,
        Texts
    };

    UtcTime time{};
    std::optional<std::chrono::microseconds> duration;
    std::array<std::string_view, Texts> texts;
};

/// Not for a gap record, which has more fields.
RecordView viewOf(const LogEntry& entry);
LogEntry entryOf(const RecordView& record);

/// Records in one block of memory. Adding a record allocates nothing, and all records are moved
/// together. Texts that are too long are truncated.
class PackedRecords {
  public:
    void add(const RecordView& record);
    std::size_t count() const { return count_; }
    bool isFull() const;

    /// Call `take` with a view of each record, in order. The views refer to this object.
    template <class Take>
    void forEach(Take take) const {
        for (std::string_view rest = bytes_; !rest.empty();)
            take(next(rest));
    }

  private:
    static RecordView next(std::string_view& rest);

    std::string bytes_;
    std::size_t count_ = 0;
};

}  // namespace kelp::oplog
