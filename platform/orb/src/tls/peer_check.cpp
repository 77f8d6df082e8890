#include "peer_check.h"

#include <openssl/ssl.h>

#include <algorithm>
#include <memory>

#include "context.h"
#include "refused_server.h"
#include "server_name.h"

namespace kelp::orb {

namespace {

constexpr long kSubjectBytesMax = 2048;

void freeSubject(void*, void* subject, CRYPTO_EX_DATA*, int, long, void*) {
    delete static_cast<std::string*>(subject);
}

int subjectIndex() {
    static const int index = X509_get_ex_new_index(0, nullptr, nullptr, nullptr, freeSubject);
    return index;
}

/// Store the subject with the certificate. Call it before another thread sees the certificate.
void keepSubject(X509* certificate) {
    const OwnedBio out(BIO_new(BIO_s_mem()));
    X509_NAME_print_ex(out.get(), X509_get_subject_name(certificate), 0,
                       XN_FLAG_RFC2253 & ~ASN1_STRFLGS_ESC_MSB);
    char* text = nullptr;
    const long length = BIO_get_mem_data(out.get(), &text);
    if (length <= 0 || length > kSubjectBytesMax ||
        X509_get_ex_data(certificate, subjectIndex()) != nullptr)
        return;
    auto subject = std::make_unique<std::string>(text, static_cast<std::size_t>(length));
    if (X509_set_ex_data(certificate, subjectIndex(), subject.get()) == 1)
        static_cast<void>(subject.release());
}

/// Accept an ended revocation list until its successor is there. The operator was warned, and
/// without any list a revoked certificate would be accepted.
int passEndedList(int isGood, X509_STORE_CTX* check) {
    if (isGood == 1 || X509_STORE_CTX_get_error(check) != X509_V_ERR_CRL_HAS_EXPIRED)
        return isGood;
    X509_STORE_CTX_set_error(check, X509_V_OK);
    return 1;
}

void trustOnly(X509_STORE_CTX* check, const TlsMaterial& material) {
    X509_STORE_CTX_set0_trusted_stack(check, material.authorities.get());
    if (!material.revocationLists)
        return;
    X509_STORE_CTX_set0_crls(check, material.revocationLists.get());
    X509_STORE_CTX_set_flags(check, X509_V_FLAG_CRL_CHECK | X509_V_FLAG_CRL_CHECK_ALL);
    X509_STORE_CTX_set_verify_cb(check, passEndedList);
}

const SSL* connectionOf(X509_STORE_CTX* check) {
    return static_cast<const SSL*>(
        X509_STORE_CTX_get_ex_data(check, SSL_get_ex_data_X509_STORE_CTX_idx()));
}

/// Return whether a server's certificate passes.
bool isPassed(X509_STORE_CTX* check, const SSL* connection, const TlsUse& use) {
    X509* const certificate = X509_STORE_CTX_get0_cert(check);
    if (X509_verify_cert(check) != 1) {
        noteRefusedServer(connection, certificate,
                          X509_verify_cert_error_string(X509_STORE_CTX_get_error(check)));
        return false;
    }
    if (!use.checkServer)
        return true;
    const std::string expected = use.serverName.empty() ? calledHost(connection) : use.serverName;
    if (isOfServer(certificate, expected))
        return true;
    X509_STORE_CTX_set_error(check, X509_V_ERR_HOSTNAME_MISMATCH);
    noteRefusedServer(connection, certificate,
                      "it is for " + namesOf(certificate) + ", not for " + expected);
    return false;
}

}  // namespace

int checkPeer(X509_STORE_CTX* check, void*) {
    const std::shared_ptr<const TlsUse> use = CurrentTls::instance().get();
    if (!use)
        return X509_verify_cert(check);
    trustOnly(check, *use->material);
    const SSL* const connection = connectionOf(check);
    const bool isClient = connection == nullptr || SSL_is_server(connection) == 1;
    const bool isGood = isClient ? X509_verify_cert(check) == 1 : isPassed(check, connection, *use);
    if (isGood)
        keepSubject(X509_STORE_CTX_get0_cert(check));
    return isGood ? 1 : 0;
}

const std::string* keptSubject(const X509* certificate) {
    return static_cast<const std::string*>(X509_get_ex_data(certificate, subjectIndex()));
}

}  // namespace kelp::orb
