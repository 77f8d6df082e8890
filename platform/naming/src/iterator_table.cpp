#include "iterator_table.h"

#include <sodium.h>

#include <algorithm>
#include <array>
#include <utility>

namespace kelp::naming {

namespace {

std::string randomId() {
    std::array<unsigned char, 16> bytes{};
    randombytes_buf(bytes.data(), bytes.size());
    std::array<char, 2 * bytes.size() + 1> text{};
    sodium_bin2hex(text.data(), text.size(), bytes.data(), bytes.size());
    return text.data();
}

}  // namespace

std::string IteratorTable::open(std::vector<NameEntry> entries, const std::string& owner,
                                const NamingLimits& limits, Time now) {
    Iterator made{randomId(), owner, std::move(entries), 0, now};
    std::string id = made.id;
    const util::MutexLock guard(mutex_);
    endIdle(limits, now);
    iterators_.push_back(std::move(made));
    endOldest(owner, limits);
    return id;
}

std::optional<std::vector<NameEntry>> IteratorTable::next(const std::string& id, std::size_t count,
                                                          const NamingLimits& limits, Time now) {
    const util::MutexLock guard(mutex_);
    const auto found = find(id, limits, now);
    if (found == iterators_.end())
        return std::nullopt;
    found->used = now;
    const std::size_t end = found->given + std::min(count, found->entries.size() - found->given);
    const auto begin = found->entries.begin();
    std::vector<NameEntry> batch(begin + static_cast<std::ptrdiff_t>(found->given),
                                 begin + static_cast<std::ptrdiff_t>(end));
    found->given = end;
    return batch;
}

bool IteratorTable::close(const std::string& id, const NamingLimits& limits, Time now) {
    const util::MutexLock guard(mutex_);
    const auto found = find(id, limits, now);
    if (found == iterators_.end())
        return false;
    iterators_.erase(found);
    return true;
}

bool IteratorTable::isOpen(const std::string& id, const NamingLimits& limits, Time now) {
    const util::MutexLock guard(mutex_);
    return find(id, limits, now) != iterators_.end();
}

std::size_t IteratorTable::size() const {
    const util::MutexLock guard(mutex_);
    return iterators_.size();
}

IteratorTable::Iterators::iterator IteratorTable::find(const std::string& id,
                                                       const NamingLimits& limits, Time now) {
    endIdle(limits, now);
    return std::find_if(iterators_.begin(), iterators_.end(),
                        [&](const Iterator& each) { return each.id == id; });
}

void IteratorTable::endIdle(const NamingLimits& limits, Time now) {
    std::erase_if(iterators_,
                  [&](const Iterator& each) { return now - each.used >= limits.iteratorIdle; });
}

void IteratorTable::endOldest(const std::string& owner, const NamingLimits& limits) {
    const auto isOwners = [&](const Iterator& each) { return each.owner == owner; };
    auto ofOwner =
        static_cast<std::size_t>(std::count_if(iterators_.begin(), iterators_.end(), isOwners));
    for (; ofOwner > limits.iteratorsPerAddress; --ofOwner)
        iterators_.erase(std::find_if(iterators_.begin(), iterators_.end(), isOwners));
    while (iterators_.size() > limits.iteratorsMax)
        iterators_.pop_front();
}

}  // namespace kelp::naming
