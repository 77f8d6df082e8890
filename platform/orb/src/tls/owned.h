#pragma once

#include <openssl/ssl.h>
#include <openssl/x509.h>

#include <memory>

namespace kelp::orb {

template <auto kFree>
struct FreedBy {
    template <class Resource>
    void operator()(Resource* resource) const {
        kFree(resource);
    }
};

struct FreedCertificates {
    void operator()(STACK_OF(X509) * certificates) const {
        sk_X509_pop_free(certificates, X509_free);
    }
};

struct FreedRevocationLists {
    void operator()(STACK_OF(X509_CRL) * lists) const {
        sk_X509_CRL_pop_free(lists, X509_CRL_free);
    }
};

struct FreedNames {
    void operator()(STACK_OF(X509_NAME) * names) const {
        sk_X509_NAME_pop_free(names, X509_NAME_free);
    }
};

using OwnedBio = std::unique_ptr<BIO, FreedBy<BIO_free>>;
using OwnedCertificate = std::unique_ptr<X509, FreedBy<X509_free>>;
using OwnedCertificates = std::unique_ptr<STACK_OF(X509), FreedCertificates>;
using OwnedConnection = std::unique_ptr<SSL, FreedBy<SSL_free>>;
using OwnedContext = std::unique_ptr<SSL_CTX, FreedBy<SSL_CTX_free>>;
using OwnedKey = std::unique_ptr<EVP_PKEY, FreedBy<EVP_PKEY_free>>;
using OwnedNames = std::unique_ptr<STACK_OF(X509_NAME), FreedNames>;
using OwnedRevocationList = std::unique_ptr<X509_CRL, FreedBy<X509_CRL_free>>;
using OwnedRevocationLists = std::unique_ptr<STACK_OF(X509_CRL), FreedRevocationLists>;

}  // namespace kelp::orb
