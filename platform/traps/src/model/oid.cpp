#include <kelp/traps/oid.h>

#include <algorithm>
#include <charconv>

namespace kelp::traps {

namespace {

std::string joined(std::vector<std::uint32_t>::const_iterator from,
                   std::vector<std::uint32_t>::const_iterator to) {
    std::string text;
    for (; from != to; ++from)
        text += (text.empty() ? "" : ".") + std::to_string(*from);
    return text;
}

}  // namespace

std::optional<Oid> Oid::parse(const std::string& text) {
    std::vector<std::uint32_t> components;
    const char* at = text.data();
    const char* const end = at + text.size();
    if (at != end && *at == '.')
        ++at;
    while (components.size() < kComponentsMax) {
        std::uint32_t component = 0;
        const auto [next, error] = std::from_chars(at, end, component);
        if (error != std::errc())
            return std::nullopt;
        components.push_back(component);
        if (next == end)
            break;
        if (*next != '.')
            return std::nullopt;
        at = next + 1;
        if (components.size() == kComponentsMax)
            return std::nullopt;
    }
    if (components.size() < 2 || components.front() > 2)
        return std::nullopt;
    return Oid(std::move(components));
}

bool Oid::isWithin(const Oid& other) const {
    return components_.size() >= other.components_.size() &&
           std::equal(other.components_.begin(), other.components_.end(), components_.begin());
}

std::string Oid::indexAfter(const Oid& base) const {
    if (!isWithin(base))
        return "";
    return joined(components_.begin() + static_cast<std::ptrdiff_t>(base.components_.size()),
                  components_.end());
}

std::string Oid::text() const {
    return joined(components_.begin(), components_.end());
}

}  // namespace kelp::traps
