#pragma once

#include <atomic>
#include <chrono>
#include <condition_variable>
#include <cstddef>
#include <cstdint>
#include <exception>
#include <functional>
#include <mutex>
#include <thread>
#include <vector>

namespace kelp::bench {

/// Threads that call a server concurrently for a period of time.
class ClientThreads {
  public:
    struct Count {
        std::uint64_t calls = 0;
        std::chrono::nanoseconds time{0};
        double perSecond() const {
            return static_cast<double>(calls) / std::chrono::duration<double>(time).count();
        }
    };

    explicit ClientThreads(std::size_t threads);
    ~ClientThreads();
    ClientThreads(const ClientThreads&) = delete;
    ClientThreads& operator=(const ClientThreads&) = delete;

    /// Let the first `threads` threads repeat `call`, which receives the thread's number, for the
    /// time `length`. The count covers the time from the start to the end of the last call. An
    /// exception from a call is rethrown here.
    Count run(std::size_t threads, std::chrono::milliseconds length,
              const std::function<void(std::size_t)>& call);

  private:
    void work(std::size_t number);
    std::uint64_t callUntilStopped(std::size_t number);

    std::mutex mutex_;
    std::condition_variable changed_;
    std::uint64_t round_ = 0;  // guarded by mutex_, as are all members up to call_
    std::size_t wanted_ = 0;   // threads that take part in the round
    std::size_t running_ = 0;
    std::uint64_t calls_ = 0;
    std::exception_ptr failure_;
    bool end_ = false;
    const std::function<void(std::size_t)>* call_ = nullptr;
    std::atomic<bool> stop_{false};
    std::vector<std::thread> threads_;
};

}  // namespace kelp::bench
