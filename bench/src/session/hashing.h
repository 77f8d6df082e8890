#pragma once

#include <vector>

#include "common/report.h"

namespace kelp::bench {

/// Measure the time of one password check: the hash alone, with the smallest and the default cost,
/// and a complete check against the user database as in a log-in.
std::vector<Figure> measureHashing();

}  // namespace kelp::bench
