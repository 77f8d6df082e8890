#pragma once

#include <cstddef>
#include <cstdint>
#include <optional>
#include <span>
#include <string>

namespace kelp::ior {

/// Reads CDR (CORBA 15.3) from untrusted bytes. Every read is checked against the end of the bytes.
/// A read that does not fit returns nothing; the reader's position is then unspecified. Alignment
/// counts from the first byte.
class CdrReader {
  public:
    using Bytes = std::span<const std::uint8_t>;

    /// Make a reader of an encapsulation, whose first byte is the byte order. Nothing when that
    /// byte is missing or has another value than 0 and 1.
    static std::optional<CdrReader> encapsulation(Bytes bytes) {
        if (bytes.empty() || bytes[0] > 1)
            return std::nullopt;
        return CdrReader(bytes, bytes[0] == 1, 1);
    }

    /// Make a reader of a message that starts at `at`.
    static CdrReader message(Bytes bytes, bool littleEndian, std::size_t at) {
        return CdrReader(bytes, littleEndian, at);
    }

    std::optional<std::uint8_t> octet() {
        if (left() < 1)
            return std::nullopt;
        return bytes_[at_++];
    }

    std::optional<std::uint16_t> unsignedShort() {
        const auto value = number(2);
        if (!value)
            return std::nullopt;
        return static_cast<std::uint16_t>(*value);
    }

    std::optional<std::uint32_t> unsignedLong() { return number(4); }

    /// Read an octet sequence. The result refers to the bytes and does not copy them.
    std::optional<Bytes> octets() {
        const auto length = unsignedLong();
        if (!length || *length > left())
            return std::nullopt;
        const Bytes content = bytes_.subspan(at_, *length);
        at_ += *length;
        return content;
    }

    /// Read a string. Its length includes the zero byte at its end. No other zero byte is allowed.
    std::optional<std::string> string() {
        const auto content = octets();
        if (!content || content->empty() || content->back() != 0)
            return std::nullopt;
        std::string text(content->begin(), content->end() - 1);
        if (text.find('\0') != std::string::npos)
            return std::nullopt;
        return text;
    }

    std::size_t left() const { return bytes_.size() - at_; }
    /// Return the offset of the next byte from the first one.
    std::size_t at() const { return at_; }

  private:
    CdrReader(Bytes bytes, bool littleEndian, std::size_t at)
        : bytes_(bytes), at_(at), littleEndian_(littleEndian) {}

    std::optional<std::uint32_t> number(std::size_t size) {
        const std::size_t start = (at_ + size - 1) / size * size;
        if (start > bytes_.size() || bytes_.size() - start < size)
            return std::nullopt;
        std::uint32_t value = 0;
        for (std::size_t i = 0; i < size; ++i) {
            const std::size_t from = littleEndian_ ? size - 1 - i : i;
            value = value << 8 | bytes_[start + from];
        }
        at_ = start + size;
        return value;
    }

    Bytes bytes_;
    std::size_t at_;
    bool littleEndian_;
};

}  // namespace kelp::ior
