#include "tls.h"

#include <omniORB4/sslContext.h>
#include <openssl/err.h>

#include <memory>

#include "../trace.h"

namespace kelp::orb {

namespace {

/// The oldest of the TLS library's errors on this thread; the rest are forgotten.
std::string tlsErrorText() {
    char text[256];
    ERR_error_string_n(ERR_get_error(), text, sizeof text);
    ERR_clear_error();
    return text;
}

/// Loads the certificates as the ORB will. A failure inside ORB_init would leave the ORB unfit for another
/// start, and would not say what is wrong.
bool areUsable(const OrbOptions& options, std::string& whyNot) {
    const std::unique_ptr<SSL_CTX, decltype(&SSL_CTX_free)> context(SSL_CTX_new(TLS_method()), &SSL_CTX_free);
    if (!context) {
        whyNot = tlsErrorText();
        return false;
    }
    // given even when empty: else the library would ask at the terminal
    std::string password = options.tlsKeyPassword;
    SSL_CTX_set_default_passwd_cb_userdata(context.get(), password.data());
    const char* keyFile = options.tlsKeyFile.c_str();
    if (SSL_CTX_load_verify_locations(context.get(), options.tlsCaFile.c_str(), nullptr) != 1)
        whyNot = "CA file '" + options.tlsCaFile + "': " + tlsErrorText();
    else if (SSL_CTX_use_certificate_chain_file(context.get(), keyFile) != 1)
        whyNot = "certificate in '" + options.tlsKeyFile + "': " + tlsErrorText();
    else if (SSL_CTX_use_PrivateKey_file(context.get(), keyFile, SSL_FILETYPE_PEM) != 1)
        whyNot = "key in '" + options.tlsKeyFile + "': " + tlsErrorText();
    return whyNot.empty();
}

}  // namespace

// Referring to one symbol of the transport's library keeps the linker from leaving it out, and the ORB's
// options for TLS with it.
extern const void* const tlsTransportKept;
const void* const tlsTransportKept = &sslContext::singleton;

void addTlsOptions(const OrbOptions& options, OptionTable& table) {
    const bool wanted = !options.tlsCaFile.empty();
    if (!wanted && options.tlsListen.empty())
        return;
    std::string whyNot;
    if (!wanted)
        whyNot = "TLS addresses, but no CA file";
    if (!wanted || !areUsable(options, whyNot)) {
        traceException("TLS: " + whyNot);
        throw CORBA::BAD_PARAM(0, CORBA::COMPLETED_NO);
    }
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
