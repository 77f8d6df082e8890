#pragma once

#include <vector>

#include "common/report.h"

namespace kelp::bench {

/// Time of one password check: the hash alone, with the smallest and the default cost, and a whole
/// check against the user database as a log-in makes it.
std::vector<Figure> measureHashing();

}  // namespace kelp::bench
