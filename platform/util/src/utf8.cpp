#include <kelp/util/utf8.h>

#include <algorithm>
#include <iterator>

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

namespace {

/// The number of the character that is encoded by `length` bytes at the beginning of the text.
char32_t codePointAt(std::string_view text, std::size_t length) {
    if (length <= 1)
        return static_cast<unsigned char>(text[0]);
    // the first byte has one bit less for the number with each byte that follows
    char32_t number = static_cast<unsigned char>(text[0]) & (0xFFU >> (length + 1));
    for (std::size_t i = 1; i < length; ++i)
        number = number << 6 | (static_cast<unsigned char>(text[i]) & 0x3FU);
    return number;
}

struct Range {
    char32_t first;
    char32_t last;
};

/// Control characters, the characters of the bidirectional algorithm (Unicode Standard Annex 9),
/// which change the order of what is shown after them, line ends, and the mark of byte order.
constexpr Range kNotPrintable[] = {{0x00, 0x1F},     {0x7F, 0x9F},     {0x061C, 0x061C},
                                   {0x200E, 0x200F}, {0x2028, 0x202E}, {0x2066, 0x2069},
                                   {0xFEFF, 0xFEFF}};

}  // namespace

std::size_t printableCharacterAt(std::string_view text) {
    const std::size_t length = utf8CharacterAt(text);
    if (length == 0)
        return 0;
    const char32_t character = codePointAt(text, length);
    const bool isPrintable = std::none_of(
        std::begin(kNotPrintable), std::end(kNotPrintable),
        [=](const Range& range) { return character >= range.first && character <= range.last; });
    return isPrintable ? length : 0;
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
