#include "config_checks.h"

#include <arpa/inet.h>
#include <kelp/util/host_name.h>
#include <kelp/util/naming_path.h>
#include <kelp/util/trace_log.h>
#include <unistd.h>

#include <algorithm>
#include <cctype>
#include <cerrno>
#include <cstddef>
#include <optional>
#include <set>
#include <system_error>

#include "config_document.h"
#include "config_naming.h"
#include "network_text.h"

namespace NS_BUNDLEMGR1 {

namespace {

const std::string& textOf(const ConfigDocument& document, const std::string& key) {
    return std::get<std::string>(document.values.at(key));
}
const std::vector<std::string>& textsOf(const ConfigDocument& document, const std::string& key) {
    return std::get<std::vector<std::string>>(document.values.at(key));
}
std::int64_t integerOf(const ConfigDocument& document, const std::string& key) {
    return std::get<std::int64_t>(document.values.at(key));
}
bool flagOf(const ConfigDocument& document, const std::string& key) {
    return std::get<bool>(document.values.at(key));
}

std::string shown(const std::string& text) {
    return "\"" + kelp::util::escaped(text, 200) + "\"";
}

bool isPrintable(const std::string& text) {
    return std::none_of(text.begin(), text.end(), [](char c) {
        const auto byte = static_cast<unsigned char>(c);
        return byte <= 0x20 || byte == 0x7f;
    });
}

void checkEmsName(ConfigDocument& document) {
    const std::string& name = textOf(document, "ems.name");
    const std::size_t slash = name.find('/');
    const bool hasBothParts = slash != std::string::npos && slash > 0 && slash + 1 < name.size() &&
                              name.find('/', slash + 1) == std::string::npos;
    if (!hasBothParts)
        document.addProblem(
            "ems.name",
            "must have the form CompanyName/EMSName (TMF 814 SD1-43), but is " + shown(name));
}

void checkEmsVersion(ConfigDocument& document) {
    const std::string& version = textOf(document, "ems.version");
    const auto isDigit = [](char c) { return std::isdigit(static_cast<unsigned char>(c)) != 0; };
    const bool hasForm = !version.empty() && isDigit(version.front()) && isDigit(version.back()) &&
                         std::all_of(version.begin(), version.end(),
                                     [&](char c) { return isDigit(c) || c == '.'; }) &&
                         version.find("..") == std::string::npos;
    if (!hasForm)
        document.addProblem("ems.version",
                            "must be numbers with dots between, as 3.5, but is " + shown(version));
}

void checkListen(ConfigDocument& document, const std::string& key) {
    const std::string& listen = textOf(document, key);
    const std::optional<HostAndPort> address = parseHostAndPort(listen);
    if (!address) {
        document.addProblem(key, "must be host:port or [ipv6]:port, but is " + shown(listen));
    } else if (isWildcardHost(address->host) && textOf(document, "orb.publish").empty()) {
        document.addProblem(
            key, shown(listen) +
                     " is a wildcard address, which no client can call: set orb.publish to the "
                     "address that clients use");
    }
}

void checkPublish(ConfigDocument& document) {
    const std::string& publish = textOf(document, "orb.publish");
    if (publish.empty())
        return;
    const std::optional<HostAndPort> address = parseHostAndPort(publish);
    const std::string host = address ? address->host : publish;
    if (isWildcardHost(host) || !isPrintable(host) ||
        host.find_first_of("[]/") != std::string::npos)
        document.addProblem(
            "orb.publish",
            "must be a host or host:port that clients can call, but is " + shown(publish));
}

void checkReadable(ConfigDocument& document, const std::string& key) {
    const std::string& file = textOf(document, key);
    if (::access(file.c_str(), R_OK) != 0) {
        document.addProblem(key, "the file " + shown(file) +
                                     " cannot be read: " + std::generic_category().message(errno));
    }
}

void checkTls(ConfigDocument& document) {
    if (integerOf(document, "tls.mode") == 0)
        return;
    checkListen(document, "tls.listen");
    for (const std::string key : {"tls.ca", "tls.certificate"}) {
        if (textOf(document, key).empty())
            document.addProblem(
                key, "is missing: tls.mode is not 0, which needs tls.ca and tls.certificate");
        else
            checkReadable(document, key);
    }
    for (const std::string key : {"tls.key_password_file", "tls.crl"}) {
        if (!textOf(document, key).empty())
            checkReadable(document, key);
    }
}

void checkNaming(ConfigDocument& document) {
    const std::string& host = textOf(document, "naming.host");
    if (isWildcardHost(host) || !isPrintable(host)) {
        document.addProblem("naming.host",
                            "must be a host that can be called, but is " + shown(host));
    } else if (flagOf(document, "naming.embedded") && !mayBeOwnHost(host)) {
        document.addProblem(
            "naming.host",
            shown(host) +
                " is not an address of this machine, where the embedded naming service runs: set "
                "naming.embedded = false to use the naming service there");
    }
    if (integerOf(document, "tls.mode") != 0 && integerOf(document, "naming.ssl_port") == 0)
        document.addProblem(
            "naming.ssl_port",
            "must name a port: the naming service is reached over TLS, since tls.mode is not 0");
    for (const std::string& problem :
         problemsOfAliases(textsOf(document, "naming.aliases"),
                           kelp::util::factoryPath(textOf(document, "ems.name"),
                                                   textOf(document, "ems.version"))))
        document.addProblem("naming.aliases", problem);
    if (const std::string problem = problemOfIorFile(textOf(document, "naming.ior_file"));
        !problem.empty())
        document.addProblem("naming.ior_file", problem);
}

void checkNotification(ConfigDocument& document) {
    for (const std::string& entry : textsOf(document, "notification.suppliers")) {
        if (!isNetwork(entry))
            document.addProblem(
                "notification.suppliers",
                shown(entry) +
                    " is not a network: write an IPv4 or IPv6 address, or address/prefix length");
    }
    if (textOf(document, "notification.mode") != "external")
        return;
    const std::string& host = textOf(document, "notification.host");
    if (isWildcardHost(host) || !isPrintable(host))
        document.addProblem("notification.host",
                            "must be a host that can be called, but is " + shown(host));
    if (integerOf(document, "tls.mode") != 0 && integerOf(document, "notification.ssl_port") == 0)
        document.addProblem(
            "notification.ssl_port",
            "must name a port: an external notification service is reached over TLS, since "
            "tls.mode is not 0");
}

void checkAllowedNetworks(ConfigDocument& document) {
    for (const std::string& entry : textsOf(document, "access.allowed_oss")) {
        if (!isNetwork(entry) && !kelp::util::isHostName(entry))
            document.addProblem(
                "access.allowed_oss",
                shown(entry) +
                    " is not a network: write an IPv4 or IPv6 address, or address/prefix length "
                    "(or, for references only, a host name)");
    }
}

void checkSnmp(ConfigDocument& document) {
    const std::vector<std::string>& listen = textsOf(document, "snmp.listen");
    for (const std::string& entry : listen) {
        if (!parseHostAndPort(entry))
            document.addProblem("snmp.listen",
                                "must be address:port or [address]:port, but is " + shown(entry));
    }
    const std::vector<std::string>& sources = textsOf(document, "snmp.sources");
    for (const std::string& entry : sources) {
        if (!isNetwork(entry))
            document.addProblem(
                "snmp.sources",
                shown(entry) +
                    " is not a network: write an IPv4 or IPv6 address, or address/prefix length");
    }
    if (!listen.empty() && sources.empty())
        document.addProblem("snmp.sources", "is empty: nobody could send traps to snmp.listen");
}

void checkTrace(ConfigDocument& document) {
    const std::vector<std::string>& sinks = textsOf(document, "trace.sinks");
    if (std::find(sinks.begin(), sinks.end(), "file") != sinks.end() &&
        textOf(document, "trace.file").empty())
        document.addProblem("trace.file", "is missing: trace.sinks has \"file\" in it");
}

void checkAdmin(ConfigDocument& document) {
    const std::string& listen = textOf(document, "admin.listen");
    if (listen.empty())
        return;
    const std::optional<HostAndPort> address = parseHostAndPort(listen);
    if (!address || address->port == 0)
        document.addProblem("admin.listen",
                            "must be empty, host:port or [ipv6]:port, but is " + shown(listen));
    else if (!isLoopbackAddress(address->host))
        document.addProblem(
            "admin.listen",
            shown(listen) +
                " is not an address of the loopback interface, such as 127.0.0.1:4880: the "
                "operator's interface is for this machine only");
}

void checkAdminNetwork(ConfigDocument& document) {
    const std::string& listen = textOf(document, "admin.network_listen");
    if (listen.empty())
        return;
    const std::optional<HostAndPort> address = parseHostAndPort(listen);
    in6_addr numeric{};
    const bool isNumeric = address && (::inet_pton(AF_INET, address->host.c_str(), &numeric) == 1 ||
                                       ::inet_pton(AF_INET6, address->host.c_str(), &numeric) == 1);
    if (!isNumeric || address->port == 0)
        document.addProblem(
            "admin.network_listen",
            "must be empty, or a numeric host:port or [ipv6]:port, but is " + shown(listen));
    if (textOf(document, "admin.network_certificate").empty())
        document.addProblem("admin.network_certificate",
                            "is missing: admin.network_listen needs a certificate");
}

void checkBundles(ConfigDocument& document) {
    std::set<std::string> seen;
    for (const std::string& bundle : textsOf(document, "bundles.load")) {
        const bool isName =
            !bundle.empty() && std::all_of(bundle.begin(), bundle.end(), [](char c) {
                return std::isalnum(static_cast<unsigned char>(c)) != 0 || c == '_';
            });
        if (!isName)
            document.addProblem(
                "bundles.load",
                shown(bundle) + " is not a bundle name: letters, digits and underscores");
        else if (!seen.insert(bundle).second)
            document.addProblem("bundles.load", shown(bundle) + " appears twice");
    }
}

}  // namespace

void checkTogether(ConfigDocument& document) {
    checkEmsName(document);
    checkEmsVersion(document);
    if (integerOf(document, "tls.mode") != 2)
        checkListen(document, "orb.listen");
    checkPublish(document);
    if (textOf(document, "orb.char_set").empty())
        document.addProblem("orb.char_set", "must name a code set, such as UTF-8");
    checkTls(document);
    checkNaming(document);
    checkNotification(document);
    checkAllowedNetworks(document);
    checkSnmp(document);
    checkTrace(document);
    checkAdmin(document);
    checkAdminNetwork(document);
    checkBundles(document);
}

}  // namespace NS_BUNDLEMGR1
