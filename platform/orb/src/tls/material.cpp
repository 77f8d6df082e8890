#include "material.h"

#include <openssl/err.h>
#include <openssl/pem.h>
#include <openssl/x509.h>
#include <sys/stat.h>

#include <algorithm>
#include <iomanip>
#include <sstream>

#include "certificate_dates.h"
#include "context.h"
#include "pem_file.h"
#include "revocation_lists.h"
#include "texts.h"

namespace kelp::orb {

namespace {

using Of = TlsFileProblem::Of;

/// Return all certificates of the file; null, with the problem recorded, when there is none or one
/// is damaged.
OwnedCertificates readCertificates(PemFile& file) {
    const OwnedBio in = file.open();
    OwnedCertificates all(sk_X509_new_null());
    while (X509* const certificate = PEM_read_bio_X509(in.get(), nullptr, nullptr, nullptr))
        sk_X509_push(all.get(), certificate);
    const bool isAtTheEnd = isEndOfPem();
    const std::string why = tlsErrorText();
    if (isAtTheEnd && sk_X509_num(all.get()) > 0)
        return all;
    file.wrong(isAtTheEnd ? "holds no PEM certificate" : "holds a damaged certificate: " + why);
    return nullptr;
}

OwnedCertificates readAuthorities(PemFile& file) {
    OwnedCertificates all = file.isRead() ? readCertificates(file) : nullptr;
    if (!all)
        return nullptr;
    for (int i = 0; i < sk_X509_num(all.get()); ++i) {
        if (!hasEnded(sk_X509_value(all.get(), i)))
            return all;
    }
    file.wrong("holds no certificate that is still valid, so that nobody could be trusted");
    return nullptr;
}

OwnedNames subjectsOf(const STACK_OF(X509) * certificates) {
    OwnedNames names(sk_X509_NAME_new_null());
    for (int i = 0; i < sk_X509_num(certificates); ++i)
        sk_X509_NAME_push(names.get(),
                          X509_NAME_dup(X509_get_subject_name(sk_X509_value(certificates, i))));
    return names;
}

/// The password to give to the TLS library when it finds a key encrypted.
struct Password {
    const std::string& text;
    bool isAskedFor = false;
};

int givePassword(char* buffer, int size, int, void* data) {
    auto* const password = static_cast<Password*>(data);
    password->isAskedFor = true;
    const std::string& text = password->text;
    if (text.empty() || text.size() > static_cast<std::size_t>(size))
        return -1;
    std::ranges::copy(text, buffer);
    return static_cast<int>(text.size());
}

std::string inOctal(::mode_t mode) {
    std::ostringstream text;
    text << std::oct << std::setw(4) << std::setfill('0') << mode;
    return text.str();
}

/// Record a problem if others may read or write a private key: such a key proves nothing.
void checkMode(PemFile& file) {
    constexpr ::mode_t others = S_IRGRP | S_IWGRP | S_IROTH | S_IWOTH;
    if (file.contains("PRIVATE KEY-----") && (file.mode() & others) != 0)
        file.wrong("holds a private key that others can read or write: its mode is " +
                   inOctal(file.mode()) + ", set it to 0600");
    else
        file.checkTrust();
}

OwnedKey readKey(PemFile& file, const std::string& passwordText) {
    Password password{passwordText};
    OwnedKey key(PEM_read_bio_PrivateKey(file.open().get(), nullptr, givePassword, &password));
    const std::string why = tlsErrorText();
    if (key)
        return key;
    if (password.isAskedFor && passwordText.empty())
        file.wrong(Of::Password, "holds an encrypted private key, but there is no password for it");
    else if (password.isAskedFor)
        file.wrong(Of::Password, "holds a private key that the password does not open: " + why);
    else if (!file.contains("PRIVATE KEY-----"))
        file.wrong("holds no PEM private key");
    else
        file.wrong("holds a private key that cannot be read: " + why);
    return nullptr;
}

/// Return whether the library would show the certificate in a handshake. It refuses short keys and
/// weak signatures.
bool isAccepted(const TlsMaterial& material, std::string& whyNot) {
    const OwnedContext context(SSL_CTX_new(TLS_method()));
    if (context)
        requireTlsStrength(context.get());
    const bool isGood =
        context && SSL_CTX_use_cert_and_key(context.get(), material.certificate.get(),
                                            material.key.get(), material.chain.get(), 1) == 1;
    whyNot = tlsErrorText();
    return isGood;
}

void checkOwn(const TlsMaterial& material, PemFile& file) {
    const X509* const certificate = material.certificate.get();
    const int problemsOfMatch = X509_check_private_key(certificate, material.key.get());
    tlsErrorText();
    if (problemsOfMatch != 1)
        file.wrong("holds a private key that is not its first certificate's");
    else if (hasEnded(certificate))
        file.wrong("holds a certificate that has ended at " +
                   inWords(X509_get0_notAfter(certificate)));
    else if (!hasBegun(certificate))
        file.wrong("holds a certificate that is not valid before " +
                   inWords(X509_get0_notBefore(certificate)));
    else if (std::string whyNot; !isAccepted(material, whyNot))
        file.wrong("holds a certificate that cannot be shown: " + whyNot);
}

bool isSame(const STACK_OF(X509) * one, const STACK_OF(X509) * other) {
    if (sk_X509_num(one) != sk_X509_num(other))
        return false;
    for (int i = 0; i < sk_X509_num(one); ++i) {
        if (X509_cmp(sk_X509_value(one, i), sk_X509_value(other, i)) != 0)
            return false;
    }
    return true;
}

std::string serialNumberOf(const X509* certificate) {
    const std::unique_ptr<BIGNUM, FreedBy<BN_free>> number(
        ASN1_INTEGER_to_BN(X509_get0_serialNumber(certificate), nullptr));
    char* const digits = number ? BN_bn2hex(number.get()) : nullptr;
    std::string text = digits != nullptr ? digits : "unknown";
    OPENSSL_free(digits);
    return text;
}

/// Return "; revocation lists valid until ..." with the earliest end of several; empty when there
/// are no lists.
std::string endOf(const STACK_OF(X509_CRL) * lists) {
    const ASN1_TIME* first = nullptr;
    for (int i = 0; i < sk_X509_CRL_num(lists); ++i) {
        const ASN1_TIME* const end = X509_CRL_get0_nextUpdate(sk_X509_CRL_value(lists, i));
        if (end != nullptr && (first == nullptr || ASN1_TIME_compare(end, first) < 0))
            first = end;
    }
    if (lists == nullptr)
        return {};
    return first != nullptr ? "; revocation lists valid until " + inWords(first)
                            : "; revocation lists without an end";
}

}  // namespace

std::shared_ptr<const TlsMaterial> readTls(const TlsFiles& files,
                                           std::vector<TlsFileProblem>& problems) {
    ERR_clear_error();
    problems.clear();
    auto material = std::make_shared<TlsMaterial>();
    PemFile authorities(files.caFile, Of::Authorities, problems);
    if (authorities.isRead())
        authorities.checkTrust();
    material->authorities = readAuthorities(authorities);
    material->authorityNames = subjectsOf(material->authorities.get());
    PemFile own(files.keyFile, Of::Certificate, problems);
    if (own.isRead()) {
        checkMode(own);
        material->chain = readCertificates(own);
        if (material->chain)
            material->certificate.reset(sk_X509_shift(material->chain.get()));
        material->key = readKey(own, files.keyPassword);
        if (material->certificate && material->key)
            checkOwn(*material, own);
    }
    if (!files.crlFile.empty()) {
        PemFile lists(files.crlFile, Of::RevocationLists, problems);
        if (lists.isRead())
            lists.checkTrust();
        // without the authorities no list's issuer can be recognised
        if (material->authorities)
            material->revocationLists = readRevocationLists(lists, material->authorities.get());
    }
    return problems.empty() ? material : nullptr;
}

std::vector<TlsFileProblem> problemsOf(const TlsFiles& files) {
    std::vector<TlsFileProblem> problems;
    readTls(files, problems);
    return problems;
}

bool isSame(const TlsMaterial& one, const TlsMaterial& other) {
    return isSame(one.authorities.get(), other.authorities.get()) &&
           isSame(one.chain.get(), other.chain.get()) &&
           X509_cmp(one.certificate.get(), other.certificate.get()) == 0 &&
           EVP_PKEY_eq(one.key.get(), other.key.get()) == 1 &&
           isSame(one.revocationLists.get(), other.revocationLists.get());
}

std::string inWords(const TlsMaterial& material) {
    const X509* const certificate = material.certificate.get();
    return inWords(X509_get_subject_name(certificate)) + ", serial number " +
           serialNumberOf(certificate) + ", valid until " +
           inWords(X509_get0_notAfter(certificate)) + endOf(material.revocationLists.get());
}

}  // namespace kelp::orb
