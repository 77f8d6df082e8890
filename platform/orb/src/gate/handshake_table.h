#pragma once

#include <chrono>
#include <cstddef>
#include <list>
#include <mutex>
#include <string>
#include <unordered_map>

namespace kelp::orb::gate {

/// A TLS handshake in progress, as the table of them sees it.
class HandshakeSeat {
  public:
    virtual ~HandshakeSeat() = default;
    virtual const std::string& address() const = 0;
    /// Ends the connection: its place is wanted. From any thread; it must not call the table.
    virtual void giveUp() = 0;
};

/// How many TLS handshakes may be in progress, in all and from each address. One too many takes the
/// place of the oldest, of its address or of all, once that has had some time: a handshake that
/// lives takes less. Callable from any thread.
class HandshakeTable {
  public:
    using Time = std::chrono::steady_clock::time_point;
    struct Limits {
        std::size_t handshakesMax = 0;
        std::size_t perAddressMax = 0;
    };

    explicit HandshakeTable(const Limits& limits) : limits_(limits) {}

    /// Takes a place, to be given back with leave(). False: there is none.
    bool enter(HandshakeSeat& seat, Time now);
    /// Nothing for one that has no place, or has lost it.
    void leave(HandshakeSeat& seat);

    std::size_t count() const;

  private:
    struct Place {
        HandshakeSeat* seat;
        Time begin;
    };
    using Places = std::list<Place>;

    bool makeRoom(const std::string* onlyOfAddress, Time now);
    void erase(Places::iterator place);

    const Limits limits_;
    mutable std::mutex mutex_;  // guards what follows
    Places places_;             ///< the oldest first
    std::unordered_map<const HandshakeSeat*, Places::iterator> bySeat_;
    std::unordered_map<std::string, std::size_t> perAddress_;
};

}  // namespace kelp::orb::gate
