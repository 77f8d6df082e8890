#include "tls.h"

#include <kelp/orb/tls_files.h>
#include <omniORB4/sslContext.h>

#include <memory>
#include <mutex>

#include "../tls_material.h"
#include "../tls_refusals.h"
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

/// What handshakes show and trust. The transport's own context must not be changed once connections are made
/// from it (the library reads it without a lock), so each handshake takes what holds from here.
class Current {
  public:
    static Current& instance() {
        static Current* const current = new Current;  // never deleted: handshakes may outlive main
        return *current;
    }
    std::shared_ptr<const TlsMaterial> get() const {
        const std::lock_guard guard(mutex_);
        return material_;
    }
    void set(std::shared_ptr<const TlsMaterial> material) {
        const std::lock_guard guard(mutex_);
        material_.swap(material);
    }

  private:
    mutable std::mutex mutex_;
    std::shared_ptr<const TlsMaterial> material_;  // null: no TLS
};

/// The library asks for this side's certificate.
int showCertificate(SSL* connection, void*) {
    const std::shared_ptr<const TlsMaterial> material = Current::instance().get();
    if (!material)
        return 1;
    SSL_certs_clear(connection);
    if (SSL_use_cert_and_key(connection, material->certificate.get(), material->key.get(),
                             material->chain.get(), 1) == 1)
        return 1;
    traceException("TLS: the certificate cannot be shown: " + tlsErrorText());
    return 0;
}

/// The library has got the other side's certificate.
int checkCertificate(X509_STORE_CTX* check, void*) {
    const std::shared_ptr<const TlsMaterial> material = Current::instance().get();
    if (material)
        X509_STORE_CTX_set0_trusted_stack(check, material->authorities.get());
    return X509_verify_cert(check);
}

std::shared_ptr<const TlsMaterial> readOrTellWhyNot(const TlsFiles& files, std::string& whyNot) {
    std::vector<TlsFileProblem> problems;
    std::shared_ptr<const TlsMaterial> material = readTls(files, problems);
    for (const TlsFileProblem& problem : problems)
        whyNot += (whyNot.empty() ? "" : "; ") + problem.what;
    return material;
}

void use(std::shared_ptr<const TlsMaterial> material) {
    if (material)
        trace(util::TraceKind::Trace, "TLS: the certificate is now " + inWords(*material));
    Current::instance().set(std::move(material));
}

}  // namespace

void setUpTls(const OrbOptions& options) {
    if (options.tlsCaFile.empty() && options.tlsListen.empty()) {
        sslContext::certificate_authority_file = nullptr;
        sslContext::key_file = nullptr;
        sslContext::key_file_password = nullptr;
        use(nullptr);
        return;
    }
    std::string whyNot;
    std::shared_ptr<const TlsMaterial> material;
    if (options.tlsCaFile.empty())
        whyNot = "there are TLS addresses, but no CA file";
    else
        // a failure inside ORB_init would leave the ORB unfit for another start, and would not say what is
        // wrong
        material = readOrTellWhyNot({options.tlsCaFile, options.tlsKeyFile, options.tlsKeyPassword}, whyNot);
    if (!material) {
        traceException("TLS: " + whyNot);
        throw CORBA::BAD_PARAM(0, CORBA::COMPLETED_NO);
    }
    use(std::move(material));
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
    sslContext::info_callback = traceRefusal;
}

void takeOverHandshakes() {
    if (sslContext::singleton == nullptr || !Current::instance().get())
        return;
    SSL_CTX* const context = sslContext::singleton->get_SSL_CTX();
    SSL_CTX_set_cert_cb(context, showCertificate, nullptr);
    SSL_CTX_set_cert_verify_callback(context, checkCertificate, nullptr);
    // a resumed connection would show no certificate, and so outlive an authority that is trusted no more
    SSL_CTX_set_session_cache_mode(context, SSL_SESS_CACHE_OFF);
    SSL_CTX_set_options(context, SSL_OP_NO_TICKET);
    SSL_CTX_set_num_tickets(context, 0);
}

bool renewTls(const TlsFiles& files, std::string& whyNot) {
    const std::shared_ptr<const TlsMaterial> before = Current::instance().get();
    if (!before)
        return true;
    std::shared_ptr<const TlsMaterial> material = readOrTellWhyNot(files, whyNot);
    if (!material)
        return false;
    if (!isSame(*before, *material))
        use(std::move(material));
    return true;
}

bool isTlsUnusedNotice(const std::string& orbLogLine) {
    return orbLogLine.find("SSL transport disabled") != std::string::npos;
}

}  // namespace kelp::orb
