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

/// The open iterators of all callers: what each still has to give. An iterator ends when it is
/// closed, when it was not used for a time, or when it is the oldest and there are too many.
/// Callable from any thread.
class IteratorTable {
  public:
    using Time = std::chrono::steady_clock::time_point;

    /// Opens an iterator for a caller's address; closes the oldest of the address and of all that
    /// are beyond the limits then. Gives its id, 128 random bits as hexadecimal digits.
    std::string open(std::vector<NameEntry> entries, const std::string& owner,
                     const NamingLimits& limits, Time now);
    /// The next entries, at most `count`; empty after the last. None when there is no such iterator
    /// (any more).
    std::optional<std::vector<NameEntry>> next(const std::string& id, std::size_t count,
                                               const NamingLimits& limits, Time now);
    /// False when there is no such iterator (any more).
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
