#include "names/name_rules.h"

#include <kelp/util/utf8.h>

#include <algorithm>
#include <array>
#include <cstddef>
#include <vector>

namespace kelp::inventory {

namespace {

constexpr std::size_t kCharactersMax = 1024;

/// Split "/a=1/b=2" into {"a=1", "b=2"}. Empty if the path does not begin with a slash.
std::vector<std::string_view> componentsOf(std::string_view path) {
    std::vector<std::string_view> components;
    while (!path.empty() && path.front() == '/') {
        path.remove_prefix(1);
        const std::size_t end = std::min(path.find('/'), path.size());
        components.push_back(path.substr(0, end));
        path.remove_prefix(end);
    }
    return components;
}

bool isNameAndValue(std::string_view text) {
    const std::size_t equals = text.find('=');
    return equals != std::string_view::npos && equals > 0 && equals + 1 < text.size();
}

/// The kinds of holders, from the outermost to the innermost.
struct HolderKind {
    std::string_view key;
    int rank;
    std::string_view type;
};
constexpr std::array<HolderKind, 7> kHolderKinds = {{{"remote_unit", 0, ""},
                                                     {"rack", 1, "rack"},
                                                     {"shelf", 2, "shelf"},
                                                     {"sub_shelf", 3, "sub_shelf"},
                                                     {"slot", 4, "slot"},
                                                     {"sub_slot", 5, "sub_slot"},
                                                     {"remote_sub_slot", 5, "sub_slot"}}};

const HolderKind* holderKindOf(std::string_view component) {
    const std::string_view key = component.substr(0, component.find('='));
    const auto found = std::find_if(kHolderKinds.begin(), kHolderKinds.end(),
                                    [key](const HolderKind& kind) { return kind.key == key; });
    return found == kHolderKinds.end() ? nullptr : &*found;
}

}  // namespace

std::string problemOfName(std::string_view value) {
    if (value.empty())
        return "must not be empty";
    if (!util::isUtf8(value))
        return "is not UTF-8";
    if (value.front() == ' ' || value.back() == ' ')
        return "must not begin or end with a blank";
    if (std::any_of(value.begin(), value.end(), [](char each) {
            return static_cast<unsigned char>(each) < 0x20 || each == 0x7F;
        }))
        return "must not contain control characters";
    const auto characters = std::count_if(value.begin(), value.end(), [](char each) {
        return (static_cast<unsigned char>(each) & 0xC0) != 0x80;
    });
    if (static_cast<std::size_t>(characters) > kCharactersMax)
        return "must have at most " + std::to_string(kCharactersMax) + " characters";
    return "";
}

std::string problemOfHolder(std::string_view value) {
    if (std::string problem = problemOfName(value); !problem.empty())
        return problem;
    const std::vector<std::string_view> components = componentsOf(value);
    int rank = -1;
    for (const std::string_view component : components) {
        const HolderKind* const kind = holderKindOf(component);
        if (kind == nullptr || !isNameAndValue(component) || kind->rank <= rank)
            rank = static_cast<int>(kHolderKinds.size());
        else
            rank = kind->rank;
    }
    if (rank < 1 || rank == static_cast<int>(kHolderKinds.size()))
        return "is not a path such as /rack=1/shelf=1/slot=2";
    return "";
}

std::string problemOfCtp(std::string_view value) {
    if (std::string problem = problemOfName(value); !problem.empty())
        return problem;
    const std::vector<std::string_view> components = componentsOf(value);
    if (components.empty() || !std::all_of(components.begin(), components.end(), isNameAndValue))
        return "is not a path such as /sts3c_au4-j=1";
    return "";
}

std::string holderTypeOf(std::string_view path) {
    const std::vector<std::string_view> components = componentsOf(path);
    const HolderKind* const kind = components.empty() ? nullptr : holderKindOf(components.back());
    return kind == nullptr ? "" : std::string(kind->type);
}

}  // namespace kelp::inventory
