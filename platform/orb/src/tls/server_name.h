#pragma once

#include <openssl/ssl.h>
#include <openssl/x509.h>

#include <string>

namespace kelp::orb {

/// Return the host to which the calling side has connected: its name, or its address if it was
/// called by that. Empty when the connection is gone.
std::string calledHost(const SSL* connection);

/// Return whether a certificate is for a host name or a numeric address, by the rules of RFC 6125:
/// by its alternative names, or by its common name if it does not have any.
bool isOfServer(X509* certificate, const std::string& host);

/// Return the names and addresses that isOfServer() compares, for messages: "DNS:ems.example.net,
/// IP:192.0.2.1".
std::string namesOf(const X509* certificate);

}  // namespace kelp::orb
