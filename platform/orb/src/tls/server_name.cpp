#include "server_name.h"

#include <arpa/inet.h>
#include <kelp/util/trace_log.h>
#include <netdb.h>
#include <openssl/x509v3.h>
#include <sys/socket.h>

#include <memory>

#include "owned.h"

namespace kelp::orb {

namespace {

constexpr std::size_t kNamesBytesMax = 300;

using OwnedAddress = std::unique_ptr<ASN1_OCTET_STRING, FreedBy<ASN1_OCTET_STRING_free>>;
using OwnedGeneralNames = std::unique_ptr<GENERAL_NAMES, FreedBy<GENERAL_NAMES_free>>;

OwnedGeneralNames alternativeNamesOf(const X509* certificate) {
    return OwnedGeneralNames(static_cast<GENERAL_NAMES*>(
        X509_get_ext_d2i(certificate, NID_subject_alt_name, nullptr, nullptr)));
}

std::string textOf(const ASN1_STRING* text) {
    return {reinterpret_cast<const char*>(ASN1_STRING_get0_data(text)),
            static_cast<std::size_t>(ASN1_STRING_length(text))};
}

std::string commonNameOf(const X509* certificate) {
    const X509_NAME* const subject = X509_get_subject_name(certificate);
    const int at = X509_NAME_get_index_by_NID(subject, NID_commonName, -1);
    return at < 0 ? "" : textOf(X509_NAME_ENTRY_get_data(X509_NAME_get_entry(subject, at)));
}

std::string addressText(const ASN1_OCTET_STRING* octets) {
    const int length = ASN1_STRING_length(octets);
    char text[INET6_ADDRSTRLEN] = "unreadable";
    if (length == 4 || length == 16)
        ::inet_ntop(length == 4 ? AF_INET : AF_INET6, ASN1_STRING_get0_data(octets), text,
                    sizeof text);
    return text;
}

bool isNumeric(const std::string& host) {
    return OwnedAddress(a2i_IPADDRESS(host.c_str())) != nullptr;
}

}  // namespace

std::string calledHost(const SSL* connection) {
    // the called name is also the one that the server is asked for (SNI)
    if (const char* const name = SSL_get_servername(connection, TLSEXT_NAMETYPE_host_name);
        name != nullptr)
        return name;
    sockaddr_storage address{};
    socklen_t length = sizeof address;
    char host[NI_MAXHOST];
    auto* const generic = reinterpret_cast<sockaddr*>(&address);
    if (::getpeername(SSL_get_fd(connection), generic, &length) != 0 ||
        ::getnameinfo(generic, length, host, sizeof host, nullptr, 0, NI_NUMERICHOST) != 0)
        return {};
    // a link-local address ends in its interface
    const std::string text = host;
    return text.substr(0, text.find('%'));
}

bool isOfServer(X509* certificate, const std::string& host) {
    if (host.empty())
        return false;
    const bool hasAlternatives = X509_get_ext_by_NID(certificate, NID_subject_alt_name, -1) >= 0;
    if (isNumeric(host))
        return X509_check_ip_asc(certificate, host.c_str(), 0) == 1 ||
               (!hasAlternatives && commonNameOf(certificate) == host);
    const unsigned flags = X509_CHECK_FLAG_NO_PARTIAL_WILDCARDS |
                           (hasAlternatives ? X509_CHECK_FLAG_NEVER_CHECK_SUBJECT : 0U);
    return X509_check_host(certificate, host.data(), host.size(), flags, nullptr) == 1;
}

std::string namesOf(const X509* certificate) {
    if (X509_get_ext_by_NID(certificate, NID_subject_alt_name, -1) < 0)
        return util::escaped("CN:" + commonNameOf(certificate), kNamesBytesMax);
    const OwnedGeneralNames names = alternativeNamesOf(certificate);
    std::string text;
    for (int i = 0; i < sk_GENERAL_NAME_num(names.get()); ++i) {
        const GENERAL_NAME* const name = sk_GENERAL_NAME_value(names.get(), i);
        std::string each;
        if (name->type == GEN_DNS)
            each = "DNS:" + textOf(name->d.dNSName);
        else if (name->type == GEN_IPADD)
            each = "IP:" + addressText(name->d.iPAddress);
        if (!each.empty() && text.size() < kNamesBytesMax)
            text += (text.empty() ? "" : ", ") + each;
    }
    return text.empty() ? "no server" : util::escaped(text, kNamesBytesMax);
}

}  // namespace kelp::orb
