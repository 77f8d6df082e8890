#pragma once

#include <kelp/orb/tls_files.h>

#include <memory>
#include <string>
#include <vector>

#include "owned.h"

namespace kelp::orb {

/// The content of TlsFiles. It never changes once it is made, so any thread may use it.
struct TlsMaterial {
    OwnedCertificates authorities;
    OwnedNames authorityNames;  ///< the authorities' subjects, as a server sends them
    OwnedCertificate certificate;
    OwnedCertificates chain;  ///< from the certificate's issuer on; may be empty
    OwnedKey key;
    OwnedRevocationLists revocationLists;  ///< null: revocation is not checked
};

/// Read the files. Return the material if it can be used now; otherwise null, with the problems.
std::shared_ptr<const TlsMaterial> readTls(const TlsFiles& files,
                                           std::vector<TlsFileProblem>& problems);

/// Return whether both hold the same key, certificates and revocation lists, in the same order.
bool isSame(const TlsMaterial& one, const TlsMaterial& other);

/// Return the certificate's subject, serial number and end, and the earliest end of the revocation
/// lists, for messages.
std::string inWords(const TlsMaterial& material);

}  // namespace kelp::orb
