#pragma once

#include <vector>

namespace kelp::bench {

/// The quartiles of repeated measurements.
struct Spread {
    double low = 0;
    double median = 0;
    double high = 0;
};

/// Return the quartiles. Throws std::invalid_argument if there are no values.
Spread spreadOf(std::vector<double> values);

inline double medianOf(const std::vector<double>& values) {
    return spreadOf(values).median;
}

}  // namespace kelp::bench
