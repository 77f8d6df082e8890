#pragma once

#include <kelp/orb/corba.h>

#include <atomic>
#include <cstddef>
#include <string>
#include <vector>

#include "iterator/iterator_order.h"
#include "util/servant_ref.h"
#include "util/write_lock.h"

namespace NS_KELPCORBA {

/// The numbers of open iterators that are allowed. A negative limit is exceeded by any number.
struct IteratorLimits {
    int soft = 0;        ///< in all; above it, each new iterator evicts the oldest
    int hard = 0;        ///< in all; above it, no iterator is opened
    int perSession = 0;  ///< of one session; above it, its oldest are evicted
};

/// The list of open iterators, in the order of their opening, and the enforcement of its limits.
/// Owns one reference on each iterator. An iterator is opened in two steps: its place is reserved
/// before it is activated, and it is listed afterwards. Reserved places count for the limits, so
/// that concurrent callers cannot exceed them.
///
/// Any thread may call it. One lock guards everything. No iterator is released under it: the caller
/// owns those that are evicted and closes them.
class IteratorList {
  public:
    using Iterator = PortableServer::ServantBase;
    using Evicted = std::vector<ServantRef<Iterator>>;
    enum class Reservation { Reserved, HardLimitReached, LockFailed };
    enum class Removal { Removed, NotListed, LockFailed };

    /// Reserve a place for an iterator of this session, and move those to `evicted` that have to
    /// make room, also when no place is free. `session` is empty for an iterator without a session.
    Reservation reserve(const std::string& session, const IteratorLimits& limits, Evicted& evicted);
    /// Give back a reserved place.
    void giveBack(const std::string& session);
    /// List an iterator in its reserved place and take a reference on it. Move those to `evicted`
    /// that reserve() could not evict, because they were being activated then. Return false when
    /// the lock failed. The place is free then, and the iterator is not listed.
    bool add(Iterator* iterator, const std::string& session, const IteratorLimits& limits,
             Evicted& evicted);
    /// Remove an iterator and drop the list's reference, if it is listed.
    Removal remove(Iterator* iterator);
    std::size_t count();
    /// Number of open iterators of this session, with those that are being opened.
    std::size_t countOf(const std::string& session);

  private:
    /// Evict the oldest iterators of the session until `coming` more are within its limit, or until
    /// only `kept` and those that are being activated are left.
    void evictOfSession(const std::string& session, std::size_t coming, int limit, Evicted& evicted,
                        Iterator* kept = nullptr) KELP_REQUIRES(lock_);
    /// Evict the oldest of all. Return false when none is listed.
    bool evictOldest(Evicted& evicted) KELP_REQUIRES(lock_);

    WriteMutex lock_{kelp::util::LockRank::Leaf, "IteratorList::lock_"};
    IteratorOrder open_ KELP_GUARDED_BY(lock_);
    /// Number of reserved places. Also changed when the lock failed.
    std::atomic<std::size_t> reserved_{0};
    /// Number of reserved places for which an iterator should have been evicted, but none was
    /// listed. Each of the next iterators to be listed evicts one in turn.
    std::size_t evictionsOwed_ KELP_GUARDED_BY(lock_) = 0;
};

}  // namespace NS_KELPCORBA
