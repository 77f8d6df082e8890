#include <kelp/oplog/chain_head.h>

namespace kelp::oplog {

namespace {

constexpr std::size_t kHashDigits = 64;

}  // namespace

std::string ChainHead::text() const {
    return std::to_string(id) + ":" + hash;
}

std::optional<ChainHead> ChainHead::of(const std::string& text) {
    constexpr std::size_t kNumberDigitsMax = 18;
    const std::size_t colon = text.find(':');
    if (colon == 0 || colon == std::string::npos || colon > kNumberDigitsMax ||
        text.find_first_not_of("0123456789") != colon)
        return std::nullopt;
    const std::string hash = text.substr(colon + 1);
    if (hash.size() != kHashDigits ||
        hash.find_first_not_of("0123456789abcdef") != std::string::npos)
        return std::nullopt;
    return ChainHead{std::stoll(text.substr(0, colon)), hash};
}

}  // namespace kelp::oplog
