#pragma once

#include <cstdint>
#include <string>
#include <vector>

namespace kelp::test {

/// Writes GIOP messages by hand, including messages that no client sends.
class GiopWriter {
  public:
    explicit GiopWriter(std::uint8_t minor = 2, bool littleEndian = false)
        : minor_(minor), littleEndian_(littleEndian) {
        bytes_.assign("GIOP", 4);
        bytes_ += '\x01';
        bytes_ += static_cast<char>(minor);
        bytes_.append(6, '\0');
        if (littleEndian)
            bytes_[6] = '\x01';
    }

    GiopWriter& octet(int value) {
        bytes_ += static_cast<char>(value);
        return *this;
    }
    GiopWriter& align(std::size_t alignment) {
        bytes_.append((alignment - bytes_.size() % alignment) % alignment, '\0');
        return *this;
    }
    GiopWriter& unsignedShort(std::uint32_t value) { return number(value, 2); }
    GiopWriter& unsignedLong(std::uint32_t value) { return number(value, 4); }
    GiopWriter& octets(const std::string& value) {
        unsignedLong(static_cast<std::uint32_t>(value.size()));
        return raw(value);
    }
    GiopWriter& text(const std::string& value) { return octets(value + '\0'); }
    GiopWriter& raw(const std::string& value) {
        bytes_ += value;
        return *this;
    }

    /// Return the message with its header completed.
    std::string message(int type, bool moreFragments = false) const {
        std::string made = bytes_;
        if (moreFragments)
            made[6] = static_cast<char>(made[6] | 2);
        made[7] = static_cast<char>(type);
        const std::size_t size = made.size() - 12;
        for (std::size_t i = 0; i < 4; ++i)
            made[8 + (littleEndian_ ? i : 3 - i)] = static_cast<char>(size >> 8 * i & 0xff);
        return made;
    }
    std::uint8_t minor() const { return minor_; }
    std::size_t size() const { return bytes_.size(); }

  private:
    GiopWriter& number(std::uint32_t value, std::size_t size) {
        align(size);
        for (std::size_t i = 0; i < size; ++i)
            bytes_ += static_cast<char>(value >> 8 * (littleEndian_ ? i : size - 1 - i) & 0xff);
        return *this;
    }

    std::uint8_t minor_;
    bool littleEndian_;
    std::string bytes_;
};

enum class GiopType {
    Request,
    Reply,
    CancelRequest,
    LocateRequest,
    LocateReply,
    CloseConnection,
    MessageError,
    Fragment
};

inline std::string giopMessage(const GiopWriter& content, GiopType type,
                               bool moreFragments = false) {
    return content.message(static_cast<int>(type), moreFragments);
}

/// Return the body of an IIOP profile as an encapsulation.
inline std::string iiopProfile(const std::string& key, const std::string& host = "127.0.0.1") {
    // Alignment counts from the first octet of the encapsulation. The writer counts from the
    // message header, whose 12 octets are a multiple of 4.
    GiopWriter writer(2);
    writer.octet(0).octet(1).octet(2).text(host).unsignedShort(4800).octets(key).unsignedLong(0);
    return writer.message(0).substr(12);
}

/// How a GIOP 1.2 request names its target.
enum class Addressing { Key, Profile, Reference };

inline void addTarget(GiopWriter& writer, const std::string& key, Addressing addressing) {
    switch (addressing) {
        case Addressing::Key:
            writer.unsignedShort(0).octets(key);
            break;
        case Addressing::Profile:
            writer.unsignedShort(1).unsignedLong(0).octets(iiopProfile(key));
            break;
        case Addressing::Reference:
            writer.unsignedShort(2).unsignedLong(1).text("IDL:x:1.0").unsignedLong(2);
            writer.unsignedLong(77).octets("other").unsignedLong(0).octets(iiopProfile(key));
            break;
    }
}

struct GiopRequest {
    std::uint8_t minor = 2;
    bool littleEndian = false;
    std::uint32_t id = 1;
    std::string key = "key";
    std::string operation = "ping";
    std::string arguments;
    Addressing addressing = Addressing::Key;
    bool responseExpected = true;
};

inline GiopWriter requestWriter(const GiopRequest& request) {
    GiopWriter writer(request.minor, request.littleEndian);
    const int response = request.responseExpected ? (request.minor >= 2 ? 3 : 1) : 0;
    if (request.minor >= 2) {
        writer.unsignedLong(request.id).octet(response).octet(0).octet(0).octet(0);
        addTarget(writer, request.key, request.addressing);
        writer.text(request.operation).unsignedLong(0);
        if (!request.arguments.empty())
            writer.align(8);
    } else {
        writer.unsignedLong(0).unsignedLong(request.id).octet(response);
        if (request.minor == 1)
            writer.octet(0).octet(0).octet(0);
        writer.octets(request.key).text(request.operation).unsignedLong(0);
    }
    return writer.raw(request.arguments);
}

inline std::string requestMessage(const GiopRequest& request) {
    return giopMessage(requestWriter(request), GiopType::Request);
}

/// Return a GIOP 1.2 message that contains only a request id, or a Fragment with the id and
/// `content`.
inline std::string messageOfId(GiopType type, std::uint32_t id, const std::string& content = "",
                               bool moreFragments = false, bool littleEndian = false,
                               std::uint8_t minor = 2) {
    return giopMessage(GiopWriter(minor, littleEndian).unsignedLong(id).raw(content), type,
                       moreFragments);
}

inline std::string locateMessage(const GiopRequest& request) {
    GiopWriter writer(request.minor, request.littleEndian);
    writer.unsignedLong(request.id);
    if (request.minor >= 2)
        addTarget(writer, request.key, request.addressing);
    else
        writer.octets(request.key);
    return giopMessage(writer, GiopType::LocateRequest);
}

/// Split a request into messages: the first has `first` octets, and each Fragment carries `part`
/// octets of content. In GIOP 1.2 both must be multiples of 8.
inline std::vector<std::string> fragmentsOf(const GiopRequest& request, std::size_t first,
                                            std::size_t part) {
    const std::string whole = requestMessage(request);
    std::vector<std::string> messages;
    GiopWriter head(request.minor, request.littleEndian);
    head.raw(whole.substr(12, first - 12));
    messages.push_back(giopMessage(head, GiopType::Request, true));
    // In GIOP 1.2, 16 octets precede the content of a Fragment, so content whose size is a multiple
    // of 8 keeps the alignment.
    for (std::size_t at = first; at <= whole.size(); at += part) {
        const bool more = at + part <= whole.size();
        GiopWriter fragment(request.minor, request.littleEndian);
        if (request.minor >= 2)
            fragment.unsignedLong(request.id);
        fragment.raw(whole.substr(at, part));
        messages.push_back(giopMessage(fragment, GiopType::Fragment, more));
    }
    return messages;
}

}  // namespace kelp::test
