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

/// The rows that a query found, in their order: a snapshot of which rows there are, not of what
/// they hold. Kept as ranges, 16 bytes each, so that a million consecutive rows take no more room
/// than one. Not for concurrent use of one object.
class KELP_EXPORT RowIds {
  public:
    void append(std::int64_t id);
    void append(const RowIds& more);

    std::uint64_t count() const { return count_; }
    bool empty() const { return count_ == 0; }
    std::span<const IdRange> ranges() const { return std::span(ranges_).subspan(used_); }

    /// Takes the next rows out, `most` of them or as many as are left. Costs what it takes, not
    /// what is left.
    RowIds take(std::uint64_t most);
    /// What take() has taken out comes first again.
    void putBack(const RowIds& taken);
    void clear() { *this = RowIds(); }

  private:
    void append(IdRange range);

    std::vector<IdRange> ranges_;
    std::uint64_t count_ = 0;
    /// Ranges are taken from the front; what is used up goes when it is the larger half.
    std::size_t used_ = 0;
};

}  // namespace kelp::inventory
