#include <kelp/traps/trap.h>
#include <kelp/util/trace_log.h>
#include <kelp/util/utf8.h>

namespace kelp::traps {

namespace {

bool isPrintableText(std::string_view text) {
    while (!text.empty()) {
        const bool isLineEnd = text.front() == '\n' || text.front() == '\r' || text.front() == '\t';
        const std::size_t length = isLineEnd ? 1 : util::printableCharacterAt(text);
        if (length == 0)
            return false;
        text.remove_prefix(length);
    }
    return true;
}

}  // namespace

std::string octetText(std::string_view octets) {
    const std::size_t last = octets.find_last_not_of('\0');
    const std::string_view withoutEnd =
        octets.substr(0, last == std::string_view::npos ? 0 : last + 1);
    if (isPrintableText(withoutEnd))
        return std::string(withoutEnd);
    constexpr const char* kDigits = "0123456789abcdef";
    std::string text;
    text.reserve(octets.size() * 3);
    for (const char each : octets) {
        const auto octet = static_cast<unsigned char>(each);
        if (!text.empty())
            text += ':';
        text += kDigits[octet >> 4];
        text += kDigits[octet & 15];
    }
    return text;
}

std::string contentOfTrap(const Trap& trap, std::size_t bytesMax) {
    std::string text = trap.oid.text();
    for (const VarBind& each : trap.varBinds) {
        if (text.size() > bytesMax)
            break;
        text += "; " + each.oid.text() + "=" + each.value;
    }
    return util::escaped(text, bytesMax);
}

}  // namespace kelp::traps
