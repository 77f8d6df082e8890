#include "option_table.h"

#include <algorithm>
#include <limits>

#include "substituting_code_set.h"
#include "transport/gate_transport.h"

namespace kelp::orb {

namespace {

// the ORB's own default; named so that a second start does not inherit the first one's value
constexpr unsigned defaultThreadsOfConnection = 100;

/// An IPv6 host needs its brackets in the ORB's endpoint texts.
std::string bracketed(const std::string& host) {
    const bool bareIpv6 = std::count(host.begin(), host.end(), ':') > 1 && host.front() != '[';
    return bareIpv6 ? "[" + host + "]" : host;
}

/// "host:port", "[ipv6]:port" or a host alone, then with an empty port.
std::pair<std::string, std::string> splitHostAndPort(const std::string& text) {
    const std::size_t colon = text.rfind(':');
    const bool oneColon = colon != std::string::npos && text.find(':') == colon;
    const bool afterBracket = colon != std::string::npos && colon > 0 && text[colon - 1] == ']';
    if (oneColon || afterBracket)
        return {text.substr(0, colon), text.substr(colon + 1)};
    return {bracketed(text), ""};
}

/// The port of the only address. Empty, which stands for the port of whatever endpoint is
/// published, when there are several or the system chooses the port.
std::string namedPort(const std::vector<std::string>& addresses) {
    if (addresses.size() != 1)
        return "";
    const std::string port = splitHostAndPort(addresses.front()).second;
    const bool isChosenBySystem = port.find_first_not_of('0') == std::string::npos;
    return isChosenBySystem ? "" : port;
}

/// The published port belongs to the plain endpoint when there is one; the other transport is
/// published with the port it listens on. The ORB matches a published address with every endpoint,
/// also with those that are not to be published, so the ports are named wherever they are known.
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
    // a name that became an address could not be compared with the server's certificate
    table.add("resolveNamesForTransportRules", options.tlsCheckServer ? 0UL : 1UL);
    // its lines go to the trace, which tells the time itself (the ORB's way is not safe among
    // threads)
    table.add("traceTime", 0UL);
    // without it a thread's own time-out is taken and ignored
    table.add("supportPerThreadTimeOut", 1);
    // a first call to a peer that hangs would otherwise wait out its limit twice
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
