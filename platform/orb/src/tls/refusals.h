#pragma once

#include <openssl/ssl.h>

#include <string>

namespace kelp::orb {

/// Traces why a handshake failed, with the other side's address; at most a line a second, since
/// anybody can make handshakes fail. For SSL_CTX_set_info_callback.
void traceRefusal(const SSL* connection, int where, int value);

/// The other side's address, for messages: "192.0.2.1 port 40000".
std::string peerInWords(const SSL* connection);

}  // namespace kelp::orb
