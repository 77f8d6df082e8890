#include "browser_rules.h"

#include <arpa/inet.h>
#include <kelp/util/trace_log.h>

#include <algorithm>
#include <cctype>

namespace kelp::host {

namespace {

/// Maximum length of a header's value in a refusal.
constexpr std::size_t kHeaderBytesShown = 100;
constexpr std::uint32_t kLoopbackNet = 127;

/// Scripts and styles only from separate files of the page, data only from this host, and no text
/// may become a part of the document (trusted types).
constexpr const char* kContentSecurityPolicy =
    "default-src 'none'; script-src 'self'; style-src 'self'; connect-src 'self'; img-src data:; "
    "base-uri 'none'; form-action 'none'; frame-ancestors 'none'; "
    "require-trusted-types-for 'script'; trusted-types 'none'";

bool isPort(std::string_view text) {
    return std::all_of(text.begin(), text.end(),
                       [](unsigned char each) { return std::isdigit(each) != 0; });
}

/// The name in "name", "name:port" or "[address]:port"; empty when it is none of these.
std::string_view nameIn(std::string_view host) {
    const std::size_t nameEnd = host.starts_with('[') ? host.find(']') + 1 : host.find(':');
    const std::string_view name = host.substr(0, nameEnd);
    const std::string_view rest = host.substr(name.size());
    const bool isComplete = rest.empty() || (rest.starts_with(':') && isPort(rest.substr(1)));
    return isComplete ? name : std::string_view();
}

bool isLoopbackAddress(const std::string& text) {
    in_addr address{};
    return ::inet_pton(AF_INET, text.c_str(), &address) == 1 &&
           ntohl(address.s_addr) >> 24 == kLoopbackNet;
}

bool isLocalhost(std::string_view name) {
    constexpr std::string_view kLocalhost = "localhost";
    return std::equal(name.begin(), name.end(), kLocalhost.begin(), kLocalhost.end(),
                      [](unsigned char a, char b) { return std::tolower(a) == b; });
}

std::string inQuotes(const std::string& header) {
    return "\"" + util::escaped(header, kHeaderBytesShown) + "\"";
}

}  // namespace

bool isNameOfThisMachine(std::string_view host, AdminTransport transport) {
    const bool isFree = transport == AdminTransport::UnixSocket;
    if (isFree && host.starts_with('/'))
        return true;
    const std::string_view name = nameIn(host);
    return isLocalhost(name) || name == "[::1]" || isLoopbackAddress(std::string(name)) ||
           (isFree && !name.empty() && name.find_first_of(".[") == std::string_view::npos);
}

std::string signOfForeignPage(const httplib::Request& request, AdminTransport transport) {
    const std::string host = request.get_header_value("Host");
    if (request.get_header_value_count("Host") > 1)
        return "the header Host appears twice";
    // over the network the password is bound to the name by the certificate
    const bool isAnyName = transport == AdminTransport::Network;
    if (!host.empty() && !isAnyName && !isNameOfThisMachine(host, transport))
        return "the header Host does not name this machine: " + inQuotes(host);
    const std::string origin = request.get_header_value("Origin");
    if (request.get_header_value_count("Origin") > 1 ||
        (!origin.empty() && origin != (isAnyName ? "https://" : "http://") + host))
        return "the request was sent by another page: " + inQuotes(origin);
    return {};
}

httplib::Headers headersForBrowsers() {
    return {{"Content-Security-Policy", kContentSecurityPolicy},
            {"X-Content-Type-Options", "nosniff"},
            {"X-Frame-Options", "DENY"},
            {"Referrer-Policy", "no-referrer"},
            {"Cache-Control", "no-store"},
            {"Cross-Origin-Opener-Policy", "same-origin"},
            {"Cross-Origin-Resource-Policy", "same-origin"}};
}

}  // namespace kelp::host
