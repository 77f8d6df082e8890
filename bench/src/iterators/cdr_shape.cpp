#include "cdr_shape.h"

#include <cstdint>
#include <stdexcept>

namespace kelp::bench {

namespace {

class Padding {
  public:
    Padding(std::string& bytes, std::size_t at) : bytes_(bytes), at_(at) {}

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
            depth += shape[i] == '(' ? 1 : shape[i] == ')' ? -1 : 0;
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

}  // namespace

std::string withoutPadding(std::string bytes, std::size_t at, std::string_view shape) {
    Padding padding(bytes, at);
    padding.clear(shape);
    if (!padding.isAtEnd())
        throw std::runtime_error("a reply holds more than was expected");
    return bytes;
}

}  // namespace kelp::bench
