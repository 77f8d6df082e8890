#include "hand_made_reference.h"

namespace kelp::test {

CdrWriter::CdrWriter(Order order) : order_(order) {
    octet(order == Order::Little ? 1 : 0);
}

CdrWriter& CdrWriter::octet(unsigned value) {
    bytes_ += static_cast<char>(value);
    return *this;
}

CdrWriter& CdrWriter::unsignedShort(unsigned value) {
    return number(value, 2);
}

CdrWriter& CdrWriter::unsignedLong(std::uint32_t value) {
    return number(value, 4);
}

CdrWriter& CdrWriter::string(const std::string& text) {
    return octets(text + '\0');
}

CdrWriter& CdrWriter::octets(const std::string& bytes) {
    unsignedLong(static_cast<std::uint32_t>(bytes.size()));
    bytes_ += bytes;
    return *this;
}

CdrWriter& CdrWriter::number(std::uint32_t value, std::size_t size) {
    while (bytes_.size() % size != 0)
        bytes_ += '\0';
    for (std::size_t i = 0; i < size; ++i) {
        const std::size_t shift = 8 * (order_ == Order::Little ? i : size - 1 - i);
        octet(value >> shift & 0xff);
    }
    return *this;
}

namespace {

void write(CdrWriter& writer, const std::vector<TaggedBytes>& parts) {
    writer.unsignedLong(static_cast<std::uint32_t>(parts.size()));
    for (const TaggedBytes& part : parts)
        writer.unsignedLong(part.tag).octets(part.bytes);
}

}  // namespace

std::string iiopProfile(const Iiop& iiop) {
    CdrWriter writer(iiop.order);
    writer.octet(iiop.major)
        .octet(iiop.minor)
        .string(iiop.host)
        .unsignedShort(iiop.port)
        .octets(iiop.key);
    if (iiop.minor > 0)
        write(writer, iiop.components);
    return writer.bytes();
}

TaggedBytes alternateAddress(const std::string& host, unsigned port) {
    return {3, CdrWriter(CdrWriter::Order::Big).string(host).unsignedShort(port).bytes()};
}

TaggedBytes sslComponent(unsigned port) {
    return {20, CdrWriter().unsignedShort(0x66).unsignedShort(0x66).unsignedShort(port).bytes()};
}

std::string multipleComponents(const std::vector<TaggedBytes>& components) {
    CdrWriter writer;
    write(writer, components);
    return writer.bytes();
}

std::string referenceBytes(const std::vector<TaggedBytes>& profiles, const std::string& typeId,
                           CdrWriter::Order order) {
    CdrWriter writer(order);
    writer.string(typeId);
    write(writer, profiles);
    return writer.bytes();
}

std::string hexReference(const std::string& bytes) {
    static const char digits[] = "0123456789abcdef";
    std::string text = "IOR:";
    for (const char c : bytes) {
        const auto byte = static_cast<unsigned char>(c);
        text += digits[byte >> 4];
        text += digits[byte & 15];
    }
    return text;
}

std::string ior(const Iiop& iiop) {
    return hexReference(referenceBytes({{0, iiopProfile(iiop)}}));
}

}  // namespace kelp::test
