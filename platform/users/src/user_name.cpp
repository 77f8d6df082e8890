#include <kelp/users/user_name.h>
#include <kelp/util/trace_log.h>

namespace kelp::users {

namespace {

/// Return the code point that begins at `at` and move `at` behind it; -1 for bytes that are not
/// well-formed UTF-8 (RFC 3629).
long nextCodePoint(const std::string& text, std::size_t& at) {
    const auto byte = [&](std::size_t i) {
        return i < text.size() ? static_cast<unsigned char>(text[i]) : 0u;
    };
    const unsigned first = byte(at);
    const std::size_t length = first < 0x80         ? 1
                               : first >> 5 == 0x06 ? 2
                               : first >> 4 == 0x0E ? 3
                                                    : 4;
    if (length == 4 && first >> 3 != 0x1E)
        return -1;
    if (length == 1) {
        ++at;
        return static_cast<long>(first);
    }
    long code = static_cast<long>(first & (0xFFu >> (length + 1)));
    for (std::size_t i = 1; i < length; ++i) {
        if (byte(at + i) >> 6 != 0x02)
            return -1;
        code = code << 6 | static_cast<long>(byte(at + i) & 0x3F);
    }
    at += length;
    static constexpr long kLeast[] = {0, 0, 0x80, 0x800, 0x10000};
    const bool isSurrogate = code >= 0xD800 && code <= 0xDFFF;
    return code < kLeast[length] || code > 0x10FFFF || isSurrogate ? -1 : code;
}

bool isControl(long code) {
    return code < 0x20 || (code >= 0x7F && code < 0xA0);
}

}  // namespace

std::string problemOfUserName(const std::string& name) {
    if (name.empty())
        return "the user name must not be empty";
    if (name.size() > kNameBytesMax)
        return "the user name must have at most " + std::to_string(kNameBytesMax) + " bytes";
    for (std::size_t at = 0; at < name.size();) {
        const long code = nextCodePoint(name, at);
        if (code < 0 || isControl(code))
            return "the user name \"" + util::escaped(name) +
                   "\" holds a character that cannot be printed";
        if (code == '<' || code == '>')
            return "the user name \"" + name +
                   "\" holds '<' or '>', which mark where a name begins and ends in a session's "
                   "name";
    }
    return {};
}

}  // namespace kelp::users
