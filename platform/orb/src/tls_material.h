#pragma once

#include <kelp/orb/tls_files.h>

#include <openssl/ssl.h>

#include <memory>
#include <string>
#include <vector>

namespace kelp::orb {

template <auto kFree>
struct FreedBy {
    template <class Resource>
    void operator()(Resource* resource) const {
        kFree(resource);
    }
};

struct FreedCertificates {
    void operator()(STACK_OF(X509) * certificates) const { sk_X509_pop_free(certificates, X509_free); }
};

using OwnedCertificate = std::unique_ptr<X509, FreedBy<X509_free>>;
using OwnedCertificates = std::unique_ptr<STACK_OF(X509), FreedCertificates>;
using OwnedKey = std::unique_ptr<EVP_PKEY, FreedBy<EVP_PKEY_free>>;

/// What TlsFiles hold, read. Never changed once it is made, so that any thread may use it.
struct TlsMaterial {
    OwnedCertificates authorities;
    OwnedCertificate certificate;
    OwnedCertificates chain;  ///< from the certificate's issuer on; may be empty
    OwnedKey key;
};

/// The material, usable now; or none, and why.
std::shared_ptr<const TlsMaterial> readTls(const TlsFiles& files, std::vector<TlsFileProblem>& problems);

/// The same certificates, in the same order.
bool isSame(const TlsMaterial& one, const TlsMaterial& other);

/// The certificate's subject, serial number and end, for messages.
std::string inWords(const TlsMaterial& material);

/// The oldest of the TLS library's errors on this thread, in its words; the rest are forgotten.
std::string tlsErrorText();

}  // namespace kelp::orb
