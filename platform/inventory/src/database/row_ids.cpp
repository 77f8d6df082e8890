#include <kelp/inventory/row_ids.h>

#include <algorithm>

namespace kelp::inventory {

void RowIds::append(std::int64_t id) {
    append(IdRange{id, 1});
}

void RowIds::append(const RowIds& more) {
    for (const IdRange& each : more.ranges())
        append(each);
}

void RowIds::append(IdRange range) {
    count_ += range.count;
    if (ranges_.size() > used_ && ranges_.back().last() + 1 == range.first)
        ranges_.back().count += range.count;
    else
        ranges_.push_back(range);
}

RowIds RowIds::take(std::uint64_t most) {
    RowIds taken;
    while (taken.count_ < most && used_ < ranges_.size()) {
        IdRange& next = ranges_[used_];
        const std::uint64_t part = std::min(next.count, most - taken.count_);
        taken.append(IdRange{next.first, part});
        next.first += static_cast<std::int64_t>(part);
        next.count -= part;
        if (next.count == 0)
            ++used_;
    }
    count_ -= taken.count_;
    if (used_ > ranges_.size() / 2) {
        ranges_.erase(ranges_.begin(), ranges_.begin() + static_cast<std::ptrdiff_t>(used_));
        used_ = 0;
    }
    return taken;
}

void RowIds::putBack(const RowIds& taken) {
    const std::span<const IdRange> first = taken.ranges();
    ranges_.insert(ranges_.begin() + static_cast<std::ptrdiff_t>(used_), first.begin(),
                   first.end());
    count_ += taken.count_;
}

}  // namespace kelp::inventory
