#pragma once

#include <openssl/ssl.h>

#include <string>

namespace kelp::orb {

/// Trace why a handshake failed, with the other side's address. Writes at most one line per second,
/// because anybody can make handshakes fail. For SSL_CTX_set_info_callback.
void traceRefusal(const SSL* connection, int where, int value);

/// Return the other side's address for messages: "192.0.2.1 port 40000".
std::string peerInWords(const SSL* connection);

}  // namespace kelp::orb
