#include "moment.h"

#include <stdexcept>

namespace kelp::ctl {

std::optional<std::chrono::seconds> lengthOf(const std::string& text) {
    constexpr std::size_t kDigitsMax = 6;
    const std::size_t digits = text.find_first_not_of("0123456789");
    if (digits == 0 || digits > kDigitsMax || digits + 1 != text.size())
        return std::nullopt;
    const std::int64_t number = std::stoll(text.substr(0, digits));
    switch (text.back()) {
        case 's':
            return std::chrono::seconds(number);
        case 'm':
            return std::chrono::minutes(number);
        case 'h':
            return std::chrono::hours(number);
        case 'd':
            return std::chrono::days(number);
        default:
            return std::nullopt;
    }
}

oplog::UtcTime momentOf(const std::string& text, const std::string& option, oplog::UtcTime now) {
    if (const std::optional<oplog::UtcTime> time = oplog::timeOf(text))
        return *time;
    if (const std::optional<std::chrono::seconds> length = lengthOf(text))
        return now - *length;
    throw std::runtime_error(
        option + ": \"" + text +
        "\" is not a time such as 2025-03-01T12:00:00Z, 2025-03-01 or 2h (so long ago)");
}

}  // namespace kelp::ctl
