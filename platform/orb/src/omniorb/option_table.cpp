#include "option_table.h"

#include <algorithm>
#include <limits>

#include "substituting_code_set.h"
#include "transport/gate_transport.h"

namespace kelp::orb {

namespace {

// the ORB's own default, set so that a second start does not inherit the value of the first
constexpr unsigned defaultThreadsOfConnection = 100;

/// Put an IPv6 host into brackets, which the ORB's endpoint texts need.
std::string bracketed(const std::string& host) {
    const bool bareIpv6 = std::count(host.begin(), host.end(), ':') > 1 && host.front() != '[';
    return bareIpv6 ? "[" + host + "]" : host;
}

/// Split "host:port" or "[ipv6]:port". A host alone gets an empty port.
std::pair<std::string, std::string> splitHostAndPort(const std::string& text) {
    const std::size_t colon = text.rfind(':');
    const bool oneColon = colon != std::string::npos && text.find(':') == colon;
    const bool afterBracket = colon != std::string::npos && colon > 0 && text[colon - 1] == ']';
    if (oneColon || afterBracket)
        return {text.substr(0, colon), text.substr(colon + 1)};
    return {bracketed(text), ""};
}

/// Return the port of the only address. Empty when there are several addresses, or when the system
/// chooses the port. The ORB then publishes the port of the endpoint.
std::string namedPort(const std::vector<std::string>& addresses) {
    if (addresses.size() != 1)
        return "";
    const std::string port = splitHostAndPort(addresses.front()).second;
    const bool isChosenBySystem = port.find_first_not_of('0') == std::string::npos;
    return isChosenBySystem ? "" : port;
}

/// The published port belongs to the plain endpoint when there is one. The TLS endpoint is then
/// published with the port that it listens on. The ORB matches a published address with every
/// endpoint, also with those that must not be published, so each port is named where it is known.
void addPublished(const OrbOptions& options, OptionTable& table) {
    if (options.publish.empty()) {
        table.add("endPointPublish", "addr");
        return;
    }
    const auto [host, port] = splitHostAndPort(options.publish);
    const bool plain = !options.listen.empty() || options.tlsListen.empty();
    std::string published;
    if (plain)
        published = "giop:tcp:" + host + ":" + (port.empty() ? namedPort(options.listen) : port);
    if (!options.tlsListen.empty()) {
        const std::string tlsPort = plain || port.empty() ? namedPort(options.tlsListen) : port;
        published += (plain ? "," : "") + ("giop:ssl:" + host + ":" + tlsPort);
    }
    table.add("endPointPublish", published);
}

void addUnpublished(const std::string& transport, const std::vector<std::string>& addresses,
                    const std::vector<std::string>& published, OptionTable& table) {
    for (const std::string& address : addresses) {
        if (std::find(published.begin(), published.end(), address) == published.end())
            table.add("endPointNoPublish", transport + address);
    }
}

}  // namespace

void OptionTable::add(const std::string& name, const std::string& value) {
    entries_.emplace_back(name, value);
}

void OptionTable::add(const std::string& name, unsigned long value) {
    add(name, std::to_string(value));
}

const char* (*OptionTable::pairs())[2] {
    pairs_.clear();
    for (const auto& [name, value] : entries_)
        pairs_.push_back({{name.c_str(), value.c_str()}});
    pairs_.push_back({{nullptr, nullptr}});
    return &pairs_.front().text;
}

OptionTable optionTable(const OrbOptions& options) {
    OptionTable table;
    const bool isGate = options.transport == OrbOptions::Transport::Gate;
    const std::string plain = isGate ? kGateEndpoint : "giop:tcp:";
    const std::string tls = isGate ? kTlsGateEndpoint : "giop:ssl:";
    for (const std::string& address : options.listen)
        table.add("endPoint", plain + address);
    for (const std::string& address : options.tlsListen)
        table.add("endPoint", tls + address);
    addUnpublished(plain, options.keyListen, options.listen, table);
    addUnpublished(tls, options.tlsKeyListen, options.tlsListen, table);
    addPublished(options, table);

    table.add("clientTransportRule", options.tlsCallsOnly ? "* ssl" : "* tcp,ssl");
    // a name that was resolved to an address cannot be compared with the server's certificate
    table.add("resolveNamesForTransportRules", options.tlsCheckServer ? 0UL : 1UL);
    // the trace adds the time to the ORB's lines; the ORB's own way is not thread safe
    table.add("traceTime", 0UL);
    // without this the ORB accepts a thread's time-out and ignores it
    table.add("supportPerThreadTimeOut", 1);
    // otherwise the first call to a hanging peer waits for its limit twice
    table.add("verifyObjectExistsAndType", 0UL);
    table.add("giopMaxMsgSize", std::min<unsigned long>(options.messageBytesMax,
                                                        std::numeric_limits<CORBA::Long>::max()));
    table.add("nativeCharCodeSet", options.unconvertible == OrbOptions::Unconvertible::QuestionMark
                                       ? enterSubstitutingCodeSet(options.charSet)
                                       : options.charSet);
    table.add("serverCallTimeOutPeriod",
              static_cast<unsigned long>(
                  std::max<std::chrono::milliseconds::rep>(options.replyTimeout.count(), 0)));
    table.add("maxGIOPConnectionPerServer", std::max(options.connectionsPerServer, 1U));
    table.add("maxServerThreadPerConnection",
              options.threadsMax == 0 ? defaultThreadsOfConnection : options.threadsMax);
    return table;
}

}  // namespace kelp::orb
