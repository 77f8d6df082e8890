#include "local_address.h"

#include <kelp/nms/error.h>
#include <kelp/orb/references.h>
#include <netdb.h>
#include <sys/socket.h>
#include <unistd.h>

#include <memory>

namespace kelp::nms {

namespace {

constexpr const char* kNamingServicePort = "2809";

bool fromReference(const std::string& text, std::string& host, std::string& port) {
    orb::ReferenceContent content;
    if (!orb::decodeReference(text, content) || content.endpoints.empty())
        return false;
    host = content.endpoints.front().host;
    port = std::to_string(content.endpoints.front().port);
    return true;
}

/// Read an address in the form "HOST", "HOST:PORT" or "[IPV6]:PORT".
bool fromAddress(const std::string& address, std::string& host, std::string& port) {
    port = kNamingServicePort;
    std::size_t afterHost = address.find(':');
    if (!address.empty() && address.front() == '[') {
        const std::size_t bracket = address.find(']');
        if (bracket == std::string::npos)
            return false;
        host = address.substr(1, bracket - 1);
        afterHost = address.find(':', bracket);
    } else {
        host = address.substr(0, afterHost);
    }
    if (afterHost != std::string::npos)
        port = address.substr(afterHost + 1);
    return !host.empty() && !port.empty();
}

}  // namespace

bool namingAddress(const std::string& naming, std::string& host, std::string& port) {
    if (naming.rfind("IOR:", 0) == 0)
        return fromReference(naming, host, port);
    const std::string scheme = "corbaloc:";
    if (naming.rfind(scheme, 0) != 0)
        return false;
    // corbaloc:<protocol>:[<version>@]<address>[,<more>]/<key>
    const std::size_t afterProtocol = naming.find(':', scheme.size());
    if (afterProtocol == std::string::npos)
        return false;
    std::string address = naming.substr(afterProtocol + 1);
    address = address.substr(0, address.find_first_of(",/"));
    const std::size_t version = address.find('@');
    if (version != std::string::npos)
        address = address.substr(version + 1);
    return fromAddress(address, host, port);
}

std::string localAddressTowards(const std::string& host, const std::string& port) {
    addrinfo hints{};
    hints.ai_socktype = SOCK_DGRAM;
    addrinfo* found = nullptr;
    if (const int problem = ::getaddrinfo(host.c_str(), port.c_str(), &hints, &found); problem != 0)
        throw Unreachable("no address for the host \"" + host + "\": " + ::gai_strerror(problem));
    const std::unique_ptr<addrinfo, decltype(&::freeaddrinfo)> addresses(found, &::freeaddrinfo);

    for (const addrinfo* each = addresses.get(); each != nullptr; each = each->ai_next) {
        const int socket =
            ::socket(each->ai_family, each->ai_socktype | SOCK_CLOEXEC, each->ai_protocol);
        if (socket < 0)
            continue;
        // connecting a datagram socket only selects the route; it sends nothing
        sockaddr_storage local{};
        socklen_t length = sizeof local;
        const bool known = ::connect(socket, each->ai_addr, each->ai_addrlen) == 0 &&
                           ::getsockname(socket, reinterpret_cast<sockaddr*>(&local), &length) == 0;
        ::close(socket);
        char text[NI_MAXHOST];
        if (known && ::getnameinfo(reinterpret_cast<const sockaddr*>(&local), length, text,
                                   sizeof text, nullptr, 0, NI_NUMERICHOST) == 0)
            return text;
    }
    throw Unreachable("no way from this host to \"" + host +
                      "\"; say with --listen where the EMS can reach you");
}

}  // namespace kelp::nms
