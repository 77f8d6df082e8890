#pragma once

#include <kelp/oplog/log_entry.h>

#include <array>
#include <cstddef>
#include <string>
#include <string_view>

namespace kelp::oplog {

/// A record whose texts are borrowed. Their order is that of LogEntry's fields.
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

/// No gap record, which has more to tell.
RecordView viewOf(const LogEntry& entry);
LogEntry entryOf(const RecordView& record);

/// Records one behind the other in one piece of memory: taking one in allocates nothing, and all of
/// them move at once. Texts that are too long are cut.
class PackedRecords {
  public:
    void add(const RecordView& record);
    std::size_t count() const { return count_; }
    bool isFull() const;

    /// Their views, in order, borrowed from here.
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
