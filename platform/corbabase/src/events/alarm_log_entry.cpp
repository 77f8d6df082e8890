#include "events/alarm_log_entry.h"

#include <array>
#include <cstdio>

namespace NS_CORBA {

std::string escapedEntryText(const std::string& text) {
    std::string escaped;
    escaped.reserve(text.size());
    for (const char c : text) {
        switch (c) {
            case '\\':
                escaped += "\\\\";
                continue;
            case '\n':
                escaped += "\\n";
                continue;
            case '\r':
                escaped += "\\r";
                continue;
            case '\t':
                escaped += "\\t";
                continue;
            default:
                break;
        }
        const auto byte = static_cast<unsigned char>(c);
        if (byte >= 0x20 && byte != 0x7f) {
            escaped += c;
            continue;
        }
        std::array<char, 5> hex{};
        std::snprintf(hex.data(), hex.size(), "\\x%02x", byte);
        escaped += hex.data();
    }
    return escaped;
}

}  // namespace NS_CORBA
