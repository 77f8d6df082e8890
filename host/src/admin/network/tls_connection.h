#pragma once

#include <openssl/ssl.h>

#include <memory>

#include "admin/connection.h"

namespace kelp::host {

using TlsState = std::unique_ptr<SSL, decltype(&::SSL_free)>;

/// A connection over TLS. The handshake is part of the first read, so it counts towards the time
/// and size of the request.
class TlsConnection final : public Connection {
  public:
    /// Throws std::bad_alloc when OpenSSL has no memory.
    TlsConnection(util::Descriptor socket, const ConnectionLimits& limits, SSL_CTX& context);

    void finish() override;

  private:
    ssize_t receive(char* to, std::size_t room, Clock::time_point until) override;
    ssize_t send(const char* from, std::size_t size, Clock::time_point until) override;
    /// Wait until OpenSSL can continue after `result`. Return false when it cannot, or not in time.
    bool mayContinue(int result, Clock::time_point until) const;

    TlsState tls_;
};

}  // namespace kelp::host
