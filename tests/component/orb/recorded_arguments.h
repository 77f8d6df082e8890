#pragma once

#include <cstring>
#include <span>
#include <string>
#include <vector>

#include "giop/arguments/argument_check.h"

namespace kelp::test {

/// The operation and the parameters of a little-endian request, as GiopRecorder keeps it in one
/// piece. Its target is an object key.
class RecordedArguments {
  public:
    RecordedArguments(const std::string& message, const std::vector<std::size_t>& fragments)
        : message_(message), fragments_(fragments), at_(12) {
        const bool is12 = message[5] == 2;
        if (!is12)
            skipContexts();
        skip(4);  // the request id
        // the response flags and reserved octets; in GIOP 1.0 the response octet and padding
        skip(4);
        if (is12)
            skip(4);  // the addressing disposition
        skipCounted();
        const std::size_t length = number();
        operation_ = message_.substr(at_, length - 1);
        at_ += length;
        if (is12) {
            skipContexts();
            align(8);
        } else {
            skipCounted();  // the principal
        }
    }

    const std::string& operation() const { return operation_; }
    std::size_t body() const { return at_; }  ///< offset at which the parameters begin

    orb::giop::ArgumentVerdict verdict(const orb::giop::ArgumentLimits& limits = {}) const {
        const auto* const octets = reinterpret_cast<const std::uint8_t*>(message_.data());
        const auto minor = static_cast<std::uint8_t>(message_[5]);
        return orb::giop::checkArguments(
            operation_, {{octets, message_.size()}, at_, true, minor, fragmentsOf(minor)}, limits);
    }

  private:
    /// In GIOP 1.2 fragments do not change the alignment, so their offsets do not matter.
    std::span<const std::size_t> fragmentsOf(std::uint8_t minor) const {
        return minor == 1 ? fragments_ : std::span<const std::size_t>();
    }
    void align(std::size_t size) { at_ = (at_ + size - 1) / size * size; }
    void skip(std::size_t octets) { at_ += octets; }
    std::size_t number() {
        align(4);
        std::uint32_t value = 0;
        std::memcpy(&value, message_.data() + at_, sizeof value);
        at_ += sizeof value;
        return value;
    }
    void skipCounted() {
        const std::size_t length = number();
        skip(length);
    }
    void skipContexts() {
        for (std::size_t left = number(); left > 0; --left) {
            (void)number();
            skipCounted();
        }
    }

    const std::string message_;
    const std::vector<std::size_t> fragments_;
    std::size_t at_;
    std::string operation_;
};

}  // namespace kelp::test
