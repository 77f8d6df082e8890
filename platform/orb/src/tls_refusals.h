#pragma once

#include <openssl/ssl.h>

namespace kelp::orb {

/// Traces why a handshake failed, with the other side's address; at most a line a second, since anybody can
/// make handshakes fail. For SSL_CTX_set_info_callback.
void traceRefusal(const SSL* connection, int where, int value);

}  // namespace kelp::orb
