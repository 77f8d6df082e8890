#include <kelp/orb/tls_suites.h>
#include <kelp/util/trace_log.h>
#include <openssl/err.h>
#include <openssl/ssl.h>

#include <string_view>
#include <vector>

#include "context.h"
#include "owned.h"

namespace kelp::orb {

namespace {

constexpr std::size_t kShownBytesMax = 100;

std::string shown(std::string_view part) {
    return "\"" + util::escaped(std::string(part), kShownBytesMax) + "\"";
}

OwnedContext freshContext() {
    OwnedContext context(SSL_CTX_new(TLS_method()));
    if (context)
        requireTlsStrength(context.get());
    return context;
}

std::vector<std::string> partsOf(const std::string& list, const char* separators) {
    std::vector<std::string> parts;
    for (std::size_t from = 0; from <= list.size();) {
        const std::size_t end = std::min(list.find_first_of(separators, from), list.size());
        if (end > from)
            parts.push_back(list.substr(from, end - from));
        from = end + 1;
    }
    return parts;
}

/// Return why a suite of TLS 1.2 is refused; empty when it is not.
std::string weaknessOf(const SSL_CIPHER* suite) {
    const int exchange = SSL_CIPHER_get_kx_nid(suite);
    const int proof = SSL_CIPHER_get_auth_nid(suite);
    if (exchange != NID_kx_ecdhe && exchange != NID_kx_dhe)
        return "has no forward secrecy";
    if (proof != NID_auth_rsa && proof != NID_auth_ecdsa)
        return "is not for an RSA or ECDSA certificate";
    return SSL_CIPHER_is_aead(suite) == 1 ? "" : "has no authenticated encryption";
}

bool isOfTls13(const SSL_CIPHER* suite) {
    return SSL_CIPHER_get_kx_nid(suite) == NID_kx_any;
}

/// Return whether a part of a list names suites that exist. A part that removes suites may name
/// ones that the library does not have.
bool isKnownPart(const std::string& part) {
    if (part.front() == '!' || part.front() == '-' || part.front() == '@')
        return true;
    const OwnedContext context = freshContext();
    const std::string name = part.front() == '+' ? part.substr(1) : part;
    return context && SSL_CTX_set_cipher_list(context.get(), name.c_str()) == 1;
}

std::string problemOfList(SSL_CTX* context, const std::string& ciphers) {
    for (const std::string& part : partsOf(ciphers, ":, ;")) {
        if (!isKnownPart(part))
            return shown(part) + " names no cipher suite of TLS 1.2";
    }
    const int levelBefore = SSL_CTX_get_security_level(context);
    if (SSL_CTX_set_cipher_list(context, ciphers.c_str()) != 1)
        return "names no cipher suite of TLS 1.2";
    if (SSL_CTX_get_security_level(context) < levelBefore)
        return "must not lower the security level to " +
               std::to_string(SSL_CTX_get_security_level(context));
    const STACK_OF(SSL_CIPHER)* const suites = SSL_CTX_get_ciphers(context);
    for (int i = 0; i < sk_SSL_CIPHER_num(suites); ++i) {
        const SSL_CIPHER* const suite = sk_SSL_CIPHER_value(suites, i);
        const std::string weakness = isOfTls13(suite) ? "" : weaknessOf(suite);
        if (!weakness.empty())
            return "has the suite " + std::string(SSL_CIPHER_get_name(suite)) + ", which " +
                   weakness;
    }
    return {};
}

bool isKnownSuite(SSL_CTX* context, const std::string& name) {
    if (SSL_CTX_set_ciphersuites(context, name.c_str()) != 1)
        return false;
    // some releases of the library ignore names that they do not know
    const STACK_OF(SSL_CIPHER)* const suites = SSL_CTX_get_ciphers(context);
    for (int i = 0; i < sk_SSL_CIPHER_num(suites); ++i) {
        if (name == SSL_CIPHER_get_name(sk_SSL_CIPHER_value(suites, i)))
            return true;
    }
    return false;
}

}  // namespace

std::string problemOfTlsCiphers(const std::string& ciphers) {
    const OwnedContext context = freshContext();
    std::string problem = context ? problemOfList(context.get(), ciphers) : "cannot be checked";
    ERR_clear_error();
    return problem;
}

std::string problemOfTlsCipherSuites(const std::string& suites) {
    const OwnedContext context = freshContext();
    const std::vector<std::string> names = partsOf(suites, ":");
    std::string problem = !context        ? "cannot be checked"
                          : names.empty() ? "names no cipher suite of TLS 1.3"
                                          : "";
    for (std::size_t i = 0; problem.empty() && i < names.size(); ++i) {
        if (!isKnownSuite(context.get(), names[i]))
            problem = shown(names[i]) + " names no cipher suite of TLS 1.3";
    }
    ERR_clear_error();
    return problem;
}

}  // namespace kelp::orb
