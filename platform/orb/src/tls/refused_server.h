#pragma once

#include <openssl/ssl.h>
#include <openssl/x509.h>

#include <string>

namespace kelp::orb {

/// Record for takeRefusedServer() why this process, as the calling side, has refused a server's
/// certificate.
void noteRefusedServer(const SSL* connection, const X509* certificate, const std::string& why);

}  // namespace kelp::orb
