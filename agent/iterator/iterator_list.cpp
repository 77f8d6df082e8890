#include "iterator/iterator_list.h"

namespace NS_KELPCORBA {
namespace {

bool isAbove(std::size_t count, int limit) {
    return limit < 0 || count > static_cast<std::size_t>(limit);
}

}  // namespace

IteratorList::Reservation IteratorList::reserve(const std::string& session,
                                                const IteratorLimits& limits, Evicted& evicted) {
    const WriteLock lock(lock_);
    if (!lock.locked())
        return Reservation::LockFailed;
    // evict the session's own iterators first, so that they do not count for the common limits
    evictOfSession(session, 1, limits.perSession, evicted);
    const bool isOverSoftLimit = isAbove(open_.count() + reserved_, limits.soft);
    const bool isEvictionOwed = isOverSoftLimit && !evictOldest(evicted);
    if (isAbove(open_.count() + reserved_ + 1, limits.hard))
        return Reservation::HardLimitReached;
    open_.expect(session);
    ++reserved_;
    if (isEvictionOwed)
        ++evictionsOwed_;
    return Reservation::Reserved;
}

void IteratorList::giveBack(const std::string& session) {
    const WriteLock lock(lock_);
    --reserved_;
    if (lock.locked())
        open_.arrived(session);
}

bool IteratorList::add(Iterator* iterator, const std::string& session, const IteratorLimits& limits,
                       Evicted& evicted) {
    const WriteLock lock(lock_);
    --reserved_;
    if (!lock.locked())
        return false;
    open_.arrived(session);
    iterator->_add_ref();
    open_.add(iterator, session);
    evictOfSession(session, 0, limits.perSession, evicted, iterator);
    const std::size_t others = open_.count() - 1;
    if (evictionsOwed_ > 0 && others > 0 && isAbove(others, limits.soft)) {
        evictOldest(evicted);
        --evictionsOwed_;
    }
    if (reserved_ == 0)
        evictionsOwed_ = 0;
    return true;
}

IteratorList::Removal IteratorList::remove(Iterator* iterator) {
    {
        const WriteLock lock(lock_);
        if (!lock.locked())
            return Removal::LockFailed;
        if (!open_.remove(iterator))
            return Removal::NotListed;
    }
    iterator->_remove_ref();
    return Removal::Removed;
}

std::size_t IteratorList::count() {
    const WriteLock lock(lock_);
    return open_.count();
}

std::size_t IteratorList::countOf(const std::string& session) {
    const WriteLock lock(lock_);
    return open_.countOf(session);
}

void IteratorList::evictOfSession(const std::string& session, std::size_t coming, int limit,
                                  Evicted& evicted, Iterator* kept) {
    while (!session.empty() && isAbove(open_.countOf(session) + coming, limit)) {
        Iterator* const own = open_.takeOldestOf(session, kept);
        if (own == nullptr)
            return;
        evicted.push_back(ServantRef<Iterator>::take(own));
    }
}

bool IteratorList::evictOldest(Evicted& evicted) {
    Iterator* const oldest = open_.takeOldest();
    if (oldest == nullptr)
        return false;
    evicted.push_back(ServantRef<Iterator>::take(oldest));
    return true;
}

}  // namespace NS_KELPCORBA
