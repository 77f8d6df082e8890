#pragma once

#include <cstddef>
#include <functional>
#include <list>
#include <string>
#include <thread>
#include <vector>

namespace kelp::notification {

/// Threads that begin when there is work and end when there is none. Not thread safe: all members
/// are called under one lock of the owner's.
class PassingThreads {
  public:
    using Self = std::list<std::thread>::iterator;

    /// Starts a thread that runs `body` and calls leave() at its end. Throws std::system_error when
    /// there is none to be had.
    void start(const std::string& name, std::function<void(Self)> body);
    /// The last that a thread does under the lock.
    void leave(Self self);
    /// Threads that have not left.
    std::size_t count() const { return running_.size(); }
    /// All threads, for the owner to join without the lock. Nothing is started from then on.
    std::vector<std::thread> takeAll();

  private:
    std::list<std::thread> running_;
    std::vector<std::thread> left_;  ///< to be joined
};

}  // namespace kelp::notification
