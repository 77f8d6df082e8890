#include "wire/message_head.h"

#include <cstddef>

namespace kelp::traps {

namespace {

using Octets = std::span<const std::uint8_t>;

constexpr std::uint8_t kInteger = 0x02;
constexpr std::uint8_t kOctetString = 0x04;
constexpr std::uint8_t kSequence = 0x30;

/// Reads values in BER one after the other.
class BerReader {
  public:
    explicit BerReader(Octets octets) : rest_(octets) {}

    /// The content of the next value, which must have this tag.
    std::optional<Octets> next(std::uint8_t tag) {
        if (rest_.size() < 2 || rest_[0] != tag)
            return std::nullopt;
        std::size_t length = rest_[1];
        std::size_t header = 2;
        if (length >= 0x80) {
            const std::size_t count = length & 0x7f;
            if (count == 0 || count > 4 || rest_.size() < 2 + count)
                return std::nullopt;
            length = 0;
            for (std::size_t at = 0; at < count; ++at)
                length = length << 8 | rest_[2 + at];
            header += count;
        }
        if (length > rest_.size() - header)
            return std::nullopt;
        const Octets content = rest_.subspan(header, length);
        rest_ = rest_.subspan(header + length);
        return content;
    }

    /// The next value, which must be an integer that is not negative.
    std::optional<int> integer() {
        const std::optional<Octets> content = next(kInteger);
        if (!content || content->empty() || content->size() > 4 || (*content)[0] >= 0x80)
            return std::nullopt;
        int value = 0;
        for (const std::uint8_t octet : *content)
            value = value << 8 | octet;
        return value;
    }

    std::optional<std::string> text() {
        const std::optional<Octets> content = next(kOctetString);
        return content ? std::optional(std::string(content->begin(), content->end()))
                       : std::nullopt;
    }

  private:
    Octets rest_;
};

/// Read msgGlobalData and msgSecurityParameters (RFC 3412, RFC 3414).
bool readVersion3(BerReader& message, MessageHead& head) {
    const std::optional<Octets> global = message.next(kSequence);
    if (!global)
        return false;
    BerReader globalData(*global);
    const bool hasNumbers = globalData.integer() && globalData.integer();  // msgID, msgMaxSize
    if (!hasNumbers || !globalData.next(kOctetString))                     // msgFlags
        return false;
    const std::optional<int> model = globalData.integer();
    const std::optional<Octets> parameters = message.next(kOctetString);
    if (!model || !parameters)
        return false;
    head.securityModel = *model;
    if (*model != MessageHead::kUsm)
        return true;
    const std::optional<Octets> usm = BerReader(*parameters).next(kSequence);
    if (!usm)
        return false;
    BerReader security(*usm);
    const std::optional<std::string> engine = security.text();
    const bool hasTimes = engine && security.integer() && security.integer();
    const std::optional<std::string> user = hasTimes ? security.text() : std::nullopt;
    if (!user)
        return false;
    head.engineId = *engine;
    head.userName = *user;
    return true;
}

}  // namespace

std::optional<MessageHead> readHead(std::span<const std::uint8_t> datagram) {
    const std::optional<Octets> content = BerReader(datagram).next(kSequence);
    if (!content)
        return std::nullopt;
    BerReader message(*content);
    const std::optional<int> version = message.integer();
    if (!version)
        return std::nullopt;
    MessageHead head;
    head.version = *version;
    if (*version == MessageHead::kVersion3 && !readVersion3(message, head))
        return std::nullopt;
    return head;
}

}  // namespace kelp::traps
