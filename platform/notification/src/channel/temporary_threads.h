#pragma once

#include <cstddef>
#include <functional>
#include <list>
#include <string>
#include <thread>
#include <vector>

namespace kelp::notification {

/// Threads that start when there is work and end when there is none. Not thread safe: the owner
/// calls all operations under one lock.
class TemporaryThreads {
  public:
    using Self = std::list<std::thread>::iterator;

    /// Start a thread that runs `body`, which calls leave() at its end. Throws std::system_error if
    /// no thread can be started.
    void start(const std::string& name, std::function<void(Self)> body);
    /// The last thing a thread does under the lock.
    void leave(Self self);
    /// Number of threads that have not left.
    std::size_t count() const { return running_.size(); }
    /// All threads, for the owner to join without the lock. No thread may be started afterwards.
    std::vector<std::thread> takeAll();

  private:
    std::list<std::thread> running_;
    std::vector<std::thread> left_;  ///< to be joined
};

}  // namespace kelp::notification
