#include "omniorb/requests/object_key.h"

#include <algorithm>
#include <cstddef>

namespace kelp::orb {

namespace {

constexpr char kNameMark = '\xff';
constexpr char kTransientMark = '\xfe';
constexpr std::size_t kTransientOctets = 8;

bool endsName(char octet) {
    return octet == kNameMark || octet == kTransientMark || octet == '\0';
}

/// Return where the name ends whose mark is at `begin`.
const char* endOfName(std::string_view key, std::size_t begin) {
    return std::find_if(key.begin() + static_cast<std::ptrdiff_t>(begin) + 1, key.end(), endsName);
}

}  // namespace

ObjectKey ObjectKey::of(std::string_view key) {
    std::size_t at = 0;
    while (at < key.size() && key[at] == kNameMark) {
        const char* const end = endOfName(key, at);
        if (end == key.end())
            return {};
        at = static_cast<std::size_t>(end - key.begin());
    }
    ObjectKey read;
    read.poaPath = key.substr(0, at);
    std::string_view rest = key.substr(at);
    if (!rest.empty() && rest.front() == kTransientMark) {
        read.hasTransientMark = true;
        rest.remove_prefix(std::min(rest.size(), 1 + kTransientOctets));
    }
    read.hasObjectId = !rest.empty() && rest.front() == '\0';
    if (read.hasObjectId)
        read.objectId = rest.substr(1);
    return read;
}

std::string_view ObjectKey::takeName(std::string_view& path) {
    if (path.empty())
        return {};
    const char* const end = endOfName(path, 0);
    const auto length = static_cast<std::size_t>(end - path.begin());
    const std::string_view name = path.substr(1, length - 1);
    path.remove_prefix(length);
    return name;
}

}  // namespace kelp::orb
