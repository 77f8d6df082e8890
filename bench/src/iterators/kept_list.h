#pragma once

#include <kelp/orb/corba.h>

#include <algorithm>
#include <memory>
#include <utility>

namespace kelp::bench {

/// How the floor returns a part of a list that it has in memory. Lent: the ORB encodes the entries
/// in place. Copied: the servant returns a copy, as is usual in the C++ mapping.
enum class Giving { Lent, Copied };

/// A list in memory, as it was received. Lent parts must not outlive it.
template <class Sequence>
class KeptList {
  public:
    explicit KeptList(std::unique_ptr<Sequence> rows) : rows_(std::move(rows)) {}

    CORBA::ULong length() const { return rows_->length(); }
    /// Return a part. The caller owns it.
    Sequence* part(CORBA::ULong from, CORBA::ULong most, Giving giving) {
        const CORBA::ULong count = std::min(most, length() - std::min(from, length()));
        auto lent = std::make_unique<Sequence>(count, count, rows_->get_buffer() + from, false);
        // the copy of a sequence that does not own its entries does own them
        return giving == Giving::Copied ? new Sequence(*lent) : lent.release();
    }

  private:
    std::unique_ptr<Sequence> rows_;
};

/// Entries that are requested at a time.
inline constexpr CORBA::ULong kUploadBatch = 1000;

/// Put a whole list into one sequence: `first` has its first entries and `rest` returns the others.
template <class Sequence, class Iterator>
KeptList<Sequence> wholeList(const Sequence& first, Iterator* rest) {
    const bool isMore = !CORBA::is_nil(rest);
    const CORBA::ULong length = first.length() + (isMore ? rest->getLength() : 0);
    auto all = std::make_unique<Sequence>(length);
    all->length(length);
    CORBA::ULong at = 0;
    const auto append = [&](const Sequence& some) {
        for (CORBA::ULong i = 0; i < some.length(); ++i)
            (*all)[at++] = some[i];
    };
    append(first);
    for (bool goOn = isMore; goOn;) {
        typename Sequence::_var_type batch;
        goOn = rest->next_n(kUploadBatch, batch.out());
        append(batch.in());
    }
    all->length(at);
    return KeptList<Sequence>(std::move(all));
}

}  // namespace kelp::bench
