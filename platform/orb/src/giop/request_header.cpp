#include "giop/request_header.h"

#include <kelp/ior/cdr_reader.h>

#include <algorithm>
#include <optional>

namespace kelp::orb::giop {

namespace {

using ior::CdrReader;

/// Maximum octets of a request before its parameters. Real headers have a few hundred.
constexpr std::size_t kRequestHeaderMax = std::size_t{256} * 1024;

// how a GIOP 1.2 request names its target (CORBA 15.4.2.2)
constexpr std::uint16_t kKeyAddress = 0;
constexpr std::uint16_t kProfileAddress = 1;
constexpr std::uint16_t kReferenceAddress = 2;

constexpr std::uint32_t kInternetIopTag = 0;

std::size_t alignedTo(std::size_t at, std::size_t alignment) {
    return (at + alignment - 1) / alignment * alignment;
}

/// Return whether the text consists of visible ASCII characters, so that it can be a name and
/// appear in a log.
bool isName(Octets text) {
    return !text.empty() && std::all_of(text.begin(), text.end(), [](std::uint8_t octet) {
        return octet > 0x20 && octet < 0x7f;
    });
}

bool readOperation(CdrReader& reader, RequestHeader& request) {
    const auto text = reader.octets();
    if (!text || text->empty() || text->back() != 0)
        return false;
    const Octets name = text->first(text->size() - 1);
    request.operation = {reinterpret_cast<const char*>(name.data()), name.size()};
    return isName(name);
}

bool skipServiceContexts(CdrReader& reader) {
    const auto count = reader.unsignedLong();
    if (!count)
        return false;
    for (std::uint32_t i = 0; i < *count; ++i) {
        if (!reader.unsignedLong() || !reader.octets() || reader.at() > kRequestHeaderMax)
            return false;
    }
    return true;
}

/// Return the key of a profile, if it is an IIOP profile (CORBA 15.7.2) that names a host.
std::optional<Octets> keyOfProfile(std::uint32_t tag, Octets data) {
    if (tag != kInternetIopTag)
        return std::nullopt;
    auto reader = CdrReader::encapsulation(data);
    const auto major = reader ? reader->octet() : std::nullopt;
    const auto minor = major ? reader->octet() : std::nullopt;
    if (!minor || *major != 1)
        return std::nullopt;
    const auto host = reader->octets();
    const bool hasHost =
        host && host->size() > 1 && host->back() == 0 && isName(host->first(host->size() - 1));
    if (!hasHost || !reader->unsignedShort())
        return std::nullopt;
    return reader->octets();
}

std::optional<Octets> keyOfReference(CdrReader& reader) {
    const auto selected = reader.unsignedLong();
    const auto typeId = selected ? reader.octets() : std::nullopt;
    const auto count = typeId ? reader.unsignedLong() : std::nullopt;
    if (!count)
        return std::nullopt;
    std::optional<Octets> key;
    for (std::uint32_t i = 0; i < *count; ++i) {
        const auto tag = reader.unsignedLong();
        const auto data = tag ? reader.octets() : std::nullopt;
        if (!data || reader.at() > kRequestHeaderMax)
            return std::nullopt;
        if (i == *selected)
            key = keyOfProfile(*tag, *data);
    }
    return key;
}

Violation readTarget(CdrReader& reader, RequestHeader& request) {
    request.targetAt = alignedTo(reader.at(), 2);
    const auto disposition = reader.unsignedShort();
    std::optional<Octets> key;
    if (disposition == kKeyAddress) {
        key = reader.octets();
        if (!key)
            return Violation::RequestHeader;
    } else if (disposition == kProfileAddress) {
        const auto tag = reader.unsignedLong();
        const auto data = tag ? reader.octets() : std::nullopt;
        key = data ? keyOfProfile(*tag, *data) : std::nullopt;
    } else if (disposition == kReferenceAddress) {
        key = keyOfReference(reader);
    } else {
        return Violation::RequestHeader;
    }
    request.namesProfile = disposition != kKeyAddress;
    request.targetEnd = reader.at();
    if (!key)
        return Violation::NoKey;
    request.key = *key;
    return Violation::None;
}

bool readKey(CdrReader& reader, RequestHeader& request) {
    const auto key = reader.octets();
    if (key)
        request.key = *key;
    return key.has_value();
}

bool readId(CdrReader& reader, RequestHeader& request) {
    const auto id = reader.unsignedLong();
    request.id = id.value_or(0);
    return id.has_value();
}

bool skipOctets(CdrReader& reader, int count) {
    for (int i = 0; i < count; ++i) {
        if (!reader.octet())
            return false;
    }
    return true;
}

/// GIOP 1.0 and 1.1.
bool readOlderRequest(CdrReader& reader, std::uint8_t minor, RequestHeader& request) {
    // a flag whether a response is expected; 1.1 adds three reserved octets
    const int flagOctets = minor == 0 ? 1 : 4;
    return skipServiceContexts(reader) && readId(reader, request) &&
           skipOctets(reader, flagOctets) && readKey(reader, request) &&
           readOperation(reader, request) && reader.octets().has_value();
}

/// GIOP 1.2.
Violation readRequest(CdrReader& reader, RequestHeader& request) {
    constexpr int flagOctets = 4;
    if (!readId(reader, request) || !skipOctets(reader, flagOctets))
        return Violation::RequestHeader;
    if (const Violation target = readTarget(reader, request); target != Violation::None)
        return target;
    return readOperation(reader, request) && skipServiceContexts(reader) ? Violation::None
                                                                         : Violation::RequestHeader;
}

Violation readLocateRequest(CdrReader& reader, std::uint8_t minor, RequestHeader& request) {
    if (!readId(reader, request))
        return Violation::RequestHeader;
    if (minor >= 2)
        return readTarget(reader, request);
    return readKey(reader, request) ? Violation::None : Violation::RequestHeader;
}

Violation readParts(CdrReader& reader, const MessageHeader& header, RequestHeader& request) {
    if (header.type == MessageType::LocateRequest)
        return readLocateRequest(reader, header.minor, request);
    if (header.minor >= 2)
        return readRequest(reader, request);
    return readOlderRequest(reader, header.minor, request) ? Violation::None
                                                           : Violation::RequestHeader;
}

}  // namespace

Violation readRequestHeader(Octets message, const MessageHeader& header, RequestHeader& request) {
    CdrReader reader = CdrReader::message(message, header.littleEndian, kHeaderOctets);
    if (const Violation violation = readParts(reader, header, request);
        violation != Violation::None)
        return violation;
    request.headerEnd = reader.at();
    if (request.headerEnd > kRequestHeaderMax)
        return Violation::RequestHeader;
    const bool pads = header.minor >= 2 && header.type == MessageType::Request;
    request.body = std::min(pads ? alignedTo(reader.at(), 8) : reader.at(), message.size());
    return Violation::None;
}

}  // namespace kelp::orb::giop
