#include <kelp/ior/cdr_reader.h>
#include <kelp/ior/reference_content.h>

#include <algorithm>
#include <string_view>
#include <utility>

namespace kelp::ior {

namespace {

using Bytes = CdrReader::Bytes;

/// Maximum content of a stringified reference, in bytes. Real references have a few hundred.
constexpr std::size_t contentMax = std::size_t{64} * 1024;
/// Maximum length of a host name in the DNS, in bytes. Numeric addresses are shorter.
constexpr std::size_t hostMax = 255;

// profile and component tags (CORBA 13.6.6)
constexpr std::uint32_t tagInternetIop = 0;
constexpr std::uint32_t tagMultipleComponents = 1;
constexpr std::uint32_t tagAlternateIiopAddress = 3;
constexpr std::uint32_t tagSslSecTrans = 20;

int hexDigit(char c) {
    if (c >= '0' && c <= '9')
        return c - '0';
    if (c >= 'a' && c <= 'f')
        return c - 'a' + 10;
    if (c >= 'A' && c <= 'F')
        return c - 'A' + 10;
    return -1;
}

std::optional<std::vector<std::uint8_t>> contentOf(std::string_view text) {
    constexpr std::string_view scheme = "IOR:";
    const auto sameLetter = [](char a, char b) {
        return a == b || (a >= 'a' && a <= 'z' && a - 'a' + 'A' == b);
    };
    if (text.size() < scheme.size() ||
        !std::equal(scheme.begin(), scheme.end(), text.begin(),
                    [&](char b, char a) { return sameLetter(a, b); }))
        return std::nullopt;
    text.remove_prefix(scheme.size());
    if (text.empty() || text.size() % 2 != 0 || text.size() / 2 > contentMax)
        return std::nullopt;
    std::vector<std::uint8_t> content;
    content.reserve(text.size() / 2);
    for (std::size_t i = 0; i < text.size(); i += 2) {
        const int high = hexDigit(text[i]);
        const int low = hexDigit(text[i + 1]);
        if (high < 0 || low < 0)
            return std::nullopt;
        content.push_back(static_cast<std::uint8_t>(high * 16 + low));
    }
    return content;
}

/// Return whether the text consists of visible ASCII characters. It appears in logs and is
/// compared.
bool isPrintable(const std::string& text) {
    return std::all_of(text.begin(), text.end(), [](char c) { return c > 0x20 && c < 0x7f; });
}

bool isHost(const std::string& host) {
    return !host.empty() && host.size() <= hostMax && isPrintable(host);
}

/// Collects the content of one reference from its profiles. Each operation returns false when its
/// bytes are malformed.
class Decoder {
  public:
    explicit Decoder(ReferenceContent& content) : content_(content) {}

    bool profile(std::uint32_t tag, Bytes data) {
        if (tag == tagInternetIop)
            return iiopProfile(data);
        if (tag == tagMultipleComponents) {
            auto reader = CdrReader::encapsulation(data);
            return reader && components(*reader);
        }
        return true;
    }

  private:
    bool iiopProfile(Bytes data) {
        auto reader = CdrReader::encapsulation(data);
        if (!reader)
            return false;
        const auto major = reader->octet();
        const auto minor = reader->octet();
        if (!major || !minor)
            return false;
        // another major version has an unknown layout: skip the profile, it is not malformed
        if (*major != 1)
            return true;
        auto host = reader->string();
        const auto port = reader->unsignedShort();
        const auto key = reader->octets();
        if (!host || !isHost(*host) || !port || !key)
            return false;
        profileHost_ = *host;
        addEndpoint(std::move(*host), *port, false);
        if (!keyFound_) {
            content_.objectKey.assign(key->begin(), key->end());
            content_.iiopVersion = "1." + std::to_string(*minor);
            keyFound_ = true;
        }
        return *minor == 0 || components(*reader);
    }

    bool components(CdrReader& reader) {
        const auto count = reader.unsignedLong();
        if (!count)
            return false;
        for (std::uint32_t i = 0; i < *count; ++i) {
            const auto tag = reader.unsignedLong();
            const auto data = tag ? reader.octets() : std::nullopt;
            if (!data || !component(*tag, *data))
                return false;
        }
        return true;
    }

    bool component(std::uint32_t tag, Bytes data) {
        if (tag == tagAlternateIiopAddress)
            return alternateAddress(data);
        if (tag == tagSslSecTrans)
            return sslAddress(data);
        return true;
    }

    bool alternateAddress(Bytes data) {
        auto reader = CdrReader::encapsulation(data);
        if (!reader)
            return false;
        auto host = reader->string();
        const auto port = reader->unsignedShort();
        if (!host || !isHost(*host) || !port)
            return false;
        addEndpoint(std::move(*host), *port, false);
        return true;
    }

    /// Read two option masks and the port. The host is that of the profile.
    bool sslAddress(Bytes data) {
        auto reader = CdrReader::encapsulation(data);
        if (!reader || !reader->unsignedShort() || !reader->unsignedShort())
            return false;
        const auto port = reader->unsignedShort();
        if (!port)
            return false;
        if (!profileHost_.empty())
            addEndpoint(profileHost_, *port, true);
        return true;
    }

    /// Port 0 means that the address does not exist: the reference is reached over TLS only.
    void addEndpoint(std::string host, std::uint16_t port, bool tls) {
        if (port != 0)
            content_.endpoints.push_back({std::move(host), port, tls});
    }

    ReferenceContent& content_;
    std::string profileHost_;
    bool keyFound_ = false;
};

bool decode(Bytes bytes, ReferenceContent& content) {
    auto reader = CdrReader::encapsulation(bytes);
    if (!reader)
        return false;
    auto typeId = reader->string();
    const auto profiles = typeId ? reader->unsignedLong() : std::nullopt;
    if (!profiles || !isPrintable(*typeId))
        return false;
    content.typeId = std::move(*typeId);
    Decoder decoder(content);
    for (std::uint32_t i = 0; i < *profiles; ++i) {
        const auto tag = reader->unsignedLong();
        const auto data = tag ? reader->octets() : std::nullopt;
        if (!data || !decoder.profile(*tag, *data))
            return false;
    }
    return true;
}

}  // namespace

bool decodeReference(const std::string& iorText, ReferenceContent& content) {
    content = {};
    const auto bytes = contentOf(iorText);
    if (bytes && decode(*bytes, content))
        return true;
    content = {};
    return false;
}

}  // namespace kelp::ior
