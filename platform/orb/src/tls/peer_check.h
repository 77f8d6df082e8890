#pragma once

#include <openssl/x509.h>

#include <string>

namespace kelp::orb {

/// Checks the other side's certificate by CurrentTls: authorities, revocation lists, and a server's
/// name where that is asked for. An ended revocation list goes on to be used. What passes keeps its
/// subject with it. For SSL_CTX_set_cert_verify_callback.
int checkPeer(X509_STORE_CTX* check, void*);

/// The subject of a certificate that checkPeer() has passed, as RFC 4514 has it, owned by the
/// certificate. Null for another certificate, and for one whose subject is longer than 2 KiB. Costs
/// one look-up.
const std::string* keptSubject(const X509* certificate);

}  // namespace kelp::orb
