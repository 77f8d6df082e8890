#include "base_settings.h"

#include <kelp/bundlemgr/config_store.h>

#include <fstream>

namespace NS_CORBA {

namespace {

const NS_BUNDLEMGR1::ConfigStore& config() {
    return NS_BUNDLEMGR1::ConfigStore::instance();
}

int number(const std::string& key) {
    return static_cast<int>(config().integer(key));
}

constexpr int kTlsOnly = 2;

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
    const std::string passwordFile = config().text("tls.key_password_file");
    if (passwordFile.empty() || firstLine(passwordFile, options.tlsKeyPassword))
        return true;
    whyNot = "tls.key_password_file: cannot read \"" + passwordFile + "\"";
    return false;
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
    return options;
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
