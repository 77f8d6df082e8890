#include "tls_material.h"

#include <kelp/util/descriptor.h>
#include <kelp/util/trace_log.h>

#include <fcntl.h>
#include <openssl/err.h>
#include <openssl/pem.h>
#include <openssl/x509.h>
#include <unistd.h>

#include <algorithm>
#include <cerrno>
#include <cstring>
#include <ctime>
#include <optional>
#include <system_error>

namespace kelp::orb {

namespace {

using OwnedBio = std::unique_ptr<BIO, FreedBy<BIO_free>>;
using Of = TlsFileProblem::Of;

constexpr std::size_t kFileBytesMax = 16 << 20;
constexpr std::size_t kNameBytesMax = 300;

/// One file: its text, and what is found wrong with it.
class PemFile {
  public:
    PemFile(std::string name, Of of, std::vector<TlsFileProblem>& problems)
        : name_(std::move(name)), of_(of), problems_(problems) {
        read();
    }

    bool isRead() const { return text_.has_value(); }
    OwnedBio open() const {
        return OwnedBio(BIO_new_mem_buf(text_->data(), static_cast<int>(text_->size())));
    }
    bool contains(const char* part) const { return text_->find(part) != std::string::npos; }
    void wrong(const std::string& what) { wrong(of_, what); }
    void wrong(Of of, const std::string& what) {
        problems_.push_back({of, kelp::util::escaped(name_, kNameBytesMax) + " " + what});
    }

  private:
    void read() {
        // a pipe without a writer is an empty file, not one to wait for
        const util::Descriptor file(::open(name_.c_str(), O_RDONLY | O_NONBLOCK | O_CLOEXEC));
        std::string text;
        ssize_t got = file.isOpen() ? 1 : -1;
        for (char block[8192]; got > 0 && text.size() <= kFileBytesMax;) {
            got = ::read(file.get(), block, sizeof block);
            if (got > 0)
                text.append(block, static_cast<std::size_t>(got));
        }
        if (got < 0)
            wrong("cannot be read: " + std::generic_category().message(errno));
        else if (text.size() > kFileBytesMax)
            wrong("is too long for a file of certificates");
        else
            text_ = std::move(text);
    }

    const std::string name_;
    const Of of_;
    std::vector<TlsFileProblem>& problems_;
    std::optional<std::string> text_;
};

std::string inWords(const ASN1_TIME* time) {
    std::tm parts{};
    if (ASN1_TIME_to_tm(time, &parts) != 1)
        return "an unreadable time";
    char text[32];
    return {text, std::strftime(text, sizeof text, "%Y-%m-%d %H:%M:%S UTC", &parts)};
}

bool hasEnded(const X509* certificate) {
    return X509_cmp_current_time(X509_get0_notAfter(certificate)) < 0;
}

bool hasBegun(const X509* certificate) {
    return X509_cmp_current_time(X509_get0_notBefore(certificate)) < 0;
}

/// All of the file's certificates; none, and the problem, when there is not one or one is damaged.
OwnedCertificates readCertificates(PemFile& file) {
    const OwnedBio in = file.open();
    OwnedCertificates all(sk_X509_new_null());
    while (X509* const certificate = PEM_read_bio_X509(in.get(), nullptr, nullptr, nullptr))
        sk_X509_push(all.get(), certificate);
    const bool isAtTheEnd = ERR_GET_REASON(ERR_peek_last_error()) == PEM_R_NO_START_LINE;
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

/// What is given to the TLS library when it finds a key encrypted.
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
    std::memcpy(buffer, text.data(), text.size());
    return static_cast<int>(text.size());
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

/// Whether the library would show this in a handshake; it refuses short keys and weak signatures.
bool isAccepted(const TlsMaterial& material, std::string& whyNot) {
    const std::unique_ptr<SSL_CTX, FreedBy<SSL_CTX_free>> context(SSL_CTX_new(TLS_method()));
    const bool isGood = context && SSL_CTX_use_cert_and_key(context.get(), material.certificate.get(),
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
        file.wrong("holds a certificate that has ended at " + inWords(X509_get0_notAfter(certificate)));
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

std::string subjectOf(const X509* certificate) {
    const OwnedBio out(BIO_new(BIO_s_mem()));
    X509_NAME_print_ex(out.get(), X509_get_subject_name(certificate), 0,
                       XN_FLAG_ONELINE & ~ASN1_STRFLGS_ESC_MSB);
    char* text = nullptr;
    const long length = BIO_get_mem_data(out.get(), &text);
    return util::escaped(std::string(text, static_cast<std::size_t>(std::max(length, 0L))), kNameBytesMax);
}

std::string serialNumberOf(const X509* certificate) {
    const std::unique_ptr<BIGNUM, FreedBy<BN_free>> number(
        ASN1_INTEGER_to_BN(X509_get0_serialNumber(certificate), nullptr));
    char* const digits = number ? BN_bn2hex(number.get()) : nullptr;
    const std::string text = digits != nullptr ? digits : "unknown";
    OPENSSL_free(digits);
    return text;
}

}  // namespace

std::shared_ptr<const TlsMaterial> readTls(const TlsFiles& files, std::vector<TlsFileProblem>& problems) {
    ERR_clear_error();
    problems.clear();
    auto material = std::make_shared<TlsMaterial>();
    PemFile authorities(files.caFile, Of::Authorities, problems);
    material->authorities = readAuthorities(authorities);
    PemFile own(files.keyFile, Of::Certificate, problems);
    if (own.isRead()) {
        material->chain = readCertificates(own);
        if (material->chain)
            material->certificate.reset(sk_X509_shift(material->chain.get()));
        material->key = readKey(own, files.keyPassword);
        if (material->certificate && material->key)
            checkOwn(*material, own);
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
           EVP_PKEY_eq(one.key.get(), other.key.get()) == 1;
}

std::string inWords(const TlsMaterial& material) {
    const X509* const certificate = material.certificate.get();
    return subjectOf(certificate) + ", serial number " + serialNumberOf(certificate) + ", valid until " +
           inWords(X509_get0_notAfter(certificate));
}

std::string tlsErrorText() {
    const unsigned long error = ERR_get_error();
    ERR_clear_error();
    const char* const reason = ERR_reason_error_string(error);
    if (reason != nullptr)
        return reason;
    char text[256];
    ERR_error_string_n(error, text, sizeof text);
    return text;
}

}  // namespace kelp::orb
