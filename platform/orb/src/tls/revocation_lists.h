#pragma once

#include "owned.h"
#include "pem_file.h"

namespace kelp::orb {

/// The file's lists that hold now, at least one of each authority that is still valid. None, and
/// the problems, when there is not that.
OwnedRevocationLists readRevocationLists(PemFile& file, const STACK_OF(X509) * authorities);

/// The same lists, in the same order; both may be null.
bool isSame(const STACK_OF(X509_CRL) * one, const STACK_OF(X509_CRL) * other);

}  // namespace kelp::orb
