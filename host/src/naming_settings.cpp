#include "naming_settings.h"

#include "start_failure.h"

#include <kelp/bundlemgr/config_store.h>
#include <kelp/corbabase/tls_settings.h>
#include <kelp/orb/references.h>
#include <kelp/util/descriptor.h>

#include <fcntl.h>
#include <netdb.h>
#include <sys/socket.h>

#include <cerrno>
#include <fstream>
#include <memory>
#include <system_error>

namespace kelp::host {

namespace {

using util::Descriptor;

using NS_BUNDLEMGR1::ConfigStore;

/// Values of tls.mode.
constexpr std::int64_t kTlsOff = 0;
constexpr std::int64_t kTlsOnly = 2;

/// 0, or why nobody can listen on the address now.
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
    if (::bind(socket.get(), found->ai_addr, found->ai_addrlen) != 0 || ::listen(socket.get(), 1) != 0)
        return errno;
    return 0;
}

std::uint16_t configuredPort(const std::string& key) {
    return static_cast<std::uint16_t>(ConfigStore::instance().integer(key));
}

NamingTls configuredTls() {
    std::string whyNot;
    const std::optional<orb::TlsFiles> files = NS_CORBA::configuredTlsFiles(whyNot);
    if (!files)
        throw StartFailure{kConfigurationError, whyNot};
    return {configuredPort("naming.ssl_port"), *files,
            ConfigStore::instance().text("tls.verify") == "require"};
}

}  // namespace

std::vector<std::uint16_t> portsOf(const NamingSettings& settings) {
    std::vector<std::uint16_t> ports;
    if (settings.port)
        ports.push_back(*settings.port);
    if (settings.tls)
        ports.push_back(settings.tls->port);
    return ports;
}

std::vector<std::string> endpointsOf(const NamingSettings& settings) {
    std::vector<std::string> endpoints;
    if (settings.port)
        endpoints.push_back("giop:tcp:" + orb::hostAndPort({settings.host, *settings.port, false}));
    if (settings.tls)
        endpoints.push_back("giop:ssl:" + orb::hostAndPort({settings.host, settings.tls->port, true}));
    return endpoints;
}

bool portsAreFree(const NamingSettings& settings, std::string& whyNot) {
    for (const std::uint16_t port : portsOf(settings)) {
        const int error = listenProblem(settings.host, port);
        if (error == 0)
            continue;
        const std::string address = orb::hostAndPort({settings.host, port, false});
        whyNot = error == EADDRINUSE
                     ? address +
                           " is in use by another process; choose another [naming] port, or set [naming] "
                           "embedded = false to use the naming service that runs there"
                     : "cannot listen on " + address + ": " + std::generic_category().message(error);
        return false;
    }
    return true;
}

bool writeOrbOptions(const NamingSettings& settings, const std::filesystem::path& file, std::string& whyNot) {
    std::error_code ignored;
    std::filesystem::remove(file, ignored);
    // made before it is written, so that nobody else can open it in between
    const Descriptor made(::open(file.c_str(), O_WRONLY | O_CREAT | O_EXCL | O_CLOEXEC, 0600));
    std::ofstream out(file);
    if (const auto& tls = settings.tls; tls) {
        const std::string& password = tls->files.keyPassword;
        out << "sslCAFile = " << tls->files.caFile << '\n'
            << "sslKeyFile = " << tls->files.keyFile
            << '\n'
            // the transport takes no empty password, even where it needs none
            << "sslKeyPassword = " << (password.empty() ? "none" : password) << '\n'
            << "sslVerifyMode = " << (tls->requirePeerCertificate ? "peer,fail" : "peer") << '\n';
    }
    if (made.isOpen() && out.flush())
        return true;
    whyNot = "cannot write " + file.string();
    return false;
}

NamingSettings configuredNaming() {
    const ConfigStore& config = ConfigStore::instance();
    const std::int64_t tlsMode = config.integer("tls.mode");
    NamingSettings settings;
    settings.host = config.text("naming.host");
    settings.port.reset();
    if (tlsMode != kTlsOnly)
        settings.port = configuredPort("naming.port");
    if (tlsMode != kTlsOff)
        settings.tls = configuredTls();
    settings.dataDirectory = config.text("naming.data_dir");
    if (settings.dataDirectory.empty())
        settings.dataDirectory = NS_BUNDLEMGR1::defaultStateDirectory() / "naming";
    return settings;
}

std::string configuredNamingAddress() {
    const ConfigStore& config = ConfigStore::instance();
    const bool overTls = config.integer("tls.mode") == kTlsOnly;
    const std::uint16_t port = configuredPort(overTls ? "naming.ssl_port" : "naming.port");
    return (overTls ? "corbaloc:ssliop:1.2@" : "corbaloc:iiop:1.2@") +
           orb::hostAndPort({config.text("naming.host"), port, overTls}) + "/NameService";
}

}  // namespace kelp::host
