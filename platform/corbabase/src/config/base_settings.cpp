#include "config/base_settings.h"

#include <kelp/bundlemgr/config_schema.h>
#include <kelp/bundlemgr/config_store.h>
#include <kelp/corbabase/tls_settings.h>
#include <kelp/orb/references.h>

#include <algorithm>
#include <cstdint>
#include <vector>

#include "naming/embedded_naming.h"

namespace NS_CORBA {

const NS_BUNDLEMGR1::ConfigStore& config() {
    return NS_BUNDLEMGR1::ConfigStore::instance();
}

int number(const std::string& key) {
    return static_cast<int>(config().integer(key));
}

namespace {

constexpr int kTlsOnly = 2;

bool readTlsOptions(kelp::orb::OrbOptions& options, std::string& whyNot) {
    const std::optional<kelp::orb::TlsFiles> files = configuredTlsFiles(whyNot);
    if (!files)
        return false;
    options.tlsListen = {config().text("tls.listen")};
    options.tlsCaFile = files->caFile;
    options.tlsKeyFile = files->keyFile;
    options.tlsKeyPassword = files->keyPassword;
    options.tlsCrlFile = files->crlFile;
    options.tlsCiphers = config().text("tls.ciphers");
    options.tlsCipherSuites = config().text("tls.cipher_suites");
    options.tlsCallsOnly = options.listen.empty();
    options.tlsRequirePeerCertificate = config().text("tls.verify") == "require";
    return true;
}

std::size_t count(const std::string& key) {
    return static_cast<std::size_t>(config().integer(key));
}

kelp::orb::GateLimits readGateLimits() {
    kelp::orb::GateLimits limits;
    limits.connectionsMax = static_cast<unsigned>(count("orb.connections_max"));
    limits.connectionsPerAddressMax =
        static_cast<unsigned>(count("orb.connections_per_address_max"));
    limits.connectionsReserved = static_cast<unsigned>(count("orb.connections_reserved"));
    limits.unfinishedBytesMax = count("orb.unfinished_bytes_max");
    limits.messageBytesBeforeLogin = count("access.message_bytes_before_login");
    limits.headerTimeout = std::chrono::seconds(config().integer("orb.header_timeout_s"));
    limits.inputRateMin = count("orb.input_rate_min");
    limits.locatesPerSecond = static_cast<unsigned>(count("orb.locate_requests_max"));
    limits.locatesPerSecondBeforeLogin =
        static_cast<unsigned>(count("access.locate_requests_before_login"));
    limits.tlsHandshakesMax = static_cast<unsigned>(count("tls.handshakes_max"));
    limits.tlsHandshakesPerAddressMax =
        static_cast<unsigned>(count("tls.handshakes_per_address_max"));
    return limits;
}

std::string hostOf(const std::string& address) {
    return address.substr(0, address.rfind(':'));
}

/// True when a listener at `listen` serves callers of `address`.
bool covers(const std::string& listen, const std::string& address) {
    const std::string host = hostOf(listen);
    const bool isWildcard = host.empty() || host == "0.0.0.0" || host == "[::]";
    return listen == address ||
           (isWildcard && listen.substr(host.size()) == address.substr(hostOf(address).size()));
}

/// Return the additional address to listen on for the embedded naming service; none when an
/// existing listener serves it.
std::vector<std::string> namingListen(const char* portKey, const std::vector<std::string>& listen) {
    const std::string address =
        kelp::orb::hostAndPort({config().text("naming.host"),
                                static_cast<std::uint16_t>(config().integer(portKey)), false});
    const bool isServed = std::any_of(listen.begin(), listen.end(), [&](const std::string& each) {
        return covers(each, address);
    });
    return isServed ? std::vector<std::string>() : std::vector<std::string>{address};
}

}  // namespace

SessionSettings readSessionSettings() {
    SessionSettings settings;
    settings.releaseStrategy = number("session.release_strategy");
    settings.pingMode = config().flag("session.ping_mode");
    settings.pingIntervalS = number("session.ping_interval_s");
    settings.callTimeoutS = number("session.call_timeout_s");
    settings.silentTimeS = number("session.silent_time_s");
    settings.pingThreads = number("session.ping_threads");
    settings.callIsLife = config().flag("session.call_is_life");
    return settings;
}

std::optional<kelp::orb::OrbOptions> readOrbOptions(std::string& whyNot) {
    kelp::orb::OrbOptions options;
    const int tlsMode = number("tls.mode");
    if (tlsMode != kTlsOnly)
        options.listen = {config().text("orb.listen")};
    if (tlsMode != 0 && !readTlsOptions(options, whyNot))
        return std::nullopt;
    if (EmbeddedNaming::instance().isWanted()) {
        if (tlsMode != kTlsOnly)
            options.keyListen = namingListen("naming.port", options.listen);
        if (tlsMode != 0)
            options.tlsKeyListen = namingListen("naming.ssl_port", options.tlsListen);
    }
    options.publish = config().text("orb.publish");
    options.threadsMax = static_cast<unsigned>(config().integer("orb.threads_max"));
    options.messageBytesMax = static_cast<std::size_t>(config().integer("orb.message_bytes_max"));
    options.charSet = config().text("orb.char_set");
    using Unconvertible = kelp::orb::OrbOptions::Unconvertible;
    options.unconvertible = config().text("orb.unconvertible") == "question_mark"
                                ? Unconvertible::QuestionMark
                                : Unconvertible::Refuse;
    using Transport = kelp::orb::OrbOptions::Transport;
    options.transport = config().text("orb.transport") == "orb" ? Transport::Orb : Transport::Gate;
    options.gateLimits = readGateLimits();
    return options;
}

std::string listenText(const kelp::orb::OrbOptions& options) {
    std::string text;
    const auto add = [&text](const std::vector<std::string>& addresses, const char* what) {
        for (const std::string& address : addresses)
            text += (text.empty() ? "" : ", ") + address + what;
    };
    add(options.listen, "");
    add(options.tlsListen, " (TLS)");
    add(options.keyListen, " (naming service)");
    add(options.tlsKeyListen, " (naming service, TLS)");
    return text;
}

bool isManagerOffered(const std::string& name) {
    constexpr const char* key = "managers.offered";
    const auto holds = [&name](const std::vector<std::string>& names) {
        return std::find(names.begin(), names.end(), name) != names.end();
    };
    return !holds(NS_BUNDLEMGR1::findConfigKey(key)->choices) || holds(config().texts(key));
}

ServiceAddress readServiceAddress(const std::string& table) {
    return {config().text(table + ".host"), number(table + ".port"), number(table + ".ssl_port")};
}

}  // namespace NS_CORBA
