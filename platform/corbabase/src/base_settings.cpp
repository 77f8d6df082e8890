#include "base_settings.h"

#include <kelp/bundlemgr/config_store.h>

#include <arpa/inet.h>
#include <netinet/in.h>

#include <fstream>
#include <vector>

namespace NS_CORBA {

namespace {

const NS_BUNDLEMGR1::ConfigStore& config() {
    return NS_BUNDLEMGR1::ConfigStore::instance();
}

int number(const std::string& key) {
    return static_cast<int>(config().integer(key));
}

constexpr int kTlsOnly = 2;

/// The host of "host:port", "[ipv6]:port" or a bare host.
std::string hostOf(const std::string& address) {
    if (!address.empty() && address.front() == '[')
        return address.substr(1, address.find(']') - 1);
    const std::size_t colon = address.rfind(':');
    if (colon == std::string::npos || address.find(':') != colon)
        return address;
    return address.substr(0, colon);
}

bool isWildcard(const std::string& address) {
    const std::string host = hostOf(address);
    in_addr ipv4{};
    if (::inet_pton(AF_INET, host.c_str(), &ipv4) == 1)
        return ipv4.s_addr == INADDR_ANY;
    in6_addr ipv6{};
    if (::inet_pton(AF_INET6, host.c_str(), &ipv6) == 1)
        return IN6_IS_ADDR_UNSPECIFIED(&ipv6) != 0;
    return host.empty() || host == "*";
}

/// The first line of a file, without its line end. False when the file cannot be read.
bool firstLine(const std::string& file, std::string& line) {
    std::ifstream in(file);
    if (!in)
        return false;
    std::getline(in, line);
    if (!line.empty() && line.back() == '\r')
        line.pop_back();
    return !in.bad();
}

bool readTlsOptions(kelp::orb::OrbOptions& options, std::string& whyNot) {
    options.tlsListen = {config().text("tls.listen")};
    options.tlsCaFile = config().text("tls.ca");
    options.tlsKeyFile = config().text("tls.certificate");
    options.tlsRequirePeerCertificate = config().text("tls.verify") == "require";
    for (const auto& [key, file] :
         {std::pair{"tls.ca", options.tlsCaFile}, {"tls.certificate", options.tlsKeyFile}}) {
        if (file.empty() || !std::ifstream(file)) {
            whyNot =
                std::string(key) + ": TLS is switched on and needs a readable PEM file, not \"" + file + "\"";
            return false;
        }
    }
    const std::string passwordFile = config().text("tls.key_password_file");
    if (!passwordFile.empty() && !firstLine(passwordFile, options.tlsKeyPassword)) {
        whyNot = "tls.key_password_file: cannot read \"" + passwordFile + "\"";
        return false;
    }
    return true;
}

bool checkPublished(const kelp::orb::OrbOptions& options, std::string& whyNot) {
    if (!options.publish.empty())
        return true;
    for (const auto* addresses : {&options.listen, &options.tlsListen}) {
        for (const std::string& address : *addresses) {
            if (isWildcard(address)) {
                whyNot =
                    "orb.publish: must say which address references shall carry, as the agent listens on "
                    "every "
                    "address (\"" +
                    address + "\")";
                return false;
            }
        }
    }
    return true;
}

}  // namespace

SessionSettings readSessionSettings() {
    SessionSettings settings;
    settings.releaseStrategy = number("session.release_strategy");
    settings.pingMode = config().flag("session.ping_mode");
    settings.pingIntervalS = number("session.ping_interval_s");
    settings.callTimeoutS = number("session.call_timeout_s");
    settings.silentTimeS = number("session.silent_time_s");
    return settings;
}

std::optional<kelp::orb::OrbOptions> readOrbOptions(std::string& whyNot) {
    kelp::orb::OrbOptions options;
    const int tlsMode = number("tls.mode");
    if (tlsMode != kTlsOnly)
        options.listen = {config().text("orb.listen")};
    if (tlsMode != 0 && !readTlsOptions(options, whyNot))
        return std::nullopt;
    options.publish = config().text("orb.publish");
    options.threadsMax = static_cast<unsigned>(config().integer("orb.threads_max"));
    options.messageBytesMax = static_cast<std::size_t>(config().integer("orb.message_bytes_max"));
    options.charSet = config().text("orb.char_set");
    if (!checkPublished(options, whyNot))
        return std::nullopt;
    return options;
}

std::string problemOfEmsIdentity() {
    const std::string name = config().text("ems.name");
    const std::size_t separator = name.find_first_of("/:");
    const bool twoParts = separator != std::string::npos && separator > 0 && separator + 1 < name.size() &&
                          name.find_first_of("/: ", separator + 1) == std::string::npos &&
                          name.find(' ') == std::string::npos;
    if (!twoParts)
        return "ems.name: \"" + name + "\" is not of the form CompanyName/EMSName";
    if (config().text("ems.version").empty())
        return "ems.version: must not be empty";
    return {};
}

std::string listenText(const kelp::orb::OrbOptions& options) {
    std::string text;
    for (const std::string& address : options.listen)
        text += (text.empty() ? "" : ", ") + address;
    for (const std::string& address : options.tlsListen)
        text += (text.empty() ? "" : ", ") + address + " (TLS)";
    return text;
}

ServiceAddress readServiceAddress(const std::string& table) {
    return {config().text(table + ".host"), number(table + ".port"), number(table + ".ssl_port")};
}

}  // namespace NS_CORBA
