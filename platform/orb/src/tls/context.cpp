#include "context.h"

#include <utility>

#include "../trace.h"
#include "peer_check.h"
#include "texts.h"

namespace kelp::orb {

namespace {

constexpr int kSecurityLevel = 2;

/// Called by the library when it needs this side's certificate. A server also names the authorities
/// that it trusts.
int showCertificate(SSL* connection, void*) {
    const std::shared_ptr<const TlsUse> use = CurrentTls::instance().get();
    if (!use)
        return 1;
    const TlsMaterial& material = *use->material;
    SSL_certs_clear(connection);
    if (SSL_use_cert_and_key(connection, material.certificate.get(), material.key.get(),
                             material.chain.get(), 1) != 1) {
        traceException("TLS: the certificate cannot be shown: " + tlsErrorText());
        return 0;
    }
    if (SSL_is_server(connection) == 1)
        SSL_set_client_CA_list(connection, SSL_dup_CA_list(material.authorityNames.get()));
    return 1;
}

}  // namespace

CurrentTls& CurrentTls::instance() {
    static CurrentTls* const current =
        new CurrentTls;  // never deleted: handshakes may outlive main
    return *current;
}

std::shared_ptr<const TlsUse> CurrentTls::get() const {
    const util::MutexLock lock(mutex_);
    return use_;
}

void CurrentTls::set(std::shared_ptr<const TlsUse> use) {
    const util::MutexLock lock(mutex_);
    use_.swap(use);
}

void requireTlsStrength(SSL_CTX* context) {
    SSL_CTX_set_min_proto_version(context, TLS1_2_VERSION);
    SSL_CTX_set_max_proto_version(context, 0);
    SSL_CTX_set_security_level(context, kSecurityLevel);
    SSL_CTX_set_options(
        context, SSL_OP_NO_RENEGOTIATION | SSL_OP_NO_COMPRESSION | SSL_OP_CIPHER_SERVER_PREFERENCE);
    SSL_CTX_clear_options(context, SSL_OP_LEGACY_SERVER_CONNECT |
                                       SSL_OP_ALLOW_UNSAFE_LEGACY_RENEGOTIATION |
                                       SSL_OP_ALLOW_CLIENT_RENEGOTIATION);
}

bool setUpContext(SSL_CTX* context, const TlsSuites& suites) {
    requireTlsStrength(context);
    if (SSL_CTX_set_cipher_list(context, suites.ciphers.c_str()) != 1 ||
        SSL_CTX_set_ciphersuites(context, suites.cipherSuites.c_str()) != 1)
        return false;
    SSL_CTX_set_dh_auto(context, 1);
    SSL_CTX_set_cert_cb(context, showCertificate, nullptr);
    SSL_CTX_set_cert_verify_callback(context, checkPeer, nullptr);
    // a resumed connection would show no certificate, and could outlive the trust in its authority
    SSL_CTX_set_session_cache_mode(context, SSL_SESS_CACHE_OFF);
    SSL_CTX_set_options(context, SSL_OP_NO_TICKET);
    SSL_CTX_set_num_tickets(context, 0);
    // idle connections keep no record buffers
    SSL_CTX_set_mode(context, SSL_MODE_RELEASE_BUFFERS);
    return true;
}

}  // namespace kelp::orb
