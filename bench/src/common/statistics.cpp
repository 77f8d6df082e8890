#include "common/statistics.h"

#include <algorithm>
#include <cstddef>
#include <stdexcept>

namespace kelp::bench {

namespace {

/// Interpolate linearly between the two values nearest to the fraction.
double atFraction(const std::vector<double>& sorted, double fraction) {
    const double place = fraction * static_cast<double>(sorted.size() - 1);
    const auto below = static_cast<std::size_t>(place);
    const std::size_t above = std::min(below + 1, sorted.size() - 1);
    const double part = place - static_cast<double>(below);
    return sorted[below] * (1 - part) + sorted[above] * part;
}

}  // namespace

Spread spreadOf(std::vector<double> values) {
    if (values.empty())
        throw std::invalid_argument("nothing was measured");
    std::sort(values.begin(), values.end());
    return {atFraction(values, 0.25), atFraction(values, 0.5), atFraction(values, 0.75)};
}

}  // namespace kelp::bench
