#pragma once

#include <kelp/orb/request.h>
#include <kelp/util/mutex.h>

#include <chrono>
#include <cstddef>
#include <functional>
#include <string>
#include <unordered_map>
#include <unordered_set>

namespace kelp::orb::gate {

/// A connection, as the table of all connections sees it. Its operations are called from any
/// thread.
class Seat {
  public:
    using Time = std::chrono::steady_clock::time_point;
    enum class Use {
        New,   ///< no whole message received yet
        Idle,  ///< waits for its next message
        Busy
    };
    virtual ~Seat() = default;
    virtual const util::PeerAddress& peer() const = 0;
    virtual Use use() const = 0;
    /// Return since when it is in this use.
    virtual Time since() const = 0;
    /// End the connection. It leaves the table soon afterwards, on the thread that serves it.
    virtual void close() = 0;
};

/// Limits the number of connections, in total and from each address. At a limit, a new connection
/// takes the place of one that is not needed: first of a connection that has not sent a message
/// yet, then of the one that has been idle longest, for at least 2 s. At the total limit only
/// addresses without a log-in lose idle connections. At an address's limit only that address loses
/// one. Callable from any thread.
class ConnectionTable {
  public:
    struct Limits {
        std::size_t connectionsMax = 0;
        std::size_t perAddressMax = 0;
        std::size_t reserved = 0;  ///< part of connectionsMax, kept for addresses with a log-in
    };
    using IsLoggedIn = std::function<bool(const util::PeerAddress&)>;
    enum class Verdict { Admitted, TooMany, TooManyOfAddress };

    ConnectionTable(const Limits& limits, IsLoggedIn isLoggedIn);

    /// Take a place for a connection from this address. It is returned with leave() or giveBack().
    Verdict admit(const util::PeerAddress& peer, Seat::Time now) KELP_EXCLUDES(mutex_);
    /// Enter the connection that has taken the place. It may be called from now on.
    void enter(Seat& seat) KELP_EXCLUDES(mutex_);
    /// Free the connection's place.
    void leave(Seat& seat) KELP_EXCLUDES(mutex_);
    /// Free a place for which no connection was made.
    void giveBack(const util::PeerAddress& peer) KELP_EXCLUDES(mutex_);

    std::size_t count() const KELP_EXCLUDES(mutex_);

  private:
    void release(const std::string& address) KELP_REQUIRES(mutex_);
    bool makeRoom(const std::string* onlyOfAddress, Seat::Time now) KELP_REQUIRES(mutex_);

    const Limits limits_;
    const IsLoggedIn isLoggedIn_;
    mutable util::Mutex mutex_{util::LockRank::Gate, "ConnectionTable::mutex_"};
    std::unordered_set<Seat*> seats_ KELP_GUARDED_BY(mutex_);
    std::unordered_map<std::string, std::size_t> perAddress_ KELP_GUARDED_BY(mutex_);
    std::size_t count_ KELP_GUARDED_BY(mutex_) = 0;
    /// Closed to make room. Others have their places already.
    std::unordered_set<Seat*> closing_ KELP_GUARDED_BY(mutex_);
};

}  // namespace kelp::orb::gate
