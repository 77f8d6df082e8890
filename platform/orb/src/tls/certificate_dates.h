#pragma once

#include <openssl/x509.h>

namespace kelp::orb {

/// Whether the certificate is not valid any more.
inline bool hasEnded(const X509* certificate) {
    return X509_cmp_current_time(X509_get0_notAfter(certificate)) < 0;
}

/// Whether the certificate is valid now or has been before.
inline bool hasBegun(const X509* certificate) {
    return X509_cmp_current_time(X509_get0_notBefore(certificate)) < 0;
}

}  // namespace kelp::orb
