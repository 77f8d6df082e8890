#pragma once

#include <openssl/ssl.h>

#include <memory>
#include <mutex>
#include <string>

#include "material.h"

namespace kelp::orb {

/// What the process's handshakes show, trust and ask for. Constant once made.
struct TlsUse {
    std::shared_ptr<const TlsMaterial> material;
    bool checkServer = false;  ///< calling side: whether a server's certificate must show its name
    std::string serverName = {};  ///< that name or address; empty: the host that is called
};

/// The TlsUse of handshakes that begin now. A context must not be changed once connections are made
/// from it (the library reads it without a lock), so each handshake asks here. Any thread.
class CurrentTls {
  public:
    static CurrentTls& instance();
    /// Null: no TLS.
    std::shared_ptr<const TlsUse> get() const;
    void set(std::shared_ptr<const TlsUse> use);

  private:
    mutable std::mutex mutex_;
    std::shared_ptr<const TlsUse> use_;
};

/// Which suites a context offers and accepts; see tls_suites.h.
struct TlsSuites {
    std::string ciphers;
    std::string cipherSuites;
};

/// TLS 1.2 and 1.3 alone, the library's security level 2 (no key, group or hash below 112 bits), no
/// renegotiation, no compression, the server's order of suites.
void requireTlsStrength(SSL_CTX* context);

/// Makes a context one of this process's: strength, suites, certificates and checks out of
/// CurrentTls, no resumption. Before connections are made from it. False when the suites cannot be
/// used.
bool setUpContext(SSL_CTX* context, const TlsSuites& suites);

}  // namespace kelp::orb
