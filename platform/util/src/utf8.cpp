#include <kelp/util/utf8.h>

namespace kelp::util {

std::size_t utf8CharacterAt(std::string_view text) {
    const auto byte = [text](std::size_t place) { return static_cast<unsigned char>(text[place]); };
    const unsigned char first = byte(0);
    if (first < 0x80)
        return 1;
    const std::size_t size = first < 0xC2   ? 0
                             : first < 0xE0 ? 2
                             : first < 0xF0 ? 3
                             : first < 0xF5 ? 4
                                            : 0;
    if (size == 0 || text.size() < size)
        return 0;
    for (std::size_t i = 1; i < size; ++i) {
        if ((byte(i) & 0xC0) != 0x80)
            return 0;
    }
    // overlong forms, surrogates, and numbers above the last character
    const unsigned char second = byte(1);
    const bool isOutside = (first == 0xE0 && second < 0xA0) || (first == 0xED && second > 0x9F) ||
                           (first == 0xF0 && second < 0x90) || (first == 0xF4 && second > 0x8F);
    return isOutside ? 0 : size;
}

std::size_t printableCharacterAt(std::string_view text) {
    const std::size_t length = utf8CharacterAt(text);
    const auto byte = [&](std::size_t i) { return static_cast<unsigned char>(text[i]); };
    const bool isControl = length == 1   ? byte(0) < 0x20 || byte(0) == 0x7f
                           : length == 2 ? byte(0) == 0xc2 && byte(1) < 0xa0
                                         : false;
    return isControl ? 0 : length;
}

bool isUtf8(std::string_view text) {
    while (!text.empty()) {
        const std::size_t size = utf8CharacterAt(text);
        if (size == 0)
            return false;
        text.remove_prefix(size);
    }
    return true;
}

}  // namespace kelp::util
