#pragma once

#include <kelp/naming/naming_service.h>
#include <kelp/util/mutex.h>

#include <chrono>
#include <cstddef>
#include <list>
#include <optional>
#include <string>
#include <vector>

#include "name_tree.h"

namespace kelp::naming {

/// The open iterators of all callers with the entries that each has still to return. An iterator
/// ends when it is closed, when it has not been used for a time, or when it is the oldest and there
/// are too many. Any thread may call it.
class IteratorTable {
  public:
    using Time = std::chrono::steady_clock::time_point;

    /// Open an iterator for a caller's address and return its id: 128 random bits as hexadecimal
    /// digits. Closes the oldest iterators of this address, and of all, that exceed the limits.
    std::string open(std::vector<NameEntry> entries, const std::string& owner,
                     const NamingLimits& limits, Time now) KELP_EXCLUDES(mutex_);
    /// The next entries, at most `count`; empty after the last. None if the iterator does not exist
    /// or has ended.
    std::optional<std::vector<NameEntry>> next(const std::string& id, std::size_t count,
                                               const NamingLimits& limits, Time now)
        KELP_EXCLUDES(mutex_);
    /// False if the iterator does not exist or has ended.
    bool close(const std::string& id, const NamingLimits& limits, Time now) KELP_EXCLUDES(mutex_);
    bool isOpen(const std::string& id, const NamingLimits& limits, Time now) KELP_EXCLUDES(mutex_);

    std::size_t size() const KELP_EXCLUDES(mutex_);

  private:
    struct Iterator {
        std::string id;
        std::string owner;
        std::vector<NameEntry> entries;
        std::size_t given = 0;
        Time used{};
    };
    using Iterators = std::list<Iterator>;

    void endIdle(const NamingLimits& limits, Time now) KELP_REQUIRES(mutex_);
    void endOldest(const std::string& owner, const NamingLimits& limits) KELP_REQUIRES(mutex_);
    Iterators::iterator find(const std::string& id, const NamingLimits& limits, Time now)
        KELP_REQUIRES(mutex_);

    mutable util::Mutex mutex_{util::LockRank::Leaf, "IteratorTable::mutex_"};
    Iterators iterators_ KELP_GUARDED_BY(mutex_);  ///< oldest first
};

}  // namespace kelp::naming
