#pragma once

#include <openssl/x509.h>

#include <string>

namespace kelp::orb {

/// Check the other side's certificate against CurrentTls: authorities, revocation lists, and a
/// server's name where that is required. An ended revocation list stays in use. A certificate that
/// passes gets its subject stored with it. For SSL_CTX_set_cert_verify_callback.
int checkPeer(X509_STORE_CTX* check, void*);

/// Return the subject of a certificate that checkPeer() has passed, in the form of RFC 4514, owned
/// by the certificate. Null for another certificate, and for one whose subject is longer than 2
/// KiB. Costs one look-up.
const std::string* keptSubject(const X509* certificate);

}  // namespace kelp::orb
