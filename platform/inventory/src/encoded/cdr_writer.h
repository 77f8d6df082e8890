#pragma once

#include <cstddef>
#include <cstdint>
#include <cstring>
#include <string>
#include <string_view>

namespace kelp::inventory {

/// Appends values to octets as CDR encodes them, in this machine's byte order. Padding is zero. The
/// largest alignment is four, because the standard's structures in lists have no larger values. So
/// the octets are valid at any place of a message that is a multiple of four.
class CdrWriter {
  public:
    /// Offsets count from the place where the octets end now.
    explicit CdrWriter(std::string& octets) : CdrWriter(octets, octets.size()) {}
    /// Offsets count from `first`.
    CdrWriter(std::string& octets, std::size_t first) : octets_(octets), first_(first) {}

    void octet(std::uint8_t value) { octets_.push_back(static_cast<char>(value)); }
    void flag(bool value) { octet(value ? 1 : 0); }
    void number(std::uint32_t value) {
        align(sizeof value);
        put(value);
    }
    void rate(std::int16_t value) {
        align(sizeof value);
        put(value);
    }
    /// A text ends at its first zero octet, as everywhere in CORBA.
    void text(std::string_view value) {
        value = value.substr(0, value.find('\0'));
        number(static_cast<std::uint32_t>(value.size() + 1));
        octets_.append(value);
        octets_.push_back('\0');
    }
    void align(std::size_t to = 4) {
        const std::size_t size = octets_.size() - first_;
        octets_.append((to - size % to) % to, '\0');
    }
    /// The offset of the next octet.
    std::size_t size() const { return octets_.size() - first_; }

  private:
    template <class Value>
    void put(Value value) {
        char bytes[sizeof value];
        std::memcpy(bytes, &value, sizeof value);
        octets_.append(bytes, sizeof value);
    }

    std::string& octets_;
    const std::size_t first_;
};

}  // namespace kelp::inventory
