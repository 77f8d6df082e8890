#include "tls.h"

#include <kelp/orb/tls_files.h>
#include <omniORB4/sslContext.h>

#include <memory>

#include "../tls/context.h"
#include "../tls/material.h"
#include "../tls/peer_check.h"
#include "../tls/refusals.h"
#include "../tls/texts.h"
#include "../trace.h"
#include "omniorb/calls/outgoing_handshakes.h"

namespace kelp::orb {

namespace {

/// The settings to which the TLS transport keeps pointers. The ORB's options of the same names are
/// not used, because they leak memory at a second start.
struct Texts {
    std::string caFile;
    std::string keyFile;
    std::string keyPassword;
};

// never deleted: the transport is cleaned up when the process exits
Texts& keptTexts() {
    static Texts* texts = new Texts;
    return *texts;
}

std::shared_ptr<const TlsMaterial> readOrTellWhyNot(const TlsFiles& files, std::string& whyNot) {
    std::vector<TlsFileProblem> problems;
    std::shared_ptr<const TlsMaterial> material = readTls(files, problems);
    for (const TlsFileProblem& problem : problems)
        whyNot += (whyNot.empty() ? "" : "; ") + problem.what;
    return material;
}

void use(TlsUse next) {
    trace(util::TraceKind::Trace, "TLS: the certificate is now " + inWords(*next.material));
    CurrentTls::instance().set(std::make_shared<const TlsUse>(std::move(next)));
}

/// The suites for the contexts of the ORB that is being started.
TlsSuites& chosenSuites() {
    static TlsSuites* const suites = new TlsSuites;
    return *suites;
}

// never deleted: connections may outlive main
std::shared_ptr<SSL_CTX>& gateContext() {
    static auto* const context = new std::shared_ptr<SSL_CTX>;
    return *context;
}

std::shared_ptr<SSL_CTX> makeGateContext(int verifyMode) {
    std::shared_ptr<SSL_CTX> context(SSL_CTX_new(TLS_server_method()), &SSL_CTX_free);
    if (!context || !setUpContext(context.get(), chosenSuites())) {
        traceException("TLS: no context: " + tlsErrorText());
        throw CORBA::BAD_PARAM(0, CORBA::COMPLETED_NO);
    }
    SSL_CTX_set_verify(context.get(), verifyMode, nullptr);
    SSL_CTX_set_info_callback(context.get(), traceRefusal);
    return context;
}

std::string problemOfSuites(const OrbOptions& options) {
    if (const std::string problem = problemOfTlsCiphers(options.tlsCiphers); !problem.empty())
        return "the list of ciphers " + problem;
    const std::string problem = problemOfTlsCipherSuites(options.tlsCipherSuites);
    return problem.empty() ? "" : "the list of cipher suites " + problem;
}

}  // namespace

void setUpTls(const OrbOptions& options) {
    if (options.tlsCaFile.empty() && options.tlsListen.empty()) {
        sslContext::certificate_authority_file = nullptr;
        sslContext::key_file = nullptr;
        sslContext::key_file_password = nullptr;
        CurrentTls::instance().set(nullptr);
        gateContext().reset();
        return;
    }
    std::string whyNot = problemOfSuites(options);
    std::shared_ptr<const TlsMaterial> material;
    if (options.tlsCaFile.empty())
        whyNot = "there are TLS addresses, but no CA file";
    else if (whyNot.empty())
        // read here, because a failure inside ORB_init prevents another start and gives no reason
        material = readOrTellWhyNot(
            {options.tlsCaFile, options.tlsKeyFile, options.tlsKeyPassword, options.tlsCrlFile},
            whyNot);
    if (!material) {
        traceException("TLS: " + whyNot);
        throw CORBA::BAD_PARAM(0, CORBA::COMPLETED_NO);
    }
    use({std::move(material), options.tlsCheckServer, options.tlsServerName});
    chosenSuites() = {options.tlsCiphers, options.tlsCipherSuites};
    Texts& texts = keptTexts();
    texts.caFile = options.tlsCaFile;
    texts.keyFile = options.tlsKeyFile;
    // with an empty password the ORB refuses to connect, even if the key needs none
    texts.keyPassword = options.tlsKeyPassword.empty() ? "none" : options.tlsKeyPassword;
    sslContext::certificate_authority_file = texts.caFile.c_str();
    sslContext::key_file = texts.keyFile.c_str();
    sslContext::key_file_password = texts.keyPassword.c_str();
    sslContext::verify_mode =
        SSL_VERIFY_PEER | (options.tlsRequirePeerCertificate ? SSL_VERIFY_FAIL_IF_NO_PEER_CERT : 0);
    sslContext::info_callback = watchHandshake;
    gateContext() = makeGateContext(sslContext::verify_mode);
}

void takeOverHandshakes() {
    if (sslContext::singleton == nullptr || !CurrentTls::instance().get())
        return;
    setUpContext(sslContext::singleton->get_SSL_CTX(), chosenSuites());
}

bool renewTls(const TlsFiles& files, std::string& whyNot) {
    const std::shared_ptr<const TlsUse> before = CurrentTls::instance().get();
    if (!before)
        return true;
    std::shared_ptr<const TlsMaterial> material = readOrTellWhyNot(files, whyNot);
    if (!material)
        return false;
    if (!isSame(*before->material, *material))
        use({std::move(material), before->checkServer, before->serverName});
    return true;
}

std::shared_ptr<SSL_CTX> tlsGateContext() {
    return gateContext();
}

std::string_view peerSubject(const void* peerDetails) {
    const std::string* const subject =
        peerDetails == nullptr ? nullptr : keptSubject(static_cast<const X509*>(peerDetails));
    return subject == nullptr ? std::string_view() : *subject;
}

bool isTlsUnusedNotice(const std::string& orbLogLine) {
    return orbLogLine.find("SSL transport disabled") != std::string::npos;
}

}  // namespace kelp::orb
