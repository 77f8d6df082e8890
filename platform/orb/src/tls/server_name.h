#pragma once

#include <openssl/ssl.h>
#include <openssl/x509.h>

#include <string>

namespace kelp::orb {

/// The host that the calling side has asked to be connected to: its name, or its address when it
/// was called by that. Empty when the connection is gone.
std::string calledHost(const SSL* connection);

/// Whether a certificate is for a host name or a numeric address, as RFC 6125 has it: by its
/// alternative names, and by its common name only where it has none.
bool isOfServer(X509* certificate, const std::string& host);

/// The names and addresses that isOfServer() goes by, for messages: "DNS:ems.example.net,
/// IP:192.0.2.1".
std::string namesOf(const X509* certificate);

}  // namespace kelp::orb
