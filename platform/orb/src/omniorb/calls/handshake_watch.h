#pragma once

#include <openssl/ssl.h>

namespace kelp::orb {

/// Watches the handshakes of outgoing connections, which the ORB shows only when they are over, so
/// that the limit of all calls ends them too, and traces refusals. For SSL_CTX_set_info_callback.
void watchHandshake(const SSL* connection, int where, int value);

}  // namespace kelp::orb
