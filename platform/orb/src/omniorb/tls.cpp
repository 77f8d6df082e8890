#include "tls.h"

#include <omniORB4/sslContext.h>
#include <openssl/err.h>

#include <memory>

#include "../trace.h"

namespace kelp::orb {

namespace {

/// The transport keeps pointers to its settings; the ORB's options of the same names would lose memory at a
/// second start.
struct Texts {
    std::string caFile;
    std::string keyFile;
    std::string keyPassword;
};

// never deleted: the transport is cleaned up when the process ends
Texts& keptTexts() {
    static Texts* texts = new Texts;
    return *texts;
}

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

void setUpTls(const OrbOptions& options) {
    if (options.tlsCaFile.empty() && options.tlsListen.empty()) {
        sslContext::certificate_authority_file = nullptr;
        sslContext::key_file = nullptr;
        sslContext::key_file_password = nullptr;
        return;
    }
    std::string whyNot;
    if (options.tlsCaFile.empty())
        whyNot = "TLS addresses, but no CA file";
    if (!whyNot.empty() || !areUsable(options, whyNot)) {
        traceException("TLS: " + whyNot);
        throw CORBA::BAD_PARAM(0, CORBA::COMPLETED_NO);
    }
    Texts& texts = keptTexts();
    texts.caFile = options.tlsCaFile;
    texts.keyFile = options.tlsKeyFile;
    // the ORB refuses to connect with an empty password even where the key needs none
    texts.keyPassword = options.tlsKeyPassword.empty() ? "none" : options.tlsKeyPassword;
    sslContext::certificate_authority_file = texts.caFile.c_str();
    sslContext::key_file = texts.keyFile.c_str();
    sslContext::key_file_password = texts.keyPassword.c_str();
    sslContext::verify_mode =
        SSL_VERIFY_PEER | (options.tlsRequirePeerCertificate ? SSL_VERIFY_FAIL_IF_NO_PEER_CERT : 0);
}

bool isTlsUnusedNotice(const std::string& orbLogLine) {
    return orbLogLine.find("SSL transport disabled") != std::string::npos;
}

}  // namespace kelp::orb
