#pragma once

#include <openssl/ssl.h>

namespace kelp::orb {

/// Watch the handshakes of outgoing connections, so that the limit of all calls ends them too: the
/// ORB shows a connection only when its handshake is over. Trace refusals. For
/// SSL_CTX_set_info_callback.
void watchHandshake(const SSL* connection, int where, int value);

}  // namespace kelp::orb
