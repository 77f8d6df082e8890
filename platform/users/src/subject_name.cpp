#include <kelp/users/subject_name.h>
#include <kelp/util/joined.h>
#include <kelp/util/trace_log.h>

#include <algorithm>
#include <cctype>
#include <string_view>
#include <vector>

namespace kelp::users {

namespace {

constexpr std::size_t kShownBytesMax = 200;

/// Characters that must be escaped in a value.
constexpr std::string_view kEscaped = ",+\"\\<>;";

bool isHex(char c) {
    return std::isxdigit(static_cast<unsigned char>(c)) != 0;
}

char upper(char c) {
    return static_cast<char>(std::toupper(static_cast<unsigned char>(c)));
}

int valueOf(char digit) {
    return digit <= '9' ? digit - '0' : upper(digit) - 'A' + 10;
}

/// Format an octet as \XX.
std::string inHex(char octet) {
    constexpr std::string_view digits = "0123456789ABCDEF";
    const auto byte = static_cast<unsigned char>(octet);
    return {'\\', digits[byte >> 4], digits[byte & 0x0f]};
}

std::string escapedValue(const std::string& value) {
    std::string text;
    for (std::size_t i = 0; i < value.size(); ++i) {
        const char c = value[i];
        const bool isAtAnEnd = i == 0 || i + 1 == value.size();
        if (static_cast<unsigned char>(c) < 0x20 || c == 0x7f)
            text += inHex(c);
        else if (kEscaped.find(c) != std::string_view::npos || (c == ' ' && isAtAnEnd) ||
                 (c == '#' && i == 0))
            text += std::string{'\\', c};
        else
            text += c;
    }
    return text;
}

/// Reads a distinguished name from its first attribute to its last.
class NameReader {
  public:
    explicit NameReader(std::string_view text) : rest_(text) {}

    std::optional<std::string> read() {
        std::string name;
        do {
            const std::optional<std::string> one = readRelativeName();
            if (!one)
                return std::nullopt;
            name += (name.empty() ? "" : ",") + *one;
        } while (skip(','));
        return rest_.empty() ? std::optional(name) : std::nullopt;
    }

  private:
    bool skip(char separator) {
        if (rest_.empty() || rest_.front() != separator)
            return false;
        rest_.remove_prefix(1);
        return true;
    }
    void skipSpaces() {
        while (skip(' ')) {
        }
    }

    std::optional<std::string> readRelativeName() {
        std::vector<std::string> parts;
        do {
            const std::optional<std::string> part = readAttribute();
            if (!part)
                return std::nullopt;
            parts.push_back(*part);
        } while (skip('+'));
        std::sort(parts.begin(), parts.end());
        return util::joined(parts, "+");
    }

    std::optional<std::string> readAttribute() {
        skipSpaces();
        const std::string type = readType();
        skipSpaces();
        if (type.empty() || !skip('='))
            return std::nullopt;
        skipSpaces();
        const std::optional<std::string> value = skip('#') ? readOctets() : readText();
        return value ? std::optional(type + "=" + *value) : std::nullopt;
    }

    /// Read a short name or a dotted number.
    std::string readType() {
        std::string type;
        while (!rest_.empty() && (std::isalnum(static_cast<unsigned char>(rest_.front())) != 0 ||
                                  rest_.front() == '-' || rest_.front() == '.')) {
            type += upper(rest_.front());
            rest_.remove_prefix(1);
        }
        constexpr std::string_view prefix = "OID.";
        return type.starts_with(prefix) ? type.substr(prefix.size()) : type;
    }

    /// Read a value given as its encoding: #0C036E6D73.
    std::optional<std::string> readOctets() {
        std::string digits;
        while (!rest_.empty() && isHex(rest_.front())) {
            digits += upper(rest_.front());
            rest_.remove_prefix(1);
        }
        skipSpaces();
        const bool isGood = !digits.empty() && digits.size() % 2 == 0;
        return isGood ? std::optional("#" + digits) : std::nullopt;
    }

    std::optional<std::string> readText() {
        std::string value;
        std::size_t kept = 0;  // length without trailing spaces, which belong to the separator
        while (!rest_.empty() && rest_.front() != ',' && rest_.front() != '+') {
            const bool isEscape = rest_.front() == '\\';
            const std::optional<char> next = isEscape ? readEscape() : readPlain();
            if (!next)
                return std::nullopt;
            value += *next;
            if (isEscape || *next != ' ')
                kept = value.size();
        }
        value.resize(kept);
        return escapedValue(value);
    }

    std::optional<char> readPlain() {
        const char c = rest_.front();
        if (kEscaped.find(c) != std::string_view::npos)
            return std::nullopt;
        rest_.remove_prefix(1);
        return c;
    }

    std::optional<char> readEscape() {
        rest_.remove_prefix(1);
        if (rest_.size() >= 2 && isHex(rest_[0]) && isHex(rest_[1])) {
            const int octet = valueOf(rest_[0]) * 16 + valueOf(rest_[1]);
            rest_.remove_prefix(2);
            return static_cast<char>(octet);
        }
        const bool isGood = !rest_.empty() &&
                            (kEscaped.find(rest_.front()) != std::string_view::npos ||
                             std::string_view(" #=").find(rest_.front()) != std::string_view::npos);
        if (!isGood)
            return std::nullopt;
        const char c = rest_.front();
        rest_.remove_prefix(1);
        return c;
    }

    std::string_view rest_;
};

}  // namespace

std::optional<std::string> normalisedSubject(const std::string& text, std::string& whyNot) {
    const std::string shown = "\"" + util::escaped(text, kShownBytesMax) + "\"";
    if (text.size() > kSubjectBytesMax) {
        whyNot = "the subject " + shown + " has more than " + std::to_string(kSubjectBytesMax) +
                 " bytes";
        return std::nullopt;
    }
    std::optional<std::string> name = NameReader(text).read();
    if (!name)
        whyNot = shown +
                 " is not a subject: write it as CN=nms1,O=Operator, which openssl x509 -noout "
                 "-subject " +
                 "-nameopt RFC2253 prints";
    return name;
}

}  // namespace kelp::users
