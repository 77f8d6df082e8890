#pragma once

#include <kelp/orb/request.h>

#include <chrono>
#include <cstddef>
#include <functional>
#include <mutex>
#include <string>
#include <unordered_map>
#include <unordered_set>

namespace kelp::orb::gate {

/// A connection as the table of all connections sees it. Asked and closed from any thread.
class Seat {
  public:
    using Time = std::chrono::steady_clock::time_point;
    enum class Use {
        New,   ///< has not brought a whole message yet
        Idle,  ///< waits for its next message
        Busy
    };
    virtual ~Seat() = default;
    virtual const PeerAddress& peer() const = 0;
    virtual Use use() const = 0;
    /// Since when it is in this use.
    virtual Time since() const = 0;
    /// Ends the connection; it leaves the table soon afterwards, on the thread that serves it.
    virtual void close() = 0;
};

/// How many connections there may be, in all and from each address. One connection too many takes
/// the place of one that nobody misses: one that has brought no message yet, then one that has been
/// idle for long from an address without a log-in, or the idlest of the same address. Callable from
/// any thread.
class ConnectionTable {
  public:
    struct Limits {
        std::size_t connectionsMax = 0;
        std::size_t perAddressMax = 0;
        std::size_t reserved = 0;  ///< of connectionsMax, for addresses with a log-in
    };
    using IsLoggedIn = std::function<bool(const PeerAddress&)>;
    enum class Verdict { Admitted, TooMany, TooManyOfAddress };

    ConnectionTable(const Limits& limits, IsLoggedIn isLoggedIn);

    /// Takes a place for a connection from here; to be given back with leave().
    Verdict admit(const PeerAddress& peer, Seat::Time now);
    /// The connection that has taken the place can be asked from here on.
    void enter(Seat& seat);
    /// Its place is free again.
    void leave(Seat& seat);
    /// The same, for a place whose connection did not come about.
    void giveBack(const PeerAddress& peer);

    std::size_t count() const;

  private:
    void release(const std::string& address);
    bool makeRoom(const std::string* onlyOfAddress, Seat::Time now);

    const Limits limits_;
    const IsLoggedIn isLoggedIn_;
    mutable std::mutex mutex_;  // guards what follows
    std::unordered_set<Seat*> seats_;
    std::unordered_map<std::string, std::size_t> perAddress_;
    std::size_t count_ = 0;
    std::unordered_set<Seat*>
        closing_;  ///< closed to make room: their places are given away already
};

}  // namespace kelp::orb::gate
