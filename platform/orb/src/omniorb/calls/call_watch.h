#pragma once

#include <kelp/util/mutex.h>

#include <atomic>
#include <chrono>
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

    void limit(std::chrono::milliseconds limit) KELP_EXCLUDES(control_, mutex_);
    void lift() KELP_EXCLUDES(control_, mutex_);

  private:
    CallWatch() = default;
    void enter(Connection& connection) KELP_EXCLUDES(mutex_);
    void leave(Connection& connection) KELP_EXCLUDES(mutex_);
    void run() KELP_EXCLUDES(mutex_);
    void look(Clock::time_point now) KELP_REQUIRES(mutex_);

    /// One change of the limit at a time.
    util::Mutex control_{util::LockRank::ServiceControl, "CallWatch::control_"};
    std::thread thread_ KELP_GUARDED_BY(control_);
    util::Mutex mutex_{util::LockRank::Service, "CallWatch::mutex_"};
    util::ConditionVariable changed_;
    std::set<Connection*> connections_ KELP_GUARDED_BY(mutex_);
    std::chrono::milliseconds limit_ KELP_GUARDED_BY(mutex_){0};  ///< 0: none
    ConnectingSockets connecting_ KELP_GUARDED_BY(mutex_);
};

}  // namespace kelp::orb
