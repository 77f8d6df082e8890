#pragma once

#include <kelp/util/mutex.h>

#include <chrono>
#include <cstddef>
#include <list>
#include <string>
#include <unordered_map>

namespace kelp::orb::gate {

/// A TLS handshake in progress, as the table of handshakes sees it.
class HandshakeSeat {
  public:
    virtual ~HandshakeSeat() = default;
    virtual const std::string& address() const = 0;
    /// End the connection, because another handshake needs its place. Called from any thread. Must
    /// not call the table.
    virtual void giveUp() = 0;
};

/// Limits the number of TLS handshakes in progress, in total and from each address. At a limit, a
/// new handshake takes the place of the oldest, of its address or of all, if that has been in
/// progress for 3 s. A handshake whose peer responds takes less. Callable from any thread.
class HandshakeTable {
  public:
    using Time = std::chrono::steady_clock::time_point;
    struct Limits {
        std::size_t handshakesMax = 0;
        std::size_t perAddressMax = 0;
    };

    explicit HandshakeTable(const Limits& limits) : limits_(limits) {}

    /// Take a place, to be given back with leave(). Return false when none is free.
    bool enter(HandshakeSeat& seat, Time now) KELP_EXCLUDES(mutex_);
    /// Give the place back. Does nothing for a handshake that has none, or has lost it.
    void leave(HandshakeSeat& seat) KELP_EXCLUDES(mutex_);

    std::size_t count() const KELP_EXCLUDES(mutex_);

  private:
    struct Place {
        HandshakeSeat* seat;
        Time begin;
    };
    using Places = std::list<Place>;

    bool makeRoom(const std::string* onlyOfAddress, Time now) KELP_REQUIRES(mutex_);
    void erase(Places::iterator place) KELP_REQUIRES(mutex_);

    const Limits limits_;
    mutable util::Mutex mutex_{util::LockRank::Leaf, "HandshakeTable::mutex_"};
    Places places_ KELP_GUARDED_BY(mutex_);  ///< oldest first
    std::unordered_map<const HandshakeSeat*, Places::iterator> bySeat_ KELP_GUARDED_BY(mutex_);
    std::unordered_map<std::string, std::size_t> perAddress_ KELP_GUARDED_BY(mutex_);
};

}  // namespace kelp::orb::gate
