#pragma once

#include <kelp/util/export.h>

#include <cstddef>
#include <cstdint>
#include <span>
#include <vector>

namespace kelp::inventory {

/// Consecutive row ids.
struct IdRange {
    std::int64_t first = 0;
    std::uint64_t count = 0;
    std::int64_t last() const { return first + static_cast<std::int64_t>(count) - 1; }
    bool operator==(const IdRange&) const = default;
};

/// The ids of the rows that a query found, in the query's order. A snapshot of which rows exist,
/// not of their content. Stored as ranges of 16 bytes, so that a million consecutive ids need no
/// more room than one id. Threads may not use one object at the same time.
class KELP_EXPORT RowIds {
  public:
    RowIds() = default;
    explicit RowIds(IdRange range) {
        if (range.count > 0)
            append(range);
    }

    void append(std::int64_t id);
    void append(const RowIds& more);

    std::uint64_t count() const { return count_; }
    bool empty() const { return count_ == 0; }
    std::span<const IdRange> ranges() const { return std::span(ranges_).subspan(used_); }

    /// Remove the next ids and return them: `most` ids, or all that are left if there are fewer.
    /// The cost depends on how many are removed, not on how many are left.
    RowIds take(std::uint64_t most);
    /// Put ids that take() returned back to the front.
    void putBack(const RowIds& taken);
    void clear() { *this = RowIds(); }

  private:
    void append(IdRange range);

    std::vector<IdRange> ranges_;
    std::uint64_t count_ = 0;
    /// Number of ranges at the front that are used up. They are erased when they are more than half
    /// of all.
    std::size_t used_ = 0;
};

}  // namespace kelp::inventory
