#pragma once

#include <cstddef>
#include <cstdint>
#include <stdexcept>
#include <string>
#include <string_view>

namespace kelp::test {

/// Sets the padding of values in little-endian CDR to zero.
class CdrPadding {
  public:
    CdrPadding(std::string& bytes, std::size_t at) : bytes_(bytes), at_(at) {}

    void clear(std::string_view shape) {
        for (std::size_t i = 0; i < shape.size(); ++i) {
            switch (shape[i]) {
                case 's':
                    pass(number());
                    break;
                case 'l':
                    number();
                    break;
                case 'h':
                    align(2);
                    pass(2);
                    break;
                case 'o':
                    pass(1);
                    break;
                case '[': {
                    const std::size_t length = closing(shape.substr(i));
                    const std::string_view members = shape.substr(i + 1, length - 1);
                    const std::size_t bar = members.find('|');
                    clear(number() == 0 ? members.substr(0, bar) : members.substr(bar + 1));
                    i += length;
                    break;
                }
                default: {
                    const std::size_t length = closing(shape.substr(i));
                    for (std::uint32_t left = number(); left > 0; --left)
                        clear(shape.substr(i + 1, length - 1));
                    i += length;
                }
            }
        }
    }
    bool isAtEnd() const { return at_ == bytes_.size(); }

  private:
    /// Return the place of the parenthesis that closes the one at the beginning of the shape.
    static std::size_t closing(std::string_view shape) {
        int depth = 0;
        for (std::size_t i = 0; i < shape.size(); ++i) {
            if (shape[i] == '(' || shape[i] == '[')
                ++depth;
            else if (shape[i] == ')' || shape[i] == ']')
                --depth;
            if (depth == 0)
                return i;
        }
        throw std::runtime_error("a shape with a parenthesis open");
    }
    void pass(std::size_t count) {
        if (bytes_.size() - at_ < count)
            throw std::runtime_error("a reply is shorter than what it says it holds");
        at_ += count;
    }
    void align(std::size_t to) {
        while (at_ % to != 0) {
            pass(1);
            bytes_[at_ - 1] = '\0';
        }
    }
    std::uint32_t number() {
        align(4);
        pass(4);
        std::uint32_t value = 0;
        for (std::size_t i = 1; i <= 4; ++i)
            value = value << 8 | static_cast<std::uint8_t>(bytes_[at_ - i]);
        return value;
    }

    std::string& bytes_;
    std::size_t at_;
};

/// Set the padding of little-endian CDR (CORBA 15.3) to zero, because a sender may fill it with
/// anything. The values begin at `at` in bytes that are aligned to 4 as in the message. `shape`
/// lists the values: s string, l unsigned long or enumeration, h short, o octet or boolean, (...)
/// sequence of the values in the parentheses, [A|B] union with the values A for the discriminator 0
/// and B for any other. Throws std::runtime_error when the bytes are not exactly those values.
inline std::string withoutPadding(std::string bytes, std::size_t at, std::string_view shape) {
    CdrPadding padding(bytes, at);
    padding.clear(shape);
    if (!padding.isAtEnd())
        throw std::runtime_error("a reply holds more than was expected");
    return bytes;
}

}  // namespace kelp::test
