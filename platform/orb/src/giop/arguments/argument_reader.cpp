#include "giop/arguments/argument_reader.h"

#include <algorithm>

namespace kelp::orb::giop {

namespace {

/// Octets of the GIOP header, which count for alignment.
constexpr std::size_t headerOctets = 12;

}  // namespace

ArgumentReader::ArgumentReader(Octets message, std::size_t at, bool littleEndian,
                               std::span<const std::size_t> fragments)
    : message_(message),
      fragments_(fragments),
      at_(std::min(at, message.size())),
      end_(message.size()),
      littleEndian_(littleEndian),
      failed_(at > message.size()) {}

void ArgumentReader::fail() {
    failed_ = true;
    at_ = end_;
}

/// Return the offset from which alignment counts. For an early fragment it can lie before the
/// message, so the arithmetic is modular.
std::size_t ArgumentReader::alignmentOrigin() const {
    const auto next = std::upper_bound(fragments_.begin(), fragments_.end(), at_);
    return next == fragments_.begin() ? origin_ : *std::prev(next) - headerOctets;
}

/// Padding can end with its fragment. The rest is then aligned in the next fragment.
void ArgumentReader::align(std::size_t alignment) {
    const auto beyond = [&] { return (at_ - alignmentOrigin()) % alignment; };
    for (std::size_t excess = beyond(); excess != 0 && !failed_; excess = beyond())
        skip(alignment - excess);
}

void ArgumentReader::skip(std::uint64_t octets) {
    if (octets > left())
        fail();
    else
        at_ += static_cast<std::size_t>(octets);
}

std::uint8_t ArgumentReader::octet() {
    if (left() < 1) {
        fail();
        return 0;
    }
    return message_[at_++];
}

std::uint64_t ArgumentReader::number(std::size_t size) {
    align(size);
    if (left() < size) {
        fail();
        return 0;
    }
    std::uint64_t value = 0;
    for (std::size_t i = 0; i < size; ++i)
        value = value << 8 | message_[at_ + (littleEndian_ ? size - 1 - i : i)];
    at_ += size;
    return value;
}

void ArgumentReader::skipText() {
    const std::uint32_t length = unsignedLong();
    skip(length);
    if (length == 0 || failed_ || message_[at_ - 1] != 0)
        fail();
}

ArgumentReader ArgumentReader::encapsulation() {
    const std::uint32_t length = unsignedLong();
    ArgumentReader inside = *this;
    skip(length);
    inside.fragments_ = {};
    inside.origin_ = inside.at_;
    inside.end_ = at_;
    const std::uint8_t order = inside.octet();
    if (failed_ || order > 1)
        inside.fail();
    inside.littleEndian_ = order == 1;
    return inside;
}

}  // namespace kelp::orb::giop
