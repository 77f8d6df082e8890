#pragma once

#include <sys/socket.h>

#include <cstdint>
#include <functional>
#include <string>

namespace kelp::orb::gate {

/// A listening socket. Accepted connections get high descriptors. The lower half of the
/// descriptors, but at most 1024, is left to files, to outgoing calls and to the operator's
/// interface, whose library cannot use higher ones. When the high descriptors are used up, new
/// connections are closed at once. Not thread safe.
class Listener {
  public:
    Listener() = default;
    ~Listener();
    Listener(const Listener&) = delete;
    Listener& operator=(const Listener&) = delete;

    /// Listen on a host ("" for all interfaces, a name, or an address, IPv6 with or without
    /// brackets) and a port (0: a free one). Return false with the reason when that fails.
    bool open(const std::string& host, std::uint16_t port, std::string& whyNot);
    void close();

    int descriptor() const { return descriptor_; }
    std::uint16_t port() const { return port_; }
    /// Return whether it listens on all interfaces.
    bool isWildcard() const { return isWildcard_; }

    using Take = std::function<void(int descriptor, const sockaddr_storage& peer)>;
    using Turnaway = std::function<void(const sockaddr_storage& peer)>;
    /// Accept the waiting connections, 64 at most. `take` gets blocking sockets that are closed on
    /// exec, and owns them. A connection without a free descriptor is closed, and `turnedAway` is
    /// called. Return false when the system cannot accept more for now.
    bool accept(const Take& take, const Turnaway& turnedAway);

  private:
    bool turnOneAway(const Turnaway& turnedAway);
    int moveUp(int descriptor) const;

    int descriptor_ = -1;
    /// Closed for a moment to accept, and close, a connection when no other descriptor is free.
    int spare_ = -1;
    int firstDescriptor_ = 0;  ///< lowest descriptor of connections
    std::uint16_t port_ = 0;
    bool isWildcard_ = false;
};

/// Close a connection with a reset, so that the system keeps no state of it.
void closeAtOnce(int descriptor);

}  // namespace kelp::orb::gate
