#pragma once

#include <kelp/util/mutex.h>

#include <atomic>
#include <chrono>
#include <cstdint>
#include <thread>
#include <unordered_map>
#include <vector>

namespace kelp::orb::gate {

class Watcher;

/// A connection that a watcher can watch.
class Watched {
  public:
    virtual ~Watched() = default;
    virtual int descriptor() const = 0;

  private:
    friend class Watcher;
    util::Mutex mutex_{util::LockRank::Leaf, "Watched::mutex_"};
    util::ConditionVariable handled_;
    std::uint64_t id_ KELP_GUARDED_BY(mutex_) = 0;    ///< 0: not known to the watcher
    bool wanted_ KELP_GUARDED_BY(mutex_) = false;     ///< the next arrival is to be reported
    bool armed_ KELP_GUARDED_BY(mutex_) = false;      ///< the system reports arrivals
    bool isHandled_ KELP_GUARDED_BY(mutex_) = false;  ///< a report is in progress
    bool dropped_ KELP_GUARDED_BY(mutex_) = false;    ///< unwanted during the report
};

/// Waits for new connections and for input on existing ones (epoll). One thread runs round().
/// Everything else may be called from any thread. The handler is called without any lock held,
/// except for sweep().
class Watcher {
  public:
    using Clock = std::chrono::steady_clock;

    /// Receives the reports of a round, on its thread.
    class Handler {
      public:
        virtual ~Handler() = default;
        /// Accept waiting connections. Return false when that is impossible for now; it is tried
        /// again after 100 ms.
        virtual bool accept() = 0;
        enum class After {
            Nothing,
            WatchAgain,  ///< report the next arrival as well, unless it was unwanted meanwhile
            Discard      ///< remove the connection, then call discard() with it
        };
        virtual After arrived(Watched& watched) = 0;
        virtual void discard(Watched& watched) = 0;
        /// Called about once a second for each connection, under the watcher's lock: it must not
        /// call the watcher.
        virtual void sweep(Watched& watched, Clock::time_point now) = 0;
        /// Called about once a second.
        virtual void tidy(Clock::time_point now) = 0;
    };

    /// Throws std::system_error when the system has no descriptors left.
    Watcher();
    ~Watcher();  ///< all connections must have been removed
    Watcher(const Watcher&) = delete;
    Watcher& operator=(const Watcher&) = delete;

    /// Set the listening socket. Handler::accept() is called while connections wait there.
    void listenOn(int descriptor);

    /// Make a connection known. Nothing is watched yet. Return false when the system refuses.
    bool add(Watched& watched) KELP_EXCLUDES(mutex_, watched.mutex_);
    /// Forget a connection. When this returns, no report of it is in progress.
    void remove(Watched& watched) KELP_EXCLUDES(mutex_, watched.mutex_);

    enum class When {
        Soon,  ///< within 50 ms, at almost no cost
        Now,
        AtOnce  ///< report it without waiting for input
    };
    /// Report the next arrival, once.
    void want(Watched& watched, When when) KELP_EXCLUDES(mutex_, watched.mutex_);
    /// Report no further arrival. When this returns no report is in progress, unless it is called
    /// from inside one.
    void unwant(Watched& watched) KELP_EXCLUDES(watched.mutex_);
    bool isWanted(Watched& watched) const KELP_EXCLUDES(watched.mutex_);

    /// Wait at most about a second for something to report, and report it.
    void round(Handler& handler) KELP_EXCLUDES(mutex_);
    /// End a waiting round().
    void wake();

  private:
    void arm(Watched& watched) KELP_REQUIRES(watched.mutex_);
    void armWanted() KELP_EXCLUDES(mutex_);
    void report(std::uint64_t id, Handler& handler) KELP_EXCLUDES(mutex_);
    void reportPrompted(Handler& handler) KELP_EXCLUDES(mutex_);
    void acceptWaiting(Handler& handler) KELP_EXCLUDES(mutex_);
    void sweep(Handler& handler, Clock::time_point now) KELP_EXCLUDES(mutex_);
    void setListening(bool listening);
    int timeout(Clock::time_point now) const;
    void drainWakes();

    int epoll_ = -1;
    int wakes_ = -1;  ///< eventfd
    int listener_ = -1;
    // used by round()'s thread only
    Clock::time_point listenAgain_{};
    Clock::time_point sweepNext_{};
    Clock::time_point armNext_{};  ///< valid while willArm_
    bool willArm_ = false;
    bool isListening_ = false;

    util::Mutex mutex_{util::LockRank::Gate, "Watcher::mutex_"};
    std::unordered_map<std::uint64_t, Watched*> known_ KELP_GUARDED_BY(mutex_);
    std::uint64_t lastId_ KELP_GUARDED_BY(mutex_) = 1;
    std::vector<std::uint64_t> prompted_ KELP_GUARDED_BY(mutex_);  ///< to be reported at once
    std::atomic<bool> stirred_{false};  ///< some connections are wanted soon
    std::atomic<std::thread::id> thread_{};
};

}  // namespace kelp::orb::gate
