#include "name_suggestion.h"

#include <algorithm>
#include <cctype>
#include <cstddef>

namespace NS_BUNDLEMGR1 {

namespace {

/// Longer names are not misspellings of known ones, and comparing them would take long.
constexpr std::size_t kNameBytesMax = 64;

bool sameLetter(char a, char b) {
    return std::tolower(static_cast<unsigned char>(a)) ==
           std::tolower(static_cast<unsigned char>(b));
}

/// The number of letters to insert, remove or replace to turn one name into the other, ignoring
/// case.
std::size_t editDistance(const std::string& a, const std::string& b) {
    std::vector<std::size_t> row(b.size() + 1);
    for (std::size_t j = 0; j <= b.size(); ++j)
        row[j] = j;
    for (std::size_t i = 1; i <= a.size(); ++i) {
        std::size_t diagonal = row[0];
        row[0] = i;
        for (std::size_t j = 1; j <= b.size(); ++j) {
            const std::size_t replaced = diagonal + (sameLetter(a[i - 1], b[j - 1]) ? 0 : 1);
            diagonal = row[j];
            row[j] = std::min({replaced, row[j] + 1, row[j - 1] + 1});
        }
    }
    return row[b.size()];
}

}  // namespace

std::string nearestName(const std::string& name, const std::vector<std::string>& known) {
    if (name.size() > kNameBytesMax)
        return {};
    std::string nearest;
    std::size_t distance = std::max<std::size_t>(1, name.size() / 3) + 1;
    for (const std::string& candidate : known) {
        const std::size_t here = editDistance(name, candidate);
        if (here < distance) {
            distance = here;
            nearest = candidate;
        }
    }
    return nearest;
}

}  // namespace NS_BUNDLEMGR1
