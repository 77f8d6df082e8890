#pragma once

#include <sys/socket.h>

#include <cstdint>
#include <functional>
#include <string>

namespace kelp::orb::gate {

/// A listening socket. Connections have high descriptors: the lower half, 1024 at most, is left to
/// files, to outgoing calls and to the operator's interface, whose library cannot use others. When
/// the upper ones are used up, whoever connects is closed at once. Not thread safe.
class Listener {
  public:
    Listener() = default;
    ~Listener();
    Listener(const Listener&) = delete;
    Listener& operator=(const Listener&) = delete;

    /// Listens on a host ("" for all interfaces, a name, an address, IPv6 with or without brackets)
    /// and a port (0: a free one). False with the reason.
    bool open(const std::string& host, std::uint16_t port, std::string& whyNot);
    void close();

    int descriptor() const { return descriptor_; }
    std::uint16_t port() const { return port_; }
    /// Whether it listens on all interfaces.
    bool isWildcard() const { return isWildcard_; }

    using Take = std::function<void(int descriptor, const sockaddr_storage& peer)>;
    using Turnaway = std::function<void(const sockaddr_storage& peer)>;
    /// Accepts those who wait, 64 at most: blocking sockets, closed on exec, owned by who takes
    /// them. False when the system has no room for now; those for whom there was no descriptor have
    /// been turned away.
    bool accept(const Take& take, const Turnaway& turnedAway);

  private:
    bool turnOneAway(const Turnaway& turnedAway);
    int moveUp(int descriptor) const;

    int descriptor_ = -1;
    int spare_ = -1;  ///< given up for a moment to accept, and close, when there is no other
    int firstDescriptor_ = 0;  ///< of connections
    std::uint16_t port_ = 0;
    bool isWildcard_ = false;
};

/// Closes a connection so that nothing of it stays with this system.
void closeAtOnce(int descriptor);

}  // namespace kelp::orb::gate
