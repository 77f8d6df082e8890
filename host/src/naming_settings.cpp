#include "naming_settings.h"

#include <kelp/bundlemgr/config_store.h>
#include <kelp/orb/references.h>
#include <kelp/util/descriptor.h>
#include <netdb.h>
#include <sys/socket.h>

#include <cerrno>
#include <cstdint>
#include <memory>
#include <system_error>
#include <vector>

namespace kelp::host {

namespace {

using util::Descriptor;

using NS_BUNDLEMGR1::ConfigStore;

/// Return 0, or the errno that says why this process cannot listen on the address.
int listenProblem(const std::string& host, std::uint16_t port) {
    addrinfo hints{};
    hints.ai_socktype = SOCK_STREAM;
    hints.ai_flags = AI_PASSIVE;
    addrinfo* found = nullptr;
    if (::getaddrinfo(host.c_str(), std::to_string(port).c_str(), &hints, &found) != 0)
        return EADDRNOTAVAIL;
    const std::unique_ptr<addrinfo, decltype(&::freeaddrinfo)> addresses(found, &::freeaddrinfo);
    const Descriptor socket(::socket(found->ai_family, SOCK_STREAM | SOCK_CLOEXEC, 0));
    const int on = 1;
    ::setsockopt(socket.get(), SOL_SOCKET, SO_REUSEADDR, &on, sizeof on);
    if (::bind(socket.get(), found->ai_addr, found->ai_addrlen) != 0 ||
        ::listen(socket.get(), 1) != 0)
        return errno;
    return 0;
}

std::uint16_t configuredPort(const std::string& key) {
    return static_cast<std::uint16_t>(ConfigStore::instance().integer(key));
}

std::vector<std::uint16_t> configuredPorts() {
    const std::int64_t tlsMode = ConfigStore::instance().integer("tls.mode");
    std::vector<std::uint16_t> ports;
    if (tlsMode != kTlsOnly)
        ports.push_back(configuredPort("naming.port"));
    if (tlsMode != kTlsOff)
        ports.push_back(configuredPort("naming.ssl_port"));
    return ports;
}

}  // namespace

bool namingPortsAreFree(std::string& whyNot) {
    const std::string host = ConfigStore::instance().text("naming.host");
    for (const std::uint16_t port : configuredPorts()) {
        const int error = listenProblem(host, port);
        if (error == 0)
            continue;
        const std::string address = orb::hostAndPort({host, port, false});
        whyNot =
            error == EADDRINUSE
                ? address +
                      " is in use by another process; choose another [naming] port, or set "
                      "[naming] "
                      "embedded = false to use the naming service that runs there"
                : "cannot listen on " + address + ": " + std::generic_category().message(error);
        return false;
    }
    return true;
}

std::string configuredNamingAddress() {
    const ConfigStore& config = ConfigStore::instance();
    const bool overTls = config.integer("tls.mode") == kTlsOnly;
    const std::uint16_t port = configuredPort(overTls ? "naming.ssl_port" : "naming.port");
    return (overTls ? "corbaloc:ssliop:1.2@" : "corbaloc:iiop:1.2@") +
           orb::hostAndPort({config.text("naming.host"), port, overTls}) + "/NameService";
}

}  // namespace kelp::host
