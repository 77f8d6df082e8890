#include "encoded/encoded_form.h"

// the functions are short and called for every row, so they are compiled into this file
#define XXH_INLINE_ALL
#include <xxhash.h>

#include <bit>
#include <cstring>

namespace kelp::inventory {

namespace {

/// What is in front of the places of the EMS and the octets of the structure.
struct Header {
    std::uint64_t hash;  ///< of all that follows
    std::uint8_t version;
    std::uint8_t littleEndian;
    std::uint16_t emsCount;
    std::uint32_t nameLength;
};
static_assert(sizeof(Header) == 16, "the header is stored as it is");

constexpr std::size_t kHashBytes = sizeof(Header::hash);
constexpr std::size_t kPlaceBytes = sizeof(std::uint32_t);
constexpr std::size_t kAlignment = 4;
constexpr std::uint8_t kLittleEndian = std::endian::native == std::endian::little ? 1 : 0;

/// Finds damage. It is no protection from somebody who writes the file on purpose; the check of the
/// structure is.
std::uint64_t hashOf(std::string_view bytes) {
    return XXH3_64bits(bytes.data(), bytes.size());
}

bool areInOrder(std::span<const std::uint32_t> places, std::size_t size) {
    std::uint32_t before = 0;
    for (const std::uint32_t place : places) {
        if (place < before || place > size || place % kAlignment != 0)
            return false;
        before = place;
    }
    return true;
}

}  // namespace

std::string storedForm(const Structure& structure) {
    const std::size_t places = structure.emsAt.size() * kPlaceBytes;
    const std::size_t size = sizeof(Header) + places + structure.octets.size();
    if (size > kEncodedMax)
        return {};
    const Header header{0, kEncodedVersion, kLittleEndian,
                        static_cast<std::uint16_t>(structure.emsAt.size()), structure.nameLength};
    std::string bytes(sizeof header + places, '\0');
    bytes.reserve(size);
    std::memcpy(bytes.data(), &header, sizeof header);
    std::memcpy(bytes.data() + sizeof header, structure.emsAt.data(), places);
    bytes += structure.octets;
    const std::uint64_t hash = hashOf(std::string_view(bytes).substr(kHashBytes));
    std::memcpy(bytes.data(), &hash, sizeof hash);
    return bytes;
}

StoredForm::StoredForm(std::string_view bytes) {
    Header header{};
    if (bytes.size() < sizeof header || bytes.size() > kEncodedMax)
        return;
    std::memcpy(&header, bytes.data(), sizeof header);
    if (header.version != kEncodedVersion || header.littleEndian != kLittleEndian ||
        header.hash != hashOf(bytes.substr(kHashBytes)))
        return;
    bytes.remove_prefix(sizeof header);
    const std::size_t places = header.emsCount * kPlaceBytes;
    if (header.emsCount > kEmsMax || places > bytes.size())
        return;
    std::memcpy(emsAt_.data(), bytes.data(), places);
    emsCount_ = header.emsCount;
    bytes.remove_prefix(places);
    if (header.nameLength > bytes.size() || !areInOrder(emsAt(), bytes.size()))
        return;
    octets_ = bytes;
    nameLength_ = header.nameLength;
}

void appendWithEms(std::string_view octets, std::span<const std::uint32_t> emsAt,
                   std::string_view ems, std::string& to) {
    std::size_t done = 0;
    for (const std::uint32_t place : emsAt) {
        if (place > octets.size())
            break;
        to.append(octets, done, place - done);
        to.append(ems);
        done = place;
    }
    to.append(octets, done);
}

std::string encodedEms(std::string_view name) {
    std::string octets;
    CdrWriter writer(octets);
    writer.text(name);
    writer.align();
    return octets;
}

}  // namespace kelp::inventory
