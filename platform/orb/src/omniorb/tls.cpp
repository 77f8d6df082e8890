#include "tls.h"

#include <omniORB4/sslContext.h>

namespace kelp::orb {

// Referring to one symbol of the transport's library keeps the linker from leaving it out, and the ORB's
// options for TLS with it.
extern const void* const tlsTransportKept;
const void* const tlsTransportKept = &sslContext::singleton;

void addTlsOptions(const OrbOptions& options, OptionTable& table) {
    const bool wanted = !options.tlsCaFile.empty();
    if (!wanted && !options.tlsListen.empty())
        throw CORBA::BAD_PARAM(0, CORBA::COMPLETED_NO);
    if (!wanted)
        return;
    table.add("sslCAFile", options.tlsCaFile);
    table.add("sslKeyFile", options.tlsKeyFile);
    // the ORB refuses to connect with an empty password even where the key needs none
    table.add("sslKeyPassword", options.tlsKeyPassword.empty() ? "none" : options.tlsKeyPassword);
    table.add("sslVerifyMode", options.tlsRequirePeerCertificate ? "peer,fail" : "peer");
}

bool isTlsUnusedNotice(const std::string& orbLogLine) {
    return orbLogLine.find("SSL transport disabled") != std::string::npos;
}

}  // namespace kelp::orb
