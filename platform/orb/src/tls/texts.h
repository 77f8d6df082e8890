#pragma once

#include <openssl/x509.h>

#include <string>

namespace kelp::orb {

/// "2027-01-01 00:00:00 UTC"
std::string inWords(const ASN1_TIME* time);

/// A name for messages, escaped and bounded: "CN = ems, O = Operator".
std::string inWords(const X509_NAME* name);

/// A file's name for messages, escaped and bounded.
std::string shownFile(const std::string& name);

/// The oldest of the TLS library's errors on this thread, as text; the rest are forgotten.
std::string tlsErrorText();

}  // namespace kelp::orb
