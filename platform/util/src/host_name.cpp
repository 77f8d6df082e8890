#include <kelp/util/host_name.h>

#include <algorithm>
#include <cstddef>

namespace kelp::util {

namespace {

constexpr std::size_t kLabelMax = 63;
constexpr std::size_t kNameMax = 253;

constexpr char lower(char c) {
    return c >= 'A' && c <= 'Z' ? static_cast<char>(c - 'A' + 'a') : c;
}

constexpr bool isLetter(char c) {
    return lower(c) >= 'a' && lower(c) <= 'z';
}

constexpr bool isDigit(char c) {
    return c >= '0' && c <= '9';
}

bool isLabel(std::string_view label) {
    return !label.empty() && label.size() <= kLabelMax && label.front() != '-' &&
           label.back() != '-' && std::all_of(label.begin(), label.end(), [](char c) {
               return isLetter(c) || isDigit(c) || c == '-';
           });
}

}  // namespace

bool isHostName(std::string_view text) {
    if (text.size() > kNameMax)
        return false;
    std::string_view label;
    for (std::string_view rest = text;;) {
        const std::size_t dot = rest.find('.');
        label = rest.substr(0, dot);
        if (!isLabel(label))
            return false;
        if (dot == std::string_view::npos)
            break;
        rest.remove_prefix(dot + 1);
    }
    return std::any_of(label.begin(), label.end(), isLetter);
}

bool isSameHostName(std::string_view a, std::string_view b) {
    return std::equal(a.begin(), a.end(), b.begin(), b.end(),
                      [](char x, char y) { return lower(x) == lower(y); });
}

}  // namespace kelp::util
