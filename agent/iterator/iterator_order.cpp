#include "iterator/iterator_order.h"

namespace NS_KELPCORBA {

void IteratorOrder::add(Iterator iterator, const std::string& session) {
    List& own = sessions_[session].open;
    const List::iterator among = all_.insert(all_.end(), iterator);
    places_[iterator] = {among, own.insert(own.end(), iterator), session};
}

bool IteratorOrder::remove(Iterator iterator) {
    const auto found = places_.find(iterator);
    if (found == places_.end())
        return false;
    const auto session = sessions_.find(found->second.session);
    session->second.open.erase(found->second.own);
    all_.erase(found->second.among);
    places_.erase(found);
    forgetIfEmpty(session);
    return true;
}

IteratorOrder::Iterator IteratorOrder::takeOldest() {
    if (all_.empty())
        return nullptr;
    const Iterator oldest = all_.front();
    remove(oldest);
    return oldest;
}

IteratorOrder::Iterator IteratorOrder::takeOldestOf(const std::string& session, Iterator kept) {
    const auto found = sessions_.find(session);
    if (found == sessions_.end() || found->second.open.empty() ||
        found->second.open.front() == kept)
        return nullptr;
    const Iterator oldest = found->second.open.front();
    remove(oldest);
    return oldest;
}

void IteratorOrder::expect(const std::string& session) {
    ++sessions_[session].expected;
}

void IteratorOrder::arrived(const std::string& session) {
    const auto found = sessions_.find(session);
    --found->second.expected;
    forgetIfEmpty(found);
}

std::size_t IteratorOrder::countOf(const std::string& session) const {
    const auto found = sessions_.find(session);
    return found == sessions_.end() ? 0 : found->second.open.size() + found->second.expected;
}

void IteratorOrder::forgetIfEmpty(Sessions::iterator session) {
    if (session->second.open.empty() && session->second.expected == 0)
        sessions_.erase(session);
}

}  // namespace NS_KELPCORBA
