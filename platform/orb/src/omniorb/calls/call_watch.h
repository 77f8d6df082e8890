#pragma once

#include <atomic>
#include <chrono>
#include <condition_variable>
#include <mutex>
#include <set>
#include <thread>

#include "connecting_sockets.h"

namespace kelp::orb {

/// The process's outgoing connections, and the limit of the calls over them while one is set.
/// Without a limit a call costs only a few atomic writes. Callable from any thread. Never
/// destroyed.
class CallWatch {
  public:
    using Clock = std::chrono::steady_clock;

    /// An outgoing connection, watched as long as this object lives. The one thread that makes a
    /// call over it announces each sending and receiving.
    class Connection {
      public:
        /// `descriptor` is that of the connection's socket. With -1 it is unknown, and the calls
        /// cannot be ended.
        explicit Connection(int descriptor);
        ~Connection();
        Connection(const Connection&) = delete;
        Connection& operator=(const Connection&) = delete;

        void beginsToSend() {
            // sending after receiving begins the next call
            if (hasReceived_.exchange(false, std::memory_order_relaxed))
                call_.fetch_add(1, std::memory_order_relaxed);
            isWaiting_.store(true, std::memory_order_relaxed);
        }
        void beginsToReceive() {
            hasReceived_.store(true, std::memory_order_relaxed);
            isWaiting_.store(true, std::memory_order_relaxed);
        }
        void returns() { isWaiting_.store(false, std::memory_order_relaxed); }

      private:
        friend class CallWatch;
        const int descriptor_;
        std::atomic<unsigned> call_{0};
        std::atomic<bool> hasReceived_{true};
        std::atomic<bool> isWaiting_{false};
        unsigned seenCall_ = 0;  // this and the next are guarded by the watch's mutex_
        Clock::time_point since_{};
    };

    static CallWatch& instance();

    void limit(std::chrono::milliseconds limit);
    void lift();

  private:
    CallWatch() = default;
    void enter(Connection& connection);
    void leave(Connection& connection);
    void run();
    void look(Clock::time_point now);

    std::mutex control_;  // one change of the limit at a time; locked before mutex_
    std::thread thread_;  // guarded by control_
    std::mutex mutex_;    // guards the members below
    std::condition_variable changed_;
    std::set<Connection*> connections_;
    std::chrono::milliseconds limit_{0};  ///< 0: none
    ConnectingSockets connecting_;
};

}  // namespace kelp::orb
