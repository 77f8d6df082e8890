#pragma once

#include <atomic>
#include <chrono>
#include <condition_variable>
#include <cstdint>
#include <mutex>
#include <thread>
#include <unordered_map>
#include <vector>

namespace kelp::orb::gate {

class Watcher;

/// A connection that a watcher may watch.
class Watched {
  public:
    virtual ~Watched() = default;
    virtual int descriptor() const = 0;

  private:
    friend class Watcher;
    std::mutex mutex_;  // guards what follows
    std::condition_variable handled_;
    std::uint64_t id_ = 0;    ///< 0: the watcher does not know it
    bool wanted_ = false;     ///< arrivals are to be reported
    bool armed_ = false;      ///< the system reports them
    bool isHandled_ = false;  ///< a report is being made
    bool dropped_ = false;    ///< unwanted during that
};

/// Waits for connections and for what arrives on them (epoll). One thread runs round(); all else
/// may be called from any thread. Reports are made without any lock held.
class Watcher {
  public:
    using Clock = std::chrono::steady_clock;

    /// What a round has to report; called on its thread.
    class Handler {
      public:
        virtual ~Handler() = default;
        /// Somebody may be waiting to be accepted. False: that does not work now, and is tried
        /// again later.
        virtual bool accept() = 0;
        enum class After {
            Nothing,
            WatchAgain,  ///< unless it was unwanted meanwhile
            Discard      ///< discard() is called with it, after it has been removed
        };
        virtual After arrived(Watched& watched) = 0;
        virtual void discard(Watched& watched) = 0;
        /// About once a second, for each connection.
        virtual void sweep(Watched& watched, Clock::time_point now) = 0;
        /// About once a second.
        virtual void tidy(Clock::time_point now) = 0;
    };

    /// Throws std::system_error when the system has no descriptors for it.
    Watcher();
    ~Watcher();  ///< all connections have been removed
    Watcher(const Watcher&) = delete;
    Watcher& operator=(const Watcher&) = delete;

    /// The listening socket; accept() is called while somebody waits there.
    void listenOn(int descriptor);

    /// Makes a connection known; nothing is watched yet. False when the system refuses.
    bool add(Watched& watched);
    /// The watcher forgets it. No report of it is being made when this returns.
    void remove(Watched& watched);

    enum class When {
        Soon,  ///< within 50 ms; costs next to nothing
        Now,
        AtOnce  ///< report it without waiting for an arrival
    };
    /// Reports the next arrival, once.
    void want(Watched& watched, When when);
    /// No arrival is reported any more, and no report is being made when this returns, unless from
    /// inside one.
    void unwant(Watched& watched);
    bool isWanted(Watched& watched) const;

    /// Waits for something to report and reports it, at most for about a second.
    void round(Handler& handler);
    /// Ends a waiting round.
    void wake();

  private:
    void arm(Watched& watched);
    void armWanted();
    void report(std::uint64_t id, Handler& handler);
    void reportPrompted(Handler& handler);
    void acceptWaiting(Handler& handler);
    void sweep(Handler& handler, Clock::time_point now);
    void setListening(bool listening);
    int timeout(Clock::time_point now) const;
    void drainWakes();

    int epoll_ = -1;
    int wakes_ = -1;  ///< eventfd
    int listener_ = -1;
    // round()'s thread alone
    Clock::time_point listenAgain_{};
    Clock::time_point sweepNext_{};
    Clock::time_point armNext_{};  ///< once willArm_
    bool willArm_ = false;
    bool isListening_ = false;

    std::mutex mutex_;  // guards what follows; outside a Watched's own
    std::unordered_map<std::uint64_t, Watched*> known_;
    std::uint64_t lastId_ = 1;
    std::vector<std::uint64_t> prompted_;  ///< to be reported at once
    std::atomic<bool> stirred_{false};     ///< some are wanted soon
    std::atomic<std::thread::id> thread_{};
};

}  // namespace kelp::orb::gate
