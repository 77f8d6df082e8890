#include "name_url.h"

#include <algorithm>
#include <cctype>
#include <string_view>

namespace kelp::naming {

namespace {

constexpr std::size_t kAddressBytesMax = 1024;
constexpr std::string_view kReserved = ";/:?@&=+$,-_.!~*'()";

bool isAlphanumeric(char c) {
    return std::isalnum(static_cast<unsigned char>(c)) != 0 && static_cast<unsigned char>(c) < 0x80;
}

bool isDigits(std::string_view text, std::size_t longest) {
    return !text.empty() && text.size() <= longest &&
           std::all_of(text.begin(), text.end(), [](char c) { return c >= '0' && c <= '9'; });
}

bool areAll(std::string_view text, std::string_view others) {
    return !text.empty() && std::all_of(text.begin(), text.end(), [&](char c) {
        return isAlphanumeric(c) || others.find(c) != std::string_view::npos;
    });
}

/// Remove `prefix` from the text. False if the text does not begin with it.
bool takeOff(std::string_view& text, std::string_view prefix) {
    if (!text.starts_with(prefix))
        return false;
    text.remove_prefix(prefix.size());
    return true;
}

bool isVersion(std::string_view text) {
    const std::size_t dot = text.find('.');
    return dot != std::string_view::npos && isDigits(text.substr(0, dot), 3) &&
           isDigits(text.substr(dot + 1), 3);
}

bool isHostAndPort(std::string_view text) {
    std::size_t hostEnd = text.find(':');
    if (text.starts_with('[')) {
        const std::size_t bracket = text.find(']');
        if (bracket == std::string_view::npos || !areAll(text.substr(1, bracket - 1), ":.%"))
            return false;
        hostEnd = bracket + 1;
    } else if (!areAll(text.substr(0, hostEnd), "-._")) {
        return false;
    }
    if (hostEnd == std::string_view::npos || hostEnd == text.size())
        return true;
    return text[hostEnd] == ':' && isDigits(text.substr(hostEnd + 1), 5);
}

bool isAddress(std::string_view text) {
    if (text == "rir:")
        return true;
    if (!takeOff(text, "iiop:") && !takeOff(text, "ssliop:") && !takeOff(text, ":"))
        return false;
    const std::size_t version = text.find('@');
    if (version != std::string_view::npos) {
        if (!isVersion(text.substr(0, version)))
            return false;
        text.remove_prefix(version + 1);
    }
    return isHostAndPort(text);
}

bool isKey(std::string_view text) {
    for (std::size_t i = 0; i < text.size(); ++i) {
        if (text[i] == '%') {
            if (i + 2 >= text.size() ||
                std::isxdigit(static_cast<unsigned char>(text[i + 1])) == 0 ||
                std::isxdigit(static_cast<unsigned char>(text[i + 2])) == 0)
                return false;
            i += 2;
        } else if (!isAlphanumeric(text[i]) && kReserved.find(text[i]) == std::string_view::npos) {
            return false;
        }
    }
    return true;
}

}  // namespace

bool isUrlAddress(const std::string& text) {
    if (text.size() > kAddressBytesMax)
        return false;
    std::string_view rest = text;
    const std::size_t slash = rest.find('/');
    if (slash != std::string_view::npos) {
        if (!isKey(rest.substr(slash + 1)))
            return false;
        rest = rest.substr(0, slash);
    }
    for (;;) {
        const std::size_t comma = rest.find(',');
        if (!isAddress(rest.substr(0, comma)))
            return false;
        if (comma == std::string_view::npos)
            return true;
        rest.remove_prefix(comma + 1);
    }
}

std::string escapedForUrl(const std::string& stringifiedName) {
    static constexpr char digits[] = "0123456789abcdef";
    std::string escaped;
    for (const char c : stringifiedName) {
        if (isAlphanumeric(c) || kReserved.find(c) != std::string_view::npos) {
            escaped += c;
            continue;
        }
        const auto byte = static_cast<unsigned char>(c);
        escaped += '%';
        escaped += digits[byte >> 4];
        escaped += digits[byte & 15];
    }
    return escaped;
}

}  // namespace kelp::naming
