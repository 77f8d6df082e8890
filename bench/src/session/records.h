#pragma once

#include <vector>

#include "common/report.h"

namespace kelp::bench {

/// Measure the cost of the record of one request: the time on the thread that serves the request,
/// and the processor time until the record is on disk.
std::vector<Figure> measureRecords();

}  // namespace kelp::bench
