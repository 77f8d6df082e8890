#include <kelp/ior/corbaloc.h>

#include <algorithm>
#include <charconv>
#include <optional>

namespace kelp::ior {

namespace {

constexpr std::size_t kTextMax = 8192;
constexpr std::size_t kAddressesMax = 64;
constexpr std::size_t kHostNameMax = 255;
constexpr std::uint16_t kDefaultPort = 2809;

/// Remove the prefix, in any case, from the text. False if the text starts differently.
bool takePrefix(std::string_view& text, std::string_view prefix) {
    const auto lower = [](char c) { return c >= 'A' && c <= 'Z' ? static_cast<char>(c + 32) : c; };
    if (text.size() < prefix.size() || !std::equal(prefix.begin(), prefix.end(), text.begin(),
                                                   [&](char a, char b) { return a == lower(b); }))
        return false;
    text.remove_prefix(prefix.size());
    return true;
}

/// Remove the part before the separator, and the separator, from the text.
std::optional<std::string_view> takeUntil(std::string_view& text, char separator) {
    const std::size_t at = text.find(separator);
    if (at == std::string_view::npos)
        return std::nullopt;
    const std::string_view part = text.substr(0, at);
    text.remove_prefix(at + 1);
    return part;
}

template <typename Number>
std::optional<Number> numberOf(std::string_view text) {
    Number value = 0;
    const char* const end = text.data() + text.size();
    const auto [stop, error] = std::from_chars(text.data(), end, value);
    if (error != std::errc() || stop != end)
        return std::nullopt;
    return value;
}

/// Read "1.2". Only major version 1 is known.
std::optional<std::string> versionOf(std::string_view text) {
    if (!takePrefix(text, "1."))
        return std::nullopt;
    const auto minor = numberOf<std::uint8_t>(text);
    return minor ? std::optional("1." + std::to_string(*minor)) : std::nullopt;
}

/// Read "host", "host:port" or "[IPv6]:port" into the endpoint. Return what is wrong.
std::string readHostAndPort(std::string_view text, Endpoint& endpoint) {
    std::string_view host = text;
    std::string_view port;
    if (const bool isBracketed = takePrefix(text, "["); isBracketed) {
        const auto inside = takeUntil(text, ']');
        if (!inside || (!text.empty() && text.front() != ':'))
            return "an IPv6 address must be in brackets";
        host = *inside;
        port = text;
    } else if (const std::size_t colon = text.find(':'); colon != std::string_view::npos) {
        host = text.substr(0, colon);
        port = text.substr(colon);
    }
    if (host.empty() || host.size() > kHostNameMax)
        return "an address has no valid host";
    endpoint.host = host;
    endpoint.port = kDefaultPort;
    if (port.empty())
        return "";
    const auto number = numberOf<std::uint16_t>(port.substr(1));
    if (!number || *number == 0)
        return "a port must be a number from 1 to 65535";
    endpoint.port = *number;
    return "";
}

/// Read one address, such as "iiop:1.2@host:port". Return what is wrong.
std::string readAddress(std::string_view text, CorbalocContent& content) {
    Endpoint endpoint;
    if (takePrefix(text, "ssliop:"))
        endpoint.tls = true;
    else if (!takePrefix(text, "iiop:") && !takePrefix(text, ":"))
        return "an address must begin with \"iiop:\", \":\" or \"ssliop:\"";
    std::string version = "1.0";
    if (const auto written = takeUntil(text, '@')) {
        const auto known = versionOf(*written);
        if (!known)
            return "the IIOP version must be 1 with a minor version, such as 1.2";
        version = *known;
    }
    if (std::string problem = readHostAndPort(text, endpoint); !problem.empty())
        return problem;
    if (content.endpoints.empty())
        content.iiopVersion = version;
    content.endpoints.push_back(std::move(endpoint));
    return "";
}

std::string readAddresses(std::string_view text, CorbalocContent& content) {
    if (std::string_view rest = text; takePrefix(rest, "rir:") && rest.empty())
        return "";
    bool isLast = false;
    while (!isLast) {
        if (content.endpoints.size() == kAddressesMax)
            return "it has more than " + std::to_string(kAddressesMax) + " addresses";
        const auto part = takeUntil(text, ',');
        isLast = !part;
        if (std::string problem = readAddress(part.value_or(text), content); !problem.empty())
            return problem;
    }
    return "";
}

std::string readText(std::string_view text, CorbalocContent& content) {
    if (text.size() > kTextMax)
        return "it is longer than " + std::to_string(kTextMax) + " characters";
    if (!std::all_of(text.begin(), text.end(), [](char c) { return c > 0x20 && c < 0x7f; }))
        return "it holds a blank or a character that is not printable ASCII";
    content.hasName = takePrefix(text, "corbaname:");
    if (!content.hasName && !takePrefix(text, "corbaloc:"))
        return "it begins neither with \"corbaloc:\" nor with \"corbaname:\"";
    if (const std::size_t hash = text.find('#');
        content.hasName && hash != std::string_view::npos) {
        content.name = text.substr(hash + 1);
        text = text.substr(0, hash);
    }
    if (const std::size_t slash = text.find('/'); slash != std::string_view::npos) {
        content.objectKey = text.substr(slash + 1);
        text = text.substr(0, slash);
    }
    if (content.hasName && content.objectKey.empty())
        content.objectKey = "NameService";
    return readAddresses(text, content);
}

}  // namespace

std::string readCorbaloc(std::string_view text, CorbalocContent& content) {
    content = {};
    std::string problem = readText(text, content);
    if (!problem.empty())
        content = {};
    return problem;
}

}  // namespace kelp::ior
