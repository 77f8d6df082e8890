#include <kelp/util/trace_log.h>
#include <kelp/util/utf8.h>

#include <algorithm>
#include <cstddef>
#include <string>
#include <string_view>

namespace kelp::util {

namespace {

/// True for most texts: nothing has to be escaped.
bool isPlainAscii(std::string_view text) {
    return std::all_of(text.begin(), text.end(), [](char c) { return c >= 0x20 && c < 0x7f; });
}

std::string escapedByte(unsigned char byte) {
    static const char digits[] = "0123456789ABCDEF";
    switch (byte) {
        case '\n':
            return "\\n";
        case '\r':
            return "\\r";
        case '\t':
            return "\\t";
        default:
            return {'\\', 'x', digits[byte >> 4], digits[byte & 15]};
    }
}

}  // namespace

std::string escaped(const std::string& text, std::size_t bytesMax) {
    if (text.size() <= bytesMax && isPlainAscii(text))
        return text;
    static constexpr std::string_view cutMark = "...";
    std::string result;
    result.reserve(std::min(text.size(), bytesMax));
    std::size_t sizeBeforeMark = 0;  // the longest size that leaves room for the mark
    for (std::size_t at = 0; at < text.size();) {
        const std::size_t length = printableCharacterAt(std::string_view(text).substr(at));
        const std::string piece = length > 0 ? text.substr(at, length)
                                             : escapedByte(static_cast<unsigned char>(text[at]));
        if (result.size() + piece.size() > bytesMax) {
            if (bytesMax >= cutMark.size())
                result.replace(sizeBeforeMark, std::string::npos, cutMark);
            return result;
        }
        result += piece;
        if (result.size() + cutMark.size() <= bytesMax)
            sizeBeforeMark = result.size();
        at += std::max<std::size_t>(length, 1);
    }
    return result;
}

}  // namespace kelp::util
