#pragma once

#include "owned.h"
#include "pem_file.h"

namespace kelp::orb {

/// Return the lists in the file that are valid now. Each authority that is still valid has one at
/// least. Return null, with the problems recorded, when the file does not provide that.
OwnedRevocationLists readRevocationLists(PemFile& file, const STACK_OF(X509) * authorities);

/// Return whether both hold the same lists, in the same order. Both may be null.
bool isSame(const STACK_OF(X509_CRL) * one, const STACK_OF(X509_CRL) * other);

}  // namespace kelp::orb
