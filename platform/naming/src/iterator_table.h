#pragma once

#include <kelp/naming/naming_service.h>

#include <chrono>
#include <cstddef>
#include <list>
#include <mutex>
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
                     const NamingLimits& limits, Time now);
    /// The next entries, at most `count`; empty after the last. None if the iterator does not exist
    /// or has ended.
    std::optional<std::vector<NameEntry>> next(const std::string& id, std::size_t count,
                                               const NamingLimits& limits, Time now);
    /// False if the iterator does not exist or has ended.
    bool close(const std::string& id, const NamingLimits& limits, Time now);
    bool isOpen(const std::string& id, const NamingLimits& limits, Time now);

    std::size_t size() const;

  private:
    struct Iterator {
        std::string id;
        std::string owner;
        std::vector<NameEntry> entries;
        std::size_t given = 0;
        Time used{};
    };
    using Iterators = std::list<Iterator>;

    void endIdle(const NamingLimits& limits, Time now);
    void endOldest(const std::string& owner, const NamingLimits& limits);
    Iterators::iterator find(const std::string& id, const NamingLimits& limits, Time now);

    mutable std::mutex mutex_;
    Iterators iterators_;  ///< guarded by mutex_; oldest first
};

}  // namespace kelp::naming
