#pragma once

#include <vector>

#include "common/report.h"

namespace kelp::bench {

/// What the record of one request costs: the time of the thread that serves the request, and the
/// processor time of the whole way to the disk.
std::vector<Figure> measureRecords();

}  // namespace kelp::bench
