#pragma once

#include <cstddef>
#include <cstdint>
#include <span>

namespace kelp::orb::giop {

/// Reads CDR (CORBA 15.3) from a message without copying it. Alignment follows GIOP: the headers of
/// fragments and the beginnings of encapsulations shift it. A read beyond the end fails, and so
/// does every read after it: numbers are then 0 and failed() is true. Not thread safe.
class ArgumentReader {
  public:
    using Octets = std::span<const std::uint8_t>;

    /// Read from `at` to the end of the message. `fragments` as in EncodedArguments.
    ArgumentReader(Octets message, std::size_t at, bool littleEndian,
                   std::span<const std::size_t> fragments);

    std::uint8_t octet();
    std::uint16_t unsignedShort() { return static_cast<std::uint16_t>(number(2)); }
    std::uint32_t unsignedLong() { return static_cast<std::uint32_t>(number(4)); }
    /// Read an unsigned number of 1, 2, 4 or 8 octets, aligned to its size.
    std::uint64_t number(std::size_t size);

    void skip(std::uint64_t octets);
    void align(std::size_t alignment);
    /// Skip a length and that number of octets: a string, an octet sequence, or a wide string of
    /// GIOP 1.2.
    void skipCounted() { skip(unsignedLong()); }

    /// Skip a string. Fails without the zero octet at its end.
    void skipText();

    /// Return a reader of the encapsulation whose length comes next, and move on behind it. The
    /// returned reader has failed when there is no encapsulation.
    ArgumentReader encapsulation();

    bool failed() const { return failed_; }
    std::size_t at() const { return at_; }  ///< in octets from the beginning of the message
    std::size_t left() const { return failed_ ? 0 : end_ - at_; }

  private:
    void fail();
    std::size_t alignmentOrigin() const;

    const Octets message_;
    std::span<const std::size_t> fragments_;
    std::size_t at_;
    std::size_t end_;
    std::size_t origin_ = 0;
    bool littleEndian_;
    bool failed_ = false;
};

}  // namespace kelp::orb::giop
