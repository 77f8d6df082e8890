#pragma once

#include <cstdint>
#include <string>

#include "support/tcp_peers.h"

namespace kelp::test {

/// A port of the loopback interface that no other test gets during its lifetime. A server can be
/// given this port, stopped, and started on it again. The port lies below the range used for
/// outgoing connections.
class PortLease {
  public:
    PortLease();

    std::uint16_t port() const { return port_; }
    std::string text() const { return std::to_string(port_); }
    std::string hostAndPort() const { return "127.0.0.1:" + text(); }

  private:
    Socket claim_;
    std::uint16_t port_ = 0;
};

}  // namespace kelp::test
