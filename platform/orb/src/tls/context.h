#pragma once

#include <kelp/util/mutex.h>
#include <openssl/ssl.h>

#include <memory>
#include <string>

#include "material.h"

namespace kelp::orb {

/// What the process's handshakes show, trust and require. Constant once made.
struct TlsUse {
    std::shared_ptr<const TlsMaterial> material;
    bool checkServer =
        false;  ///< calling side: whether a server's certificate must name the server
    std::string serverName = {};  ///< that name or address; empty: the called host
};

/// The TlsUse of handshakes that begin now. A context must not be changed once connections are made
/// from it, because the library reads it without a lock. So each handshake asks here. Callable from
/// any thread.
class CurrentTls {
  public:
    static CurrentTls& instance();
    /// Null: no TLS.
    std::shared_ptr<const TlsUse> get() const KELP_EXCLUDES(mutex_);
    void set(std::shared_ptr<const TlsUse> use) KELP_EXCLUDES(mutex_);

  private:
    mutable util::Mutex mutex_{util::LockRank::Service, "CurrentTls::mutex_"};
    std::shared_ptr<const TlsUse> use_ KELP_GUARDED_BY(mutex_);
};

/// The suites that a context offers and accepts; see tls_suites.h.
struct TlsSuites {
    std::string ciphers;
    std::string cipherSuites;
};

/// Restrict a context to TLS 1.2 and 1.3 and the library's security level 2 (no key, group or hash
/// below 112 bits), without renegotiation and compression. The server's order of suites decides.
void requireTlsStrength(SSL_CTX* context);

/// Set a context up for this process: strength, suites, certificates and checks from CurrentTls,
/// and no resumption. Call it before connections are made from the context. Return false when the
/// suites cannot be used.
bool setUpContext(SSL_CTX* context, const TlsSuites& suites);

}  // namespace kelp::orb
