#pragma once

#include <openssl/x509.h>

#include <string>

namespace kelp::orb {

/// Return a time for messages: "2027-01-01 00:00:00 UTC".
std::string inWords(const ASN1_TIME* time);

/// Return a name for messages, escaped and shortened: "CN = ems, O = Operator".
std::string inWords(const X509_NAME* name);

/// Return a file's name for messages, escaped and shortened.
std::string shownFile(const std::string& name);

/// Return the oldest of the TLS library's errors on this thread as text, and forget the rest.
std::string tlsErrorText();

}  // namespace kelp::orb
