#pragma once

#include <kelp/orb/tls_files.h>

#include <memory>
#include <string>
#include <vector>

#include "owned.h"

namespace kelp::orb {

/// What TlsFiles hold, read. Never changed once it is made, so that any thread may use it.
struct TlsMaterial {
    OwnedCertificates authorities;
    OwnedNames authorityNames;  ///< the authorities' subjects, as a server sends them
    OwnedCertificate certificate;
    OwnedCertificates chain;  ///< from the certificate's issuer on; may be empty
    OwnedKey key;
    OwnedRevocationLists revocationLists;  ///< null: revocation is not checked
};

/// The material, usable now; or none, and why.
std::shared_ptr<const TlsMaterial> readTls(const TlsFiles& files,
                                           std::vector<TlsFileProblem>& problems);

/// The same certificates and revocation lists, in the same order.
bool isSame(const TlsMaterial& one, const TlsMaterial& other);

/// The certificate's subject, serial number and end, and when the first revocation list ends, for
/// messages.
std::string inWords(const TlsMaterial& material);

}  // namespace kelp::orb
